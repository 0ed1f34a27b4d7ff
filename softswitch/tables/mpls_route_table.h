// The MPLS routes with their vias: what the route manager keeps, sized for every label there is.
//
// What it shares with the IP routes stands in route_table.h. A route of one label and metric 0 stands at its
// label's place, in pages that come with their first route; the few others stand in a tree. What the hardware
// stage knows of a route stands in its row too. So a row outlives its route for as long as hardware has it,
// and a route that is removed and set again under one lock changes nothing on the way, not even in the store.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <absl/container/btree_map.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orv/mpls_route_types.h"
#include "softswitch/tables/deferred_row.h"
#include "softswitch/tables/names.h"
#include "softswitch/tables/route_table.h"

namespace softswitch {

using MplsVias = RowVias<orv::mpls_route_via_t>::List;

// What the vias of a route are where they are not one that names a group and an action alone.
struct MplsHardwareVias {
   std::vector<orv::mpls_route_via_t> sent;
   std::vector<orv::mpls_route_via_t> programmed;
   std::uint64_t ownFec = 0;  // given once it was needed
};

struct MplsRow : RowVias<orv::mpls_route_via_t> {
   std::unique_ptr<const orv::mpls_route_key_t> stack;  // null: `label` with metric 0
   std::unique_ptr<MplsHardwareVias> hardware;          // null where the group and action below say all
   std::uint64_t fec = 0;                               // 0: not in hardware
   std::uint32_t label = 0;
   std::uint32_t mark = 0;  // the resync epoch of the last set
   // Names of groups that vias name, each with a reference like `group`: of what the store has, of what was
   // handed to the forwarding plane, and of what that has.
   NameId storedGroup = Names::none;
   NameId sentGroup = Names::none;
   NameId programmedGroup = Names::none;
   std::uint32_t awaited = 0;  // answers of the plane that are to come
   std::uint16_t version = 0;
   std::uint16_t storedVersion = 0;
   std::uint16_t programmedVersion = 0;
   orv::mpls_action_t action{};  // of the via that names the group
   orv::mpls_action_t storedAction{};
   orv::mpls_action_t sentAction{};
   orv::mpls_action_t programmedAction{};
   bool configured : 1 = false;   // the route is there; else only what hardware has of it
   bool inStore : 1 = false;      // the store has a row
   bool storedPlain : 1 = false;  // and that one is told by the stored group, action and version
   bool queued : 1 = false;       // the hardware stage has it on its list
   bool sent : 1 = false;         // the plane has it, or will have once it has answered

   orv::mpls_route_key_t key() const;
};
static_assert(sizeof(MplsRow) == 80, "there may be a row for each of a million labels");

// What MPLS routes have of their own among routes (route_table.h): a row keeps the group and the action of a
// via.
struct MplsRouteKind {
   using Row = MplsRow;
   using Via = orv::mpls_route_via_t;
   static constexpr std::string_view table = "mpls_route";
   static constexpr std::uint8_t version = 1;
   static constexpr std::size_t viaBytes = 64;

   static bool plain(const Via& via);
   static bool bare(const Via& via) {
      return via.nexthop_group().empty() && via.label_action() == orv::mpls_action_t::none && plain(via);
   }
   static bool sameHop(const Via& a, const Via& b) { return a.hop() == b.hop() && a.intf() == b.intf(); }
   static bool sameFields(const Via& a, const Via& b);
   static bool keeps(const Row& row, const Via& via) { return row.action == via.label_action(); }
   static void keep(Row& row, const Via& via) { row.action = via.label_action(); }
   static void keepNothing(Row& row) { row.action = {}; }
   static Via kept(const Row& row) { return Via(row.key(), row.action); }
   static orv::mpls_route_key_t routeKey(const Row& row) { return row.key(); }
   static Via readVia(store::Reader& in);
   static void writeVia(store::Writer& out, const Via& via);
};

class MplsRouteTable : public RouteTable<MplsRouteKind> {
public:
   // Reads what the store has; throws store::StoreError (damaged). `groups` numbers the names of groups.
   MplsRouteTable(store::Store& store, Names& groups, std::size_t capacity);

   // Of configured routes.
   std::size_t size() const { return size_; }

   // Also a row whose route is gone; null when there is none. A row stays where it is until it is released.
   MplsRow* find(const orv::mpls_route_key_t& key);
   const MplsRow* find(const orv::mpls_route_key_t& key) const;
   // Null when there is no such route.
   MplsRow* findRoute(const orv::mpls_route_key_t& key);
   const MplsRow* findRoute(const orv::mpls_route_key_t& key) const;
   // The first route at or behind `key`, or null.
   const MplsRow* atOrAfter(const orv::mpls_route_key_t& key) const;

   // Throws orv::error when there is no room for another route.
   void checkCapacity() const { RouteTable::checkCapacity(size_); }
   // A route without vias, and its removal with all its vias. prepare() comes before both, checkCapacity()
   // before the first.
   MplsRow& insert(const orv::mpls_route_key_t& key);
   void erase(MplsRow& row);
   // To be called after each other change of a route.
   void changed(MplsRow& row) { unwritten_.changed(row); }
   // Ends a row whose route is gone, once nobody has anything of it.
   void release(MplsRow& row);

   // Gives `slot` another name.
   void nameIs(NameId& slot, NameId name) {
      if (slot == name) return;
      if (name != Names::none) groups_.hold(name);
      groups_.drop(slot);
      slot = name;
   }

   // Calls `visit(row)` for each route; it may erase that route. Ends the span of the store when it has
   // become large.
   template <class Visit>
   void visitAll(Visit&& visit);

   // The routes in key order. The table may change between two steps.
   class Cursor {
   public:
      explicit Cursor(const MplsRouteTable& table) : table_(&table) {}
      const MplsRow* next();

   private:
      const MplsRouteTable* table_;
      std::optional<orv::mpls_route_key_t> last_;
      bool ended_ = false;
   };

private:
   static constexpr std::uint32_t pageRows = 64;
   static constexpr std::uint32_t labels = orv::mpls_label_t::max + 1;
   using Others = absl::btree_map<orv::mpls_route_key_t, std::unique_ptr<MplsRow>>;

   static bool isPlain(const orv::mpls_route_key_t& key);
   // The first route of one label and metric 0 at or behind `label`.
   const MplsRow* plainFrom(std::uint32_t label) const;
   static const MplsRow* routeFrom(Others::const_iterator at, Others::const_iterator end);
   static const MplsRow* earlier(const MplsRow* plain, const MplsRow* other);
   MplsRow& make(const orv::mpls_route_key_t& key);
   void load(std::string_view key, std::string_view row);
   void writeRow(MplsRow& row) noexcept;
   void noteStored(MplsRow& row);
   bool storeHasThis(const MplsRow& row) const;
   void encodeKey(const MplsRow& row);
   void encodeRow(const MplsRow& row);

   std::vector<std::unique_ptr<MplsRow[]>> pages_{labels / pageRows};
   Others others_;
   std::size_t size_ = 0;
   std::string keyBytes_;  // kept for their memory
   std::string rowBytes_;
   // Behind what writing needs.
   DeferredRow<MplsRow> unwritten_;
};

template <class Visit>
void MplsRouteTable::visitAll(Visit&& visit) {
   const auto visitRow = [&](MplsRow& row) {
      if (!row.configured) return;
      store_.commitIfLarge();
      visit(row);
   };
   for (const auto& page : pages_) {
      if (page == nullptr) continue;
      for (std::uint32_t i = 0; i < pageRows; ++i)
         visitRow(page[i]);
   }
   for (const auto& [key, row] : others_)
      visitRow(*row);
}

}  // namespace softswitch
