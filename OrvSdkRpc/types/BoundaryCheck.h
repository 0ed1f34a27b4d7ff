// The range check of numbers that the wire carries wider than the SDK does.
//
// Thread-safe: pure functions.
#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <string_view>

namespace OrvSdkRpc {

// Throws orv::invalid_argument_error with `words`, the value put in for their "{}".
[[noreturn]] void boundaryExceeded(std::string_view words, std::uint32_t value);

// The value narrowed to T when lower <= value <= upper; otherwise throws as above. The caller brings the
// words. Where no limits are given they are those of T: what lies within is the SDK's to judge.
template <typename T, typename Source>
T boundaryCheck(Source value, std::string_view words, Source lower = 0,
                Source upper = std::numeric_limits<T>::max()) {
   static_assert(std::same_as<Source, std::uint32_t>, "numbers of the wire are 32 bits wide");
   static_assert(std::same_as<T, std::uint16_t> || std::same_as<T, std::uint8_t>,
                 "the SDK's narrow fields are unsigned and 16 or 8 bits wide");
   if (value < lower || value > upper) boundaryExceeded(words, value);
   return static_cast<T>(value);
}

}  // namespace OrvSdkRpc
