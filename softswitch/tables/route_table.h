// The common part of the tables of IP routes and MPLS routes: the vias of a route, their identity, the marks
// of a resync, and room in the store.
//
// A route and its vias are one row, in memory and in the store. The common route has one via, which names a
// nexthop group and carries nothing else that the row cannot keep. The row holds such a via as the group's
// number, without an allocation. Any other set of vias is a vector: hops, or the one via with the group if it
// carries more than that.
//
// A table derives from RouteTable<Kind> and adds its keys and the storage of its rows. A Kind defines the
// rest:
//
//    struct Kind {
//       using Row = ...;                                 // derives from RowVias<Via>; has a `mark`
//       using Via = ...;                                 // of the SDK
//       static constexpr std::string_view table;         // its name in the store
//       static constexpr std::uint8_t version;           // of its rows there
//       static constexpr std::size_t viaBytes;           // approximate size of a via there
//       static bool plain(const Via&);                   // it carries no more than the row can keep
//       static bool bare(const Via&);                    // it carries nothing but its route's key
//       static bool sameHop(const Via&, const Via&);     // the identity of vias without a group
//       static bool sameFields(const Via&, const Via&);  // equal in all fields but the route's key
//       // What the row keeps of a plain via besides the group: equals the via's, is set, is cleared.
//       static bool keeps(const Row&, const Via&);
//       static void keep(Row&, const Via&);
//       static void keepNothing(Row&);
//       static Via kept(const Row&);                     // a via of the route with that, without a group
//       static auto routeKey(const Row&);                // the key as in the SDK
//       static Via readVia(store::Reader&);
//       static void writeVia(store::Writer&, const Via&);
//    };
//
// Preparing a change reserves its room in the store. Only this step can be refused (orv::error for a full
// disk). It precedes every change, even of marks.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "softswitch/store/codec.h"
#include "softswitch/store/store.h"
#include "softswitch/tables/deferred_row.h"
#include "softswitch/tables/names.h"
#include "softswitch/tables/refusal.h"
#include "softswitch/tables/resync_marks.h"

namespace softswitch {

template <class Via>
struct MarkedVia {
   Via via;                 // its route_key is empty
   std::uint32_t mark = 0;  // the resync epoch of the last set
};

// The part of a row that holds the vias.
template <class Via>
struct RowVias {
   using List = std::vector<MarkedVia<Via>>;

   std::unique_ptr<List> vias;   // hops; or the one via with a group if it is not plain; or null
   NameId group = Names::none;   // named by the route's one via
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
   // Callers skip a scan over the hops if it is 0.
   std::size_t rowsWithHops() const { return rowsWithHops_; }

   // Reserves room to write `row`, null for a new one, with about `bytes` more than its fixed part. `shrinks`
   // marks a change that removes something, which a full disk allows.
   // THROWS: orv::error if the disk is full.
   void prepare(const Row* row, std::size_t bytes, bool shrinks = false) {
      try {
         unwritten_.reserve(row, fixedRowBytes + bytes, shrinks);
      } catch (const store::StoreError& e) {
         refuse(e);
      }
   }
   // The approximate size of the row's vias in the store.
   std::size_t bytesOfVias(const Row& row) const {
      return row.group != Names::none ? bytesOfGroup(group(row)) : row.hops() * Kind::viaBytes;
   }
   static std::size_t bytesOfGroup(std::string_view name) { return name.size() + Kind::viaBytes; }

   // RETURNS: whether `a` and `b` are the same via. Hops compare by identity; a route has only one via with a
   // group.
   static bool sameVia(const Via& a, const Via& b) {
      if (a.nexthop_group().empty() != b.nexthop_group().empty()) return false;
      return !a.nexthop_group().empty() || Kind::sameHop(a, b);
   }

   // All vias of the row, as the SDK shows them.
   std::vector<Via> viasOf(const Row& row) const;
   // RETURNS: whether one of the row's vias equals `via` in all fields; a bare `via` matches any.
   bool hasVia(const Row& row, const Via& via) const;
   // RETURNS: whether the row has a hop with the identity of `via`.
   bool hasHop(const Row& row, const Via& via) const {
      return row.hasHops() && std::any_of(row.vias->begin(), row.vias->end(),
                                          [&](const auto& each) { return Kind::sameHop(each.via, via); });
   }
   const std::string& group(const Row& row) const { return groups_.text(row.group); }
   // Counts the changes of vias, so that a reader can tell whether any route has other vias than before.
   std::uint64_t viaChanges() const { return viaChanges_; }

   // After a change by the functions below, call the derived table's changed(). Those that return bool,
   // except keepGroup(), return whether they changed the row. Setting a via marks the via and its route as
   // set again.

   // REQUIRES: `via` names a group, and the row has no hops.
   // RETURNS: whether `via` is already the row's via, in all fields. If so, marks it and the route.
   bool keepGroup(Row& row, const Via& via);
   // Makes a via that names a group the route's only via.
   // REQUIRES: prepare() was called.
   void setGroup(Row& row, const Via& via);
   // Adds a hop, or overwrites the hop with the same identity.
   // REQUIRES: the row has no group.
   bool setHop(Row& row, const Via& via);
   // Removes the via that equals `via` in all fields; a bare `via` removes all.
   bool eraseVias(Row& row, const Via& via);
   // Removes the vias that were not set again.
   bool dropStaleVias(Row& row);
   // REQUIRES: prepare() was called.
   void clearVias(Row& row);

   ResyncMarks& marks() { return marks_; }
   const ResyncMarks& marks() const { return marks_; }

protected:
   static constexpr std::size_t fixedRowBytes = 32;

   // `unwritten` is the derived table's own, since writing needs all of that.
   RouteTable(store::Store& store, Names& groups, std::size_t capacity, DeferredRow<Row>& unwritten)
        : store_(store),
          groups_(groups),
          database_(store.open(Kind::table)),
          unwritten_(unwritten),
          capacity_(capacity) {}
   ~RouteTable() = default;

   void checkCapacity(std::size_t rows) const {
      if (rows >= capacity_) refuseFull(Kind::table, capacity_);
   }
   [[noreturn]] static void damaged(std::string_view what) {
      throw store::StoreError(store::Trouble::damaged, std::string(what));
   }
   // Checks a row's format version.
   // THROWS: store::StoreError (newerFormat).
   void checkVersion(store::Reader& row) const;
   // Reads `count` vias into a row that has none.
   // THROWS: store::StoreError (damaged).
   void readVias(store::Reader& in, std::uint64_t count, Row& row);

   store::Store& store_;
   Names& groups_;
   const store::Store::Database database_;
   ResyncMarks marks_;

private:
   MarkedVia<Via>& addHop(Row& row);
   bool isGroup(const Row& row, const Via& via) const;

   DeferredRow<Row>& unwritten_;
   const std::size_t capacity_;
   std::size_t rowsWithHops_ = 0;
   std::uint64_t viaChanges_ = 0;
};

// Ends a resync; a no-op if none is running. Calls `erase(row)` for each route that was not set again, and
// `changed(row)` for each other route that lost vias.
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
   // Hold first: clearVias() drops the former group, which may be the same.
   const auto id = groups_.hold(via.nexthop_group());
   clearVias(row);
   row.group = id;
   ++viaChanges_;
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
      prepare(&row, bytesOfVias(row) + (hop == nullptr ? Kind::viaBytes : 0));
      if (hop == nullptr) hop = &addHop(row);
      hop->via = via;
      hop->via.route_key_is({});
      ++viaChanges_;
   }
   row.mark = hop->mark = marks_.epoch();
   return changes;
}

template <class Kind>
bool RouteTable<Kind>::eraseVias(Row& row, const Via& via) {
   if (!hasVia(row, via)) return false;
   prepare(&row, bytesOfVias(row), true);
   ++viaChanges_;
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
      prepare(&row, 0, true);
      clearVias(row);
      return true;
   }
   const auto stale = [this](const auto& each) { return marks_.stale(each.mark); };
   if (row.vias == nullptr || std::none_of(row.vias->begin(), row.vias->end(), stale)) return false;
   prepare(&row, bytesOfVias(row), true);
   ++viaChanges_;
   std::erase_if(*row.vias, stale);
   if (row.vias->empty()) clearVias(row);
   return true;
}

template <class Kind>
void RouteTable<Kind>::clearVias(Row& row) {
   if (row.hasHops()) --rowsWithHops_;
   ++viaChanges_;
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
