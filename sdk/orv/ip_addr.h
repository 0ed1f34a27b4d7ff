// An IPv4 or IPv6 address, or the null address.
//
// Thread-safety: plain value.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

#include "orv/value.h"

namespace orv {

// Address families, as ip_addr_t::af returns them.
inline constexpr std::uint8_t af_none = 0;
inline constexpr std::uint8_t af_ipv4 = 4;
inline constexpr std::uint8_t af_ipv6 = 6;

// Ordered by family, then by the address in network byte order.
class ip_addr_t {
public:
   using sdk_value = ip_addr_t;

   // The null address: family 0, all bytes zero.
   constexpr ip_addr_t() = default;

   // `bytes` in network byte order: 4 bytes for family 4, 16 for family 6, none for any other family. An
   // unknown family is kept as a number; users that cannot handle it refuse it.
   ip_addr_t(std::uint8_t family, const void* bytes) : af_(family) {
      if (const std::size_t size = size_of(family); size != 0) std::memcpy(bytes_.data(), bytes, size);
   }

   // Parses a dotted quad or RFC 4291 section 2.2; the empty text gives the null address.
   // THROWS: invalid_argument_error, naming the text, for anything else.
   explicit ip_addr_t(std::string_view text);

   [[nodiscard]] constexpr std::uint8_t af() const noexcept { return af_; }
   // Always 16 bytes; those beyond the family's size are zero.
   [[nodiscard]] const std::uint8_t* addr() const noexcept { return bytes_.data(); }
   // The address alone: 0, 4 or 16 bytes.
   [[nodiscard]] std::span<const std::uint8_t> bytes() const noexcept {
      return {bytes_.data(), size_of(af_)};
   }
   // Width of the family's addresses in bits: 0, 32 or 128.
   [[nodiscard]] constexpr std::uint8_t width() const noexcept {
      return static_cast<std::uint8_t>(size_of(af_) * 8);
   }
   // True for the null address.
   constexpr bool operator!() const noexcept { return af_ == af_none; }

   auto operator<=>(const ip_addr_t&) const = default;
   [[nodiscard]] std::size_t hash() const noexcept {
      std::uint64_t high = 0;
      std::uint64_t low = 0;
      std::memcpy(&high, bytes_.data(), sizeof high);
      std::memcpy(&low, bytes_.data() + sizeof high, sizeof low);
      return detail::mix(detail::mix(high + af_ * 0x9e3779b97f4a7c15ULL) ^ low);
   }
   // RFC 5952; the empty text for the null address.
   [[nodiscard]] std::string to_string() const;

private:
   static constexpr std::size_t size_of(std::uint8_t family) noexcept {
      return family == af_ipv4 ? 4 : family == af_ipv6 ? 16 : 0;
   }

   std::uint8_t af_ = af_none;
   std::array<std::uint8_t, 16> bytes_{};
};

static_assert(sizeof(ip_addr_t) <= 20 && std::is_trivially_copyable_v<ip_addr_t>,
              "addresses are copied on hot paths");

}  // namespace orv
