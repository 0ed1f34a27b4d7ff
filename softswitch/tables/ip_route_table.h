// The route manager's table of IP routes and their vias, sized for millions of rows.
//
// route_table.h has the part that it shares with the MPLS routes. The common route, whose one via names a
// nexthop group and nothing else, takes one cache line and no allocation of its own.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <absl/container/btree_map.h>

#include <compare>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "orv/ip_route_types.h"
#include "softswitch/tables/deferred_row.h"
#include "softswitch/tables/names.h"
#include "softswitch/tables/route_table.h"

namespace softswitch {

// A route's key in 24 bytes, ordered by VRF, family, address, length, preference.
struct RouteKey {
   std::uint64_t high = 0;  // the first eight bytes of the address; an IPv4 address is in the top four
   std::uint64_t low = 0;
   std::uint32_t vrfAndFamily = 0;  // the VRF's NameId in the upper 24 bits, then the address family
   std::uint8_t length = 0;
   std::uint8_t preference = 0;

   RouteKey() = default;
   RouteKey(NameId vrf, const orv::ip_prefix_t& prefix, std::uint8_t routePreference);

   NameId vrf() const { return vrfAndFamily >> 8; }
   orv::ip_prefix_t prefix() const;
   orv::ip_route_key_t routeKey() const { return {prefix(), preference}; }
   bool samePrefix(const RouteKey& o) const {
      return high == o.high && low == o.low && vrfAndFamily == o.vrfAndFamily && length == o.length;
   }

   friend bool operator==(const RouteKey&, const RouteKey&) = default;
   friend std::strong_ordering operator<=>(const RouteKey& a, const RouteKey& b) {
      if (a.vrfAndFamily != b.vrfAndFamily) return a.vrfAndFamily <=> b.vrfAndFamily;
      if (a.high != b.high) return a.high <=> b.high;
      if (a.low != b.low) return a.low <=> b.low;
      if (a.length != b.length) return a.length <=> b.length;
      return a.preference <=> b.preference;
   }
};

using RouteVia = MarkedVia<orv::ip_route_via_t>;
using RouteVias = RowVias<orv::ip_route_via_t>::List;
using RouteIndex = std::uint32_t;

struct RouteRow : RowVias<orv::ip_route_via_t> {
   RouteKey key;
   std::uint32_t tag = 0;
   NameId commandTag = Names::none;
   std::uint32_t mark = 0;  // the resync epoch of the last set
   RouteIndex index = 0;    // the row's place in the slabs
   orv::ip_route_action_t action = orv::ip_route_action_t::forward;
   bool ribBypass : 1 = false;
   bool inStore : 1 = false;
   bool dead : 1 = false;        // erased, but the hardware stage still holds its index
   bool queued : 1 = false;      // the hardware stage has it on its list
   bool sent : 1 = false;        // handed to the forwarding plane, not answered yet
   bool again : 1 = false;       // changed since it was sent; queued again at the answer
   bool programmed : 1 = false;  // the forwarding plane has it
   bool forwarded : 1 = false;   // announced as a route of the FIB
   bool ownFec : 1 = false;      // announced with a FEC of its own

   bool alive() const { return key.vrfAndFamily != 0 && !dead; }
};
static_assert(sizeof(RouteRow) == 64, "a route is one cache line");

// The Kind of IP routes (route_table.h): besides the group, a row keeps nothing of a via.
struct IpRouteKind {
   using Row = RouteRow;
   using Via = orv::ip_route_via_t;
   static constexpr std::string_view table = "ip_route";
   static constexpr std::uint8_t version = 1;
   static constexpr std::size_t viaBytes = 160;

   static bool plain(const Via& via);
   static bool bare(const Via& via) { return via.nexthop_group().empty() && plain(via); }
   static bool sameHop(const Via& a, const Via& b);
   static bool sameFields(const Via& a, const Via& b);
   static bool keeps(const Row&, const Via&) { return true; }
   static void keep(Row&, const Via&) {}
   static void keepNothing(Row&) {}
   static Via kept(const Row& row) { return Via(routeKey(row)); }
   static orv::ip_route_key_t routeKey(const Row& row) { return row.key.routeKey(); }
   static Via readVia(store::Reader& in);
   static void writeVia(store::Writer& out, const Via& via);
};

class IpRouteTable : public RouteTable<IpRouteKind> {
public:
   // Reads the rows in the store. `groups` and `vrfs` number the names of nexthop groups and VRFs; the VRF
   // "default" is number 0.
   // THROWS: store::StoreError (damaged, newerFormat).
   IpRouteTable(store::Store& store, Names& groups, Names& vrfs, std::size_t capacity);

   std::size_t size() const { return tree_.size(); }

   // RETURNS: null if no such row exists. The pointer is valid until the row is erased.
   RouteRow* find(const RouteKey& key);
   const RouteRow* find(const RouteKey& key) const;
   // RETURNS: the first row at or after `key`, or null.
   const RouteRow* atOrAfter(const RouteKey& key) const;

   RouteRow& at(RouteIndex index) { return slabs_[index / slabRows][index % slabRows]; }
   const RouteRow& at(RouteIndex index) const { return slabs_[index / slabRows][index % slabRows]; }

   // THROWS: orv::error if the table is full.
   void checkCapacity() const { RouteTable::checkCapacity(size()); }
   // Adds a row.
   // REQUIRES: prepare() and checkCapacity() were called.
   RouteRow& insert(const RouteKey& key);
   // Call this after each change to a row.
   void changed(RouteRow& row) { unwritten_.changed(row); }

   // The row's memory is reused at once unless the row is `queued` or `sent`: then it is `dead` until
   // release().
   // THROWS: orv::error if the disk is full.
   void erase(RouteRow& row);
   void release(RouteRow& row);

   void setCommandTag(RouteRow& row, std::string_view tag);
   const std::string& commandTag(const RouteRow& row) const { return tags_.text(row.commandTag); }

   // Calls `visit(row)` for each row in key order; `visit` may erase that row. Ends the store's span when it
   // has grown large.
   template <class Visit>
   void visitAll(Visit&& visit);

   // The number of rows with a preference other than 1. Callers skip a scan if it is 0.
   std::size_t rowsOfOtherPreference() const { return rowsOfOtherPreference_; }
   // One past the largest index.
   RouteIndex bound() const { return nextIndex_; }

   // The routes of one VRF in key order. The table may change between steps.
   class Cursor {
   public:
      Cursor(const IpRouteTable& table, NameId vrf);
      const RouteRow* next();

   private:
      using Tree = absl::btree_map<RouteKey, RouteIndex>;
      const IpRouteTable* table_;
      RouteKey last_;
      std::uint64_t generation_ = 0;
      Tree::const_iterator at_{};
      bool started_ = false;
      bool ended_ = false;
   };

private:
   friend class Cursor;
   using Tree = absl::btree_map<RouteKey, RouteIndex>;
   static constexpr std::size_t slabRows = 4096;

   void load(std::string_view key, std::string_view row);
   RouteIndex newIndex();
   void encodeKey(const RouteKey& key);
   void encodeRow(const RouteRow& row);
   void writeRow(RouteRow& row) noexcept;

   Names& vrfs_;
   Names tags_;
   std::vector<std::unique_ptr<RouteRow[]>> slabs_;
   std::vector<RouteIndex> unused_;
   RouteIndex nextIndex_ = 0;
   std::size_t rowsOfOtherPreference_ = 0;
   Tree tree_;
   // The row looked up or listed last: a via follows its route.
   mutable RouteRow* recent_ = nullptr;
   std::uint64_t generation_ = 0;  // counts insertions and removals
   std::string keyBytes_;          // reused buffers
   std::string rowBytes_;
   // Declared last: its destructor writes and uses the members above.
   DeferredRow<RouteRow> unwritten_;
};

template <class Visit>
void IpRouteTable::visitAll(Visit&& visit) {
   for (auto it = tree_.begin(); it != tree_.end();) {
      const RouteKey key = it->first;
      const auto generation = generation_;
      store_.commitIfLarge();
      visit(at(it->second));
      if (generation == generation_) {
         ++it;
      } else {
         it = tree_.upper_bound(key);
      }
   }
}

}  // namespace softswitch
