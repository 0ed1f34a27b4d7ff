// An Ethernet (MAC) address.
//
// Thread-safety: plain value.
#pragma once

#include <array>
#include <compare>
#include <cstring>

#include "orv/value.h"

namespace orv {

class eth_addr_t {
public:
   using sdk_value = eth_addr_t;
   static constexpr std::size_t size = 6;

   // The null address, 00:00:00:00:00:00.
   constexpr eth_addr_t() = default;
   // `bytes` holds six bytes in transmission order.
   explicit eth_addr_t(const std::uint8_t* bytes) { std::memcpy(bytes_.data(), bytes, size); }
   // Parses "00:00:5e:0a:0b:0c", with digits in either case.
   // THROWS: invalid_argument_error, naming the text, for anything else.
   explicit eth_addr_t(std::string_view text);

   // Six bytes.
   [[nodiscard]] const std::uint8_t* bytes() const noexcept { return bytes_.data(); }
   // True for the null address.
   bool operator!() const noexcept { return *this == eth_addr_t{}; }

   auto operator<=>(const eth_addr_t&) const = default;
   [[nodiscard]] std::size_t hash() const noexcept {
      std::uint64_t value = 0;
      std::memcpy(&value, bytes_.data(), size);
      return detail::mix(value);
   }
   // "00:00:5e:0a:0b:0c"
   [[nodiscard]] std::string to_string() const;

private:
   std::array<std::uint8_t, size> bytes_{};
};

}  // namespace orv
