// The route manager's table of MPLS routes and their vias, sized for every possible label.
//
// route_table.h has the part that it shares with the IP routes. A route with one label and metric 0 is in an
// array indexed by label, whose pages are allocated with their first route; the few others are in a tree. A
// row also holds the hardware stage's state of its route. It therefore outlives the route while hardware has
// it, and a route that is removed and set again under one lock changes nothing in hardware or in the store.
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

// The vias of a route, unless it is one via that names only a group and an action.
struct MplsHardwareVias {
   std::vector<orv::mpls_route_via_t> sent;
   std::vector<orv::mpls_route_via_t> programmed;
   std::uint64_t ownFec = 0;  // assigned when first needed
};

struct MplsRow : RowVias<orv::mpls_route_via_t> {
   std::unique_ptr<const orv::mpls_route_key_t> stack;  // null: `label` with metric 0
   std::unique_ptr<MplsHardwareVias> hardware;  // null if the groups and actions below describe the vias
   std::uint64_t fec = 0;                       // 0: not in hardware
   std::uint32_t label = 0;
   std::uint32_t mark = 0;  // the resync epoch of the last set
   // The groups that vias name, each with a reference like `group`: in the store, handed to the forwarding
   // plane, and programmed there.
   NameId storedGroup = Names::none;
   NameId sentGroup = Names::none;
   NameId programmedGroup = Names::none;
   std::uint32_t awaited = 0;  // answers of the plane that are outstanding
   std::uint16_t version = 0;
   std::uint16_t storedVersion = 0;
   std::uint16_t programmedVersion = 0;
   orv::mpls_action_t action{};  // of the via that names the group
   orv::mpls_action_t storedAction{};
   orv::mpls_action_t sentAction{};
   orv::mpls_action_t programmedAction{};
   bool configured : 1 = false;   // the route exists; otherwise the row only has what hardware has of it
   bool inStore : 1 = false;      // the store has a row
   bool storedPlain : 1 = false;  // and the stored group, action and version describe it
   bool queued : 1 = false;       // the hardware stage has it on its list
   bool sent : 1 = false;         // the plane has it, or will have it once it has answered

   orv::mpls_route_key_t key() const;
};
static_assert(sizeof(MplsRow) == 80, "there may be a row for each of a million labels");

// The Kind of MPLS routes (route_table.h): a row keeps the group and the action of a via.
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
   // Reads the rows in the store. `groups` numbers the names of groups.
   // THROWS: store::StoreError (damaged, newerFormat).
   MplsRouteTable(store::Store& store, Names& groups, std::size_t capacity);

   // The number of configured routes.
   std::size_t size() const { return size_; }

   // Finds also the row of a route that was removed.
   // RETURNS: null if no row exists. The pointer is valid until the row is released.
   MplsRow* find(const orv::mpls_route_key_t& key);
   const MplsRow* find(const orv::mpls_route_key_t& key) const;
   // RETURNS: null if no such route exists.
   MplsRow* findRoute(const orv::mpls_route_key_t& key);
   const MplsRow* findRoute(const orv::mpls_route_key_t& key) const;
   // RETURNS: the first route at or after `key`, or null.
   const MplsRow* atOrAfter(const orv::mpls_route_key_t& key) const;
   // RETURNS: among the rows with the labels of `key`, the one with the smallest metric that hardware has, or
   // null.
   const MplsRow* inHardware(const orv::mpls_route_key_t& key) const;
   // RETURNS: whether a route with the labels of `key` exists.
   bool hasRoute(const orv::mpls_route_key_t& key) const;

   // THROWS: orv::error if the table is full.
   void checkCapacity() const { RouteTable::checkCapacity(size_); }
   // Adds a route without vias.
   // REQUIRES: prepare() and checkCapacity() were called.
   MplsRow& insert(const orv::mpls_route_key_t& key);
   // Removes a route with all its vias.
   // REQUIRES: prepare() was called.
   void erase(MplsRow& row);
   // Call this after any other change to a route.
   void changed(MplsRow& row) { unwritten_.changed(row); }
   // Frees the row of a removed route.
   // REQUIRES: the hardware stage and the plane are done with it.
   void release(MplsRow& row);

   // Replaces the name in `slot` and moves the reference.
   void nameIs(NameId& slot, NameId name) {
      if (slot == name) return;
      if (name != Names::none) groups_.hold(name);
      groups_.drop(slot);
      slot = name;
   }

   // Calls `visit(row)` for each route; `visit` may erase that route. Ends the store's span when it has grown
   // large.
   template <class Visit>
   void visitAll(Visit&& visit);

   // The routes in key order. The table may change between steps.
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
   // The first route with one label and metric 0 at or after `label`.
   const MplsRow* plainFrom(std::uint32_t label) const;
   static const MplsRow* routeFrom(Others::const_iterator at, Others::const_iterator end);
   // The first row with the labels of `key` that is `such`, by metric.
   template <class Such>
   const MplsRow* firstOf(const orv::mpls_route_key_t& key, Such such) const;
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
   std::string keyBytes_;  // reused buffers
   std::string rowBytes_;
   // Declared last: its destructor writes and uses the members above.
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
