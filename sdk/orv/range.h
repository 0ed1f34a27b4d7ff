// Ranges of port and protocol numbers.
//
// Thread-safety: plain values.
#pragma once

#include <compare>

#include "orv/value.h"

namespace orv {

// From range_start to range_end, inclusive. Accepts any value; managers refuse an end below the start or
// above the field's width.
template <typename Tag>
class number_range_t {
public:
   using sdk_value = number_range_t;

   constexpr number_range_t() = default;
   constexpr number_range_t(std::uint32_t start, std::uint32_t end) : start_(start), end_(end) {}

   [[nodiscard]] constexpr std::uint32_t range_start() const noexcept { return start_; }
   constexpr void range_start_is(std::uint32_t v) noexcept { start_ = v; }
   [[nodiscard]] constexpr std::uint32_t range_end() const noexcept { return end_; }
   constexpr void range_end_is(std::uint32_t v) noexcept { end_ = v; }

   auto operator<=>(const number_range_t&) const = default;
   [[nodiscard]] std::size_t hash() const noexcept { return detail::hash_of(start_, end_); }
   [[nodiscard]] std::string to_string() const { return fmt::format("{}-{}", start_, end_); }

private:
   std::uint32_t start_ = 0;
   std::uint32_t end_ = 0;
};

// TCP or UDP ports.
using port_range_t = number_range_t<struct port_range_tag>;
// IP protocol numbers.
using protocol_range_t = number_range_t<struct protocol_range_tag>;

}  // namespace orv
