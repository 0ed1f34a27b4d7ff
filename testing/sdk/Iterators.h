// SDK iterators over rows that a test gives, and the rows of an SDK iterator.
//
// Thread-safety: as the SDK's iterators.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "orv/iter.h"

namespace orvtest {

// iterOver<orv::ip_route_iter_t>({first, second})
template <class Iter>
Iter iterOver(std::vector<typename Iter::value_type> rows) {
   using Row = typename Iter::value_type;
   class Rows final : public Iter::impl_type {
   public:
      explicit Rows(std::vector<Row> rows) : rows_(std::move(rows)) {}
      bool next(Row& row) override {
         if (position_ == rows_.size()) return false;
         row = rows_[position_++];
         return true;
      }
      [[nodiscard]] std::unique_ptr<orv::iter_impl<Row>> clone() const override {
         return std::make_unique<Rows>(*this);
      }

   private:
      std::vector<Row> rows_;
      std::size_t position_ = 0;
   };
   return Iter(std::make_unique<Rows>(std::move(rows)));
}

// Every row from here to the end.
template <class Iter>
std::vector<typename Iter::value_type> listOf(Iter iter) {
   std::vector<typename Iter::value_type> rows;
   for (; iter; ++iter)
      rows.push_back(*iter);
   return rows;
}

}  // namespace orvtest
