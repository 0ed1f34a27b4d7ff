// Range check for numbers that are wider on the wire than in the SDK.
//
// Thread-safety: pure functions.
#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <string_view>

namespace OrvSdkRpc {

// THROWS: orv::invalid_argument_error with the text `words`, in which the value replaces "{}".
[[noreturn]] void boundaryExceeded(std::string_view words, std::uint32_t value);

// The default limits are those of T: within them, the SDK checks the value.
// RETURNS: the value narrowed to T.
// THROWS: orv::invalid_argument_error with the caller's `words` unless lower <= value <= upper.
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
