// What the tables of IP routes and of MPLS routes have in common: the vias of a route, their identity, the
// marks of a resync, and room in the store.
//
// A route and its vias are one row, in memory and in the store. The common route has one via that names a
// nexthop group and nothing else that the row does not keep: it is told by the group's number and needs no
// allocation. Every other set of vias stands in a vector: hops, or the one via with the group when it carries
// more than that.
//
// A table derives from RouteTable<Kind> and adds its keys and where its rows stand. A kind says what differs:
//
//    struct Kind {
//       using Row = ...;                                // derives from RowVias<Via>; has a `mark`
//       using Via = ...;                                // of the SDK
//       static constexpr std::string_view table;        // its name in the store
//       static constexpr std::uint8_t version;          // of its rows there
//       static constexpr std::size_t viaBytes;          // of a via there, about
//       static bool plain(const Via&);                  // it carries no more than the row can keep by itself
//       static bool bare(const Via&);                   // it carries nothing but its route's key
//       static bool sameHop(const Via&, const Via&);    // the identity of vias without a group
//       static bool sameFields(const Via&, const Via&); // in all fields but the route's key
//       static bool keeps(const Row&, const Via&);      // what the row keeps besides the group: is the
//       via's, static void keep(Row&, const Via&);             //    is taken from it, static void
//       keepNothing(Row&);                  //    is let go static Via kept(const Row&); // a via of the
//       route with that and without a group static auto routeKey(const Row&);               // as the SDK has
//       it static Via readVia(store::Reader&);
//    };
//
// Room in the store is set aside when a change is prepared: that is the only step that can be refused
// (orv::error for a full disk), and it comes before anything is changed, marks included.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "softswitch/store/codec.h"
#include "softswitch/store/store.h"
#include "softswitch/tables/names.h"
#include "softswitch/tables/refusal.h"
#include "softswitch/tables/resync_marks.h"

namespace softswitch {

template <class Via>
struct MarkedVia {
   Via via;                 // its route_key is not filled
   std::uint32_t mark = 0;  // the resync epoch of the last set
};

// The part of a row that says the vias.
template <class Via>
struct RowVias {
   using List = std::vector<MarkedVia<Via>>;

   std::unique_ptr<List> vias;   // hops; or the via with the group, when it is not plain; or null
   NameId group = Names::none;   // that the route's one via names
   std::uint32_t groupMark = 0;  // the resync epoch of the last set of that via

   bool hasVias() const { return group != Names::none || vias != nullptr; }
   bool hasHops() const { return group == Names::none && vias != nullptr; }
   std::size_t hops() const { return hasHops() ? vias->size() : 0; }
};

template <class Kind>
class RouteTable {
public:
   using Row = typename Kind::Row;
   using Via = typename Kind::Via;

   RouteTable(const RouteTable&) = delete;
   RouteTable& operator=(const RouteTable&) = delete;

   std::size_t capacity() const { return capacity_; }
   // Where there are none, a walk over the hops can be spared.
   std::size_t rowsWithHops() const { return rowsWithHops_; }

   // Sets room aside for writing a row that will have about `bytes` more than its fixed part; `shrinks` tells
   // of a change that takes something away, which a full disk allows. Throws orv::error.
   void prepare(std::size_t bytes, bool shrinks = false) {
      try {
         store_.reserve(fixedRowBytes + bytes, shrinks);
      } catch (const store::StoreError& e) {
         refuse(e);
      }
   }
   // What the row's vias take in the store, about.
   static std::size_t bytesOfVias(const Row& row) {
      return row.vias == nullptr ? 0 : row.vias->size() * Kind::viaBytes;
   }

   // Two forms of one via: hops by their identity; with a group there is one alone.
   static bool sameVia(const Via& a, const Via& b) {
      if (a.nexthop_group().empty() != b.nexthop_group().empty()) return false;
      return !a.nexthop_group().empty() || Kind::sameHop(a, b);
   }

   // All vias of the row, as the SDK shows them.
   std::vector<Via> viasOf(const Row& row) const;
   // RETURNS: whether one of the row's vias equals `via` in all fields; a bare via stands for any.
   bool hasVia(const Row& row, const Via& via) const;
   // Whether the row has a hop of the identity of `via`.
   bool hasHop(const Row& row, const Via& via) const {
      return row.hasHops() && std::any_of(row.vias->begin(), row.vias->end(),
                                          [&](const auto& each) { return Kind::sameHop(each.via, via); });
   }
   const std::string& group(const Row& row) const { return groups_.text(row.group); }

   // The changes below are made when they return true; the derived table's changed() follows then. A via that
   // is set counts as set again in a resync, and so does its route.

   // REQUIRES: `via` names a group, and the row has no hops.
   // RETURNS: whether that is the row's via already, in all fields; if so, it is marked.
   bool keepGroup(Row& row, const Via& via);
   // Makes a via that names a group the only one of the route. prepare() comes before.
   void setGroup(Row& row, const Via& via);
   // Adds a hop, or overwrites the one of the same identity. REQUIRES: the row has no group.
   bool setHop(Row& row, const Via& via);
   // Removes the via that equals `via` in all fields, or all of them for a bare one.
   bool eraseVias(Row& row, const Via& via);
   // Removes the vias that were not set again.
   bool dropStaleVias(Row& row);
   // prepare() comes before.
   void clearVias(Row& row);

   ResyncMarks& marks() { return marks_; }
   const ResyncMarks& marks() const { return marks_; }

protected:
   static constexpr std::size_t fixedRowBytes = 32;

   RouteTable(store::Store& store, Names& groups, std::size_t capacity)
        : store_(store), groups_(groups), database_(store.open(Kind::table)), capacity_(capacity) {}
   ~RouteTable() = default;

   void checkCapacity(std::size_t rows) const {
      if (rows >= capacity_) refuseFull(Kind::table, capacity_);
   }
   [[noreturn]] static void damaged(std::string_view what) {
      throw store::StoreError(store::Trouble::damaged, std::string(what));
   }
   // Reads a row's format version. Throws store::StoreError (newerFormat).
   void checkVersion(store::Reader& row) const;
   // Reads so many vias into a row that has none. Throws store::StoreError (damaged).
   void readVias(store::Reader& in, std::uint64_t count, Row& row);

   store::Store& store_;
   Names& groups_;
   const store::Store::Database database_;
   ResyncMarks marks_;

private:
   MarkedVia<Via>& addHop(Row& row);
   bool isGroup(const Row& row, const Via& via) const;

   const std::size_t capacity_;
   std::size_t rowsWithHops_ = 0;
};

// Ends a resync; nothing without one. Calls `erase(row)` for each route that was not set again, and
// `changed(row)` for each that lost vias that were not.
template <class Table, class Erase, class Changed>
void completeResync(Table& table, Erase&& erase, Changed&& changed) {
   if (!table.marks().end()) return;
   table.visitAll([&](auto& row) {
      if (table.marks().stale(row.mark)) {
         erase(row);
      } else if (table.dropStaleVias(row)) {
         changed(row);
      }
   });
}

template <class Kind>
std::vector<typename Kind::Via> RouteTable<Kind>::viasOf(const Row& row) const {
   std::vector<Via> vias;
   if (row.vias != nullptr) {
      const auto key = Kind::routeKey(row);
      vias.reserve(row.vias->size());
      for (const auto& each : *row.vias)
         vias.emplace_back(each.via).route_key_is(key);
   } else if (row.group != Names::none) {
      vias.emplace_back(Kind::kept(row)).nexthop_group_is(groups_.text(row.group));
   }
   return vias;
}

template <class Kind>
bool RouteTable<Kind>::hasVia(const Row& row, const Via& via) const {
   if (Kind::bare(via)) return row.hasVias();
   if (row.group != Names::none) return isGroup(row, via);
   return row.vias != nullptr && std::any_of(row.vias->begin(), row.vias->end(), [&](const auto& each) {
             return Kind::sameFields(each.via, via);
          });
}

template <class Kind>
bool RouteTable<Kind>::isGroup(const Row& row, const Via& via) const {
   if (groups_.text(row.group) != via.nexthop_group()) return false;
   return row.vias != nullptr ? Kind::sameFields(row.vias->front().via, via)
                              : Kind::plain(via) && Kind::keeps(row, via);
}

template <class Kind>
bool RouteTable<Kind>::keepGroup(Row& row, const Via& via) {
   if (row.group == Names::none || !isGroup(row, via)) return false;
   row.mark = row.groupMark = marks_.epoch();
   return true;
}

template <class Kind>
void RouteTable<Kind>::setGroup(Row& row, const Via& via) {
   // Held before the former one is let go, which may be the same.
   const auto id = groups_.hold(via.nexthop_group());
   clearVias(row);
   row.group = id;
   row.mark = row.groupMark = marks_.epoch();
   Kind::keep(row, via);
   if (Kind::plain(via)) return;
   row.vias = std::make_unique<typename RowVias<Via>::List>();
   row.vias->push_back({via, marks_.epoch()});
   row.vias->front().via.route_key_is({});
}

template <class Kind>
MarkedVia<typename Kind::Via>& RouteTable<Kind>::addHop(Row& row) {
   if (row.vias == nullptr) {
      row.vias = std::make_unique<typename RowVias<Via>::List>();
      ++rowsWithHops_;
   }
   return row.vias->emplace_back();
}

template <class Kind>
bool RouteTable<Kind>::setHop(Row& row, const Via& via) {
   MarkedVia<Via>* hop = nullptr;
   if (row.vias != nullptr) {
      const auto it = std::find_if(row.vias->begin(), row.vias->end(),
                                   [&](const auto& each) { return Kind::sameHop(each.via, via); });
      if (it != row.vias->end()) hop = &*it;
   }
   const bool changes = hop == nullptr || !Kind::sameFields(hop->via, via);
   if (changes) {
      prepare(bytesOfVias(row) + Kind::viaBytes);
      if (hop == nullptr) hop = &addHop(row);
      hop->via = via;
      hop->via.route_key_is({});
   }
   row.mark = hop->mark = marks_.epoch();
   return changes;
}

template <class Kind>
bool RouteTable<Kind>::eraseVias(Row& row, const Via& via) {
   if (!hasVia(row, via)) return false;
   prepare(bytesOfVias(row), true);
   if (row.hops() > 1 && !Kind::bare(via)) {
      std::erase_if(*row.vias, [&](const auto& each) { return Kind::sameFields(each.via, via); });
   } else {
      clearVias(row);
   }
   return true;
}

template <class Kind>
bool RouteTable<Kind>::dropStaleVias(Row& row) {
   if (row.group != Names::none) {
      if (!marks_.stale(row.groupMark)) return false;
      prepare(0, true);
      clearVias(row);
      return true;
   }
   const auto stale = [this](const auto& each) { return marks_.stale(each.mark); };
   if (row.vias == nullptr || std::none_of(row.vias->begin(), row.vias->end(), stale)) return false;
   prepare(bytesOfVias(row), true);
   std::erase_if(*row.vias, stale);
   if (row.vias->empty()) clearVias(row);
   return true;
}

template <class Kind>
void RouteTable<Kind>::clearVias(Row& row) {
   if (row.hasHops()) --rowsWithHops_;
   groups_.drop(row.group);
   row.group = Names::none;
   Kind::keepNothing(row);
   row.vias.reset();
}

template <class Kind>
void RouteTable<Kind>::checkVersion(store::Reader& row) const {
   const auto version = row.u8();
   if (version != 0 && version <= Kind::version) return;
   throw store::StoreError(store::Trouble::newerFormat,
                           fmt::format("{}: table '{}' has a row of version {}, this release reads up to {}",
                                       store_.path().string(), Kind::table, version, Kind::version));
}

template <class Kind>
void RouteTable<Kind>::readVias(store::Reader& in, std::uint64_t count, Row& row) {
   for (; count != 0; --count) {
      auto via = Kind::readVia(in);
      if (via.nexthop_group().empty()) {
         addHop(row) = {std::move(via), marks_.epoch()};
         continue;
      }
      if (count != 1 || row.hasVias()) damaged("a route has more than a nexthop group");
      setGroup(row, via);
   }
}

}  // namespace softswitch
