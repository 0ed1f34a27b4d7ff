// The IP routes with their vias: what the route manager keeps, sized for millions of rows.
//
// A route and its vias are one row, in memory and in the store. The common route, one via that names a
// nexthop group and nothing else, takes one cache line and no allocation of its own; every other set of vias
// stands in a vector.
//
// A changed row is written when another row is changed or when the lock span ends, whichever comes first, so
// that a route and its via set in one span are encoded once. Room in the store is set aside when the change
// is prepared: prepare() is the only operation that can be refused, and it comes before anything is changed.
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
#include "softswitch/names.h"
#include "softswitch/store/store.h"

namespace softswitch {

// A route's key in 24 bytes, in the order of VRF, family, address, length, preference.
struct RouteKey {
   std::uint64_t high =
        0;  // the address's first eight bytes as a number; an IPv4 address stands in their top half
   std::uint64_t low = 0;
   std::uint32_t vrfAndFamily = 0;  // number of the VRF's name in the upper 24 bits
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

struct RouteVia {
   orv::ip_route_via_t via;  // its route_key is not filled
   std::uint32_t mark = 0;   // the resync epoch of the last set
};
using RouteVias = std::vector<RouteVia>;
using RouteIndex = std::uint32_t;

struct RouteRow {
   RouteKey key;
   std::uint32_t tag = 0;
   NameId commandTag = Names::none;
   NameId group = Names::none;   // that the route's one via names
   std::uint32_t mark = 0;       // the resync epoch of the last set
   std::uint32_t groupMark = 0;  // the same of the via that names the group
   RouteIndex index = 0;         // where the row stands
   std::unique_ptr<RouteVias>
        vias;  // hops; or the via with the group, when it carries more than that; or null
   orv::ip_route_action_t action = orv::ip_route_action_t::forward;
   bool ribBypass : 1 = false;
   bool inStore : 1 = false;
   bool dead : 1 = false;        // erased, but the hardware stage still has its index
   bool queued : 1 = false;      // the hardware stage has it on its list
   bool sent : 1 = false;        // handed to the forwarding plane, not answered yet
   bool again : 1 = false;       // changed since it was sent: to be queued at the answer
   bool programmed : 1 = false;  // the forwarding plane has it
   bool forwarded : 1 = false;   // it was announced as a route of the FIB

   bool hasVias() const { return group != Names::none || vias != nullptr; }
   bool hasHops() const { return group == Names::none && vias != nullptr; }
   bool alive() const { return key.vrfAndFamily != 0 && !dead; }
};
static_assert(sizeof(RouteRow) == 64, "a route is one cache line");

class IpRouteTable {
public:
   // Reads what the store has; throws store::StoreError (damaged). `groups` and `vrfs` number the names of
   // nexthop groups and VRFs; the VRF "default" is number 0.
   IpRouteTable(store::Store& store, Names& groups, Names& vrfs, std::size_t capacity);
   ~IpRouteTable();
   IpRouteTable(const IpRouteTable&) = delete;
   IpRouteTable& operator=(const IpRouteTable&) = delete;

   std::size_t size() const { return tree_.size(); }
   std::size_t capacity() const { return capacity_; }

   // Null when there is none. A row stays where it is until it is erased.
   RouteRow* find(const RouteKey& key);
   const RouteRow* find(const RouteKey& key) const;
   // The first row at or behind `key`, or null.
   const RouteRow* atOrAfter(const RouteKey& key) const;

   RouteRow& at(RouteIndex index) { return slabs_[index / slabRows][index % slabRows]; }
   const RouteRow& at(RouteIndex index) const { return slabs_[index / slabRows][index % slabRows]; }

   // Throws orv::error when there is no room for another row.
   void checkCapacity() const;
   // A new row. prepare() and checkCapacity() come before.
   RouteRow& insert(const RouteKey& key);
   // Sets aside room for writing a row that will have about `bytes` more than its fixed part. Throws
   // orv::error.
   // `shrinks` tells of a change that takes something away, which a full disk allows.
   void prepare(std::size_t bytes, bool shrinks = false);
   // To be called after each change to a row.
   void changed(RouteRow& row);

   // Throws orv::error when the disk is full. The row's memory is used again at once unless it is `queued` or
   // `sent`: then it is `dead`, until release().
   void erase(RouteRow& row);
   void release(RouteRow& row);

   // Makes a via that names a group the only one of the row.
   void setGroup(RouteRow& row, const orv::ip_route_via_t& via);
   // The row's list of hops, made when it is not there.
   RouteVias& hops(RouteRow& row);
   // Removes one of the list, and the list with the last one.
   void eraseHop(RouteRow& row, RouteVias::iterator hop);
   void clearVias(RouteRow& row);
   // A via of the row, as the SDK shows it.
   orv::ip_route_via_t groupVia(const RouteRow& row) const;
   static bool plainGroup(const orv::ip_route_via_t& via);
   void setCommandTag(RouteRow& row, std::string_view tag);
   const std::string& commandTag(const RouteRow& row) const { return tags_.text(row.commandTag); }
   const std::string& group(const RouteRow& row) const { return groups_.text(row.group); }

   void resyncInit();
   std::uint32_t epoch() const { return epoch_; }
   bool resyncing() const { return resyncing_; }
   void resyncEnds() { resyncing_ = false; }
   // Calls `visit(row)` for each row in key order; it may erase that row. Ends the span of the store when it
   // has become large.
   template <class Visit>
   void visitAll(Visit&& visit);

   // Rows with hops, and rows of another preference than 1: where there are none, a walk can be spared.
   std::size_t rowsWithHops() const { return rowsWithHops_; }
   std::size_t rowsOfOtherPreference() const { return rowsOfOtherPreference_; }
   // One above the largest index.
   RouteIndex bound() const { return nextIndex_; }

   // The routes of one VRF in key order. The table may change between two steps.
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
   static constexpr RouteIndex noRow = ~RouteIndex{0};

   void load(std::string_view key, std::string_view row);
   RouteIndex newIndex();
   void encodeKey(const RouteKey& key);
   void encodeRow(const RouteRow& row);
   void flush() noexcept;

   store::Store& store_;
   Names& groups_;
   Names& vrfs_;
   Names tags_;
   const std::size_t capacity_;
   const store::Store::Database database_;
   std::size_t flushRegistration_ = 0;
   std::vector<std::unique_ptr<RouteRow[]>> slabs_;
   std::vector<RouteIndex> unused_;
   RouteIndex nextIndex_ = 0;
   std::size_t rowsWithHops_ = 0;
   std::size_t rowsOfOtherPreference_ = 0;
   Tree tree_;
   RouteRow* recent_ = nullptr;    // the row looked up last: a via follows its route
   RouteIndex unwritten_ = noRow;  // changed and not in the store yet
   std::uint64_t generation_ = 0;  // counts insertions and removals
   std::uint32_t epoch_ = 0;
   bool resyncing_ = false;
   std::string keyBytes_;  // kept for their memory
   std::string rowBytes_;
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
