#pragma once

// Keys of the MPLS tables of the hardware state.
// Thread-safety: plain values.

#include <array>
#include <compare>
#include <cstdint>

#include "platform/state/Mpls.h"

namespace Mpls {

// The label stack that a route matches, with the bottom of the stack at index 0.
class RouteKey {
public:
   RouteKey() = default;

   // The number of labels. A table may hold a number beyond the largest index; reading such a stack throws.
   [[nodiscard]] std::uint8_t stackSize() const noexcept { return stackSize_; }
   void stackSizeIs(std::uint8_t size) noexcept { stackSize_ = size; }
   [[nodiscard]] Lumic::MplsLabel labelStack(Lumic::MplsStackEntryIndex index) const noexcept {
      return labelStack_[index.value()];
   }
   void labelStackIs(Lumic::MplsStackEntryIndex index, Lumic::MplsLabel label) noexcept {
      labelStack_[index.value()] = label;
   }

   auto operator<=>(const RouteKey&) const = default;

private:
   std::uint8_t stackSize_ = 0;
   std::array<Lumic::MplsLabel, Lumic::MplsStackEntryIndex::nullValue + 1> labelStack_{};
};

// A route key, and the metric that distinguishes routes with the same stack.
class RouteKeyAndMetric : public RouteKey {
public:
   RouteKeyAndMetric() = default;
   RouteKeyAndMetric(const RouteKey& key, std::uint8_t metric) : RouteKey(key), metric_(metric) {}

   [[nodiscard]] std::uint8_t metric() const noexcept { return metric_; }
   void metricIs(std::uint8_t metric) noexcept { metric_ = metric; }

   auto operator<=>(const RouteKeyAndMetric&) const = default;

private:
   std::uint8_t metric_ = 0;
};

}  // namespace Mpls
