// An SDK iterator over rows that a test holds in its hand.
//
// Thread-safety: as the SDK's iterators.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "orv/iter.h"

namespace support {

template <typename Iter>
class VectorIterImpl final : public Iter::impl_type {
public:
   using Row = typename Iter::value_type;

   explicit VectorIterImpl(std::shared_ptr<const std::vector<Row>> rows) : rows_(std::move(rows)) {}

   bool next(Row& row) override {
      if (position_ == rows_->size()) return false;
      row = (*rows_)[position_++];
      return true;
   }
   std::unique_ptr<orv::iter_impl<Row>> clone() const override {
      return std::make_unique<VectorIterImpl>(*this);
   }

private:
   std::shared_ptr<const std::vector<Row>> rows_;
   std::size_t position_ = 0;
};

// iterOver<orv::ip_route_iter_t>({first, second})
template <typename Iter>
Iter iterOver(std::vector<typename Iter::value_type> rows) {
   using Impl = VectorIterImpl<Iter>;
   auto shared = std::make_shared<const std::vector<typename Iter::value_type>>(std::move(rows));
   return Iter(std::unique_ptr<typename Iter::impl_type>(std::make_unique<Impl>(std::move(shared))));
}

}  // namespace support
