#pragma once

// MPLS values as the state tables hold them.
// Thread-safety: plain values.

#include <compare>
#include <cstdint>

#include "platform/zelt/RangeException.h"

namespace Lumic {

// A label (RFC 3032), or the null label, whose value is one above the largest label.
class MplsLabel {
public:
   static constexpr std::uint32_t nullValue = 1048576;

   constexpr MplsLabel() = default;
   constexpr explicit MplsLabel(std::uint32_t value) : value_(value) {}

   [[nodiscard]] constexpr std::uint32_t value() const noexcept { return value_; }

   auto operator<=>(const MplsLabel&) const = default;

private:
   std::uint32_t value_ = nullValue;
};

// The position of a label in a stack, counted from the bottom.
class MplsStackEntryIndex {
public:
   static constexpr std::uint8_t min = 0;
   static constexpr std::uint8_t nullValue = 13;

   constexpr MplsStackEntryIndex() = default;
   // THROWS: Zelt::RangeException for a number above nullValue.
   constexpr explicit MplsStackEntryIndex(std::uint32_t value) : value_(static_cast<std::uint8_t>(value)) {
      if (value > nullValue) {
         throw Zelt::RangeException(
              "Lumic::MplsStackEntryIndex::value < Lumic::MplsStackEntryIndex::min or > "
              "Lumic::MplsStackEntryIndex::nullValue not allowed");
      }
   }

   [[nodiscard]] constexpr std::uint8_t value() const noexcept { return value_; }

   auto operator<=>(const MplsStackEntryIndex&) const = default;

private:
   std::uint8_t value_ = nullValue;
};

}  // namespace Lumic
