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

// Iterates over a short list as it was at the beginning. An element that has been removed since is skipped;
// an element that has changed is returned as it is now. `Now` returns the current list; `same(a, b)` compares
// the identity of two elements.
template <class Iter, class Now, class Same>
class SnapshotIter final : public Iter::impl_type {
public:
   using Value = typename Iter::value_type;

   SnapshotIter(Now now, Same same) : now_(std::move(now)), same_(std::move(same)), values_(now_()) {}

   bool next(Value& value) override {
      while (at_ < values_.size()) {
         const auto& candidate = values_[at_++];
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
   std::vector<Value> values_;
   std::size_t at_ = 0;
};

template <class Iter, class Now, class Same>
Iter makeSnapshotIter(Now now, Same same) {
   return Iter(std::make_unique<SnapshotIter<Iter, Now, Same>>(std::move(now), std::move(same)));
}

}  // namespace softswitch
