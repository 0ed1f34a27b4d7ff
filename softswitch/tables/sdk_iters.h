// SDK iterators over tables of the switch.
//
// Thread-safety: as the SDK's iterators.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "orv/iter.h"

namespace softswitch {

// Iterates over a cursor whose next() returns a row or null. `make(row, value)` fills in the value for a row,
// or returns false to skip the row.
template <class Iter, class Cursor, class Make>
class CursorIter final : public Iter::impl_type {
public:
   using Value = typename Iter::value_type;

   CursorIter(Cursor cursor, Make make) : cursor_(std::move(cursor)), make_(std::move(make)) {}

   bool next(Value& value) override {
      while (const auto* row = cursor_.next()) {
         if (make_(*row, value)) return true;
      }
      return false;
   }
   std::unique_ptr<orv::iter_impl<Value>> clone() const override {
      return std::make_unique<CursorIter>(*this);
   }

private:
   Cursor cursor_;
   Make make_;
};

template <class Iter, class Cursor, class Make>
Iter makeCursorIter(Cursor cursor, Make make) {
   return Iter(std::make_unique<CursorIter<Iter, Cursor, Make>>(std::move(cursor), std::move(make)));
}

// For lists without a record of their changes.
struct PerhapsChanged {
   bool operator()() const { return false; }
};

// Iterates over a short list as it was at the beginning. An element that has been removed since is skipped;
// an element that has changed is returned as it is now. `Now` returns the current list; `same(a, b)` compares
// the identity of two elements; `unchanged()` says that the list is as it was at the beginning, which spares
// a step from reading it again.
template <class Iter, class Now, class Same, class Unchanged>
class SnapshotIter final : public Iter::impl_type {
public:
   using Value = typename Iter::value_type;

   SnapshotIter(Now now, Same same, Unchanged unchanged)
        : now_(std::move(now)), same_(std::move(same)), unchanged_(std::move(unchanged)), values_(now_()) {}

   bool next(Value& value) override {
      while (at_ < values_.size()) {
         auto& candidate = values_[at_++];
         if (unchanged_()) {
            // Nobody asks for it again.
            value = std::move(candidate);
            return true;
         }
         auto values = now_();
         const auto it = std::find_if(values.begin(), values.end(),
                                      [&](const Value& each) { return same_(each, candidate); });
         if (it == values.end()) continue;
         value = std::move(*it);
         return true;
      }
      return false;
   }
   std::unique_ptr<orv::iter_impl<Value>> clone() const override {
      return std::make_unique<SnapshotIter>(*this);
   }

private:
   Now now_;
   Same same_;
   Unchanged unchanged_;
   std::vector<Value> values_;
   std::size_t at_ = 0;
};

template <class Iter, class Now, class Same, class Unchanged = PerhapsChanged>
Iter makeSnapshotIter(Now now, Same same, Unchanged unchanged = {}) {
   return Iter(std::make_unique<SnapshotIter<Iter, Now, Same, Unchanged>>(std::move(now), std::move(same),
                                                                          std::move(unchanged)));
}

}  // namespace softswitch
