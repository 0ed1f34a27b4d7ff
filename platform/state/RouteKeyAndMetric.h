#pragma once

// Keys of the MPLS tables of the hardware state.
// Thread-safety: plain values.

#include <fmt/format.h>

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/state/Mpls.h"

namespace Mpls {

// The label stack that a route matches, with the bottom of the stack at index 0.
class RouteKey {
public:
   static constexpr std::size_t labelsMax = Lumic::MplsStackEntryIndex::nullValue + 1;

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
   [[nodiscard]] std::size_t hash() const noexcept;
   // "100,200", the outermost label first
   [[nodiscard]] std::string to_string() const;

private:
   std::uint8_t stackSize_ = 0;
   std::array<Lumic::MplsLabel, labelsMax> labelStack_{};
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

template <>
struct std::hash<Mpls::RouteKey> {
   std::size_t operator()(const Mpls::RouteKey& key) const noexcept { return key.hash(); }
};

template <>
struct fmt::formatter<Mpls::RouteKey> : fmt::formatter<std::string_view> {
   template <typename Context>
   auto format(const Mpls::RouteKey& key, Context& context) const {
      return fmt::formatter<std::string_view>::format(key.to_string(), context);
   }
};
