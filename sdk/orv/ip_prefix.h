// An IP prefix, and an IP address with a mask length.
//
// Thread-safety: plain values.
#pragma once

#include "orv/ip_addr.h"

namespace orv {

// A network: an address without host bits. Ordered by address, then by length.
class ip_prefix_t {
public:
   using sdk_value = ip_prefix_t;

   // The null prefix: the null address with length 0.
   constexpr ip_prefix_t() = default;
   // THROWS: invalid_argument_error, naming the value, for a length above the width of the family (0, 32,
   // 128), an unknown family, or a host bit that is set.
   ip_prefix_t(const ip_addr_t& network, std::uint32_t prefix_length);
   // Parses "ADDRESS/LENGTH", or an address alone, which gives a host prefix; the empty text gives the null
   // prefix.
   // THROWS: invalid_argument_error for any other text, and as the constructor above.
   explicit ip_prefix_t(std::string_view text);

   [[nodiscard]] constexpr std::uint8_t af() const noexcept { return network_.af(); }
   [[nodiscard]] constexpr const ip_addr_t& network() const noexcept { return network_; }
   [[nodiscard]] constexpr std::uint8_t prefix_length() const noexcept { return prefix_length_; }
   // True if `addr` is in this prefix.
   [[nodiscard]] bool contains(const ip_addr_t& addr) const noexcept;

   auto operator<=>(const ip_prefix_t&) const = default;
   [[nodiscard]] std::size_t hash() const noexcept { return detail::mix(network_.hash() + prefix_length_); }
   // "10.0.0.0/8"; the empty text for the null prefix.
   [[nodiscard]] std::string to_string() const;

private:
   ip_addr_t network_;
   std::uint8_t prefix_length_ = 0;
};

static_assert(sizeof(ip_prefix_t) <= 20 && std::is_trivially_copyable_v<ip_prefix_t>,
              "prefixes are copied on hot paths");

// An address with a mask length, as in interfaces and ACL rules: host bits may be set. Accepts any value;
// managers refuse a length above the family's width.
class ip_addr_mask_t {
public:
   using sdk_value = ip_addr_mask_t;

   constexpr ip_addr_mask_t() = default;
   constexpr ip_addr_mask_t(const ip_addr_t& addr, std::uint8_t mask_length)
        : address_(addr), mask_length_(mask_length) {}

   [[nodiscard]] constexpr std::uint8_t af() const noexcept { return address_.af(); }
   [[nodiscard]] constexpr const ip_addr_t& address() const noexcept { return address_; }
   // The 16 bytes of the address.
   [[nodiscard]] const std::uint8_t* addr() const noexcept { return address_.addr(); }
   [[nodiscard]] constexpr std::uint8_t mask_length() const noexcept { return mask_length_; }

   auto operator<=>(const ip_addr_mask_t&) const = default;
   [[nodiscard]] std::size_t hash() const noexcept { return detail::mix(address_.hash() + mask_length_); }
   // "10.0.0.1/8"; the empty text for the null address.
   [[nodiscard]] std::string to_string() const;

private:
   ip_addr_t address_;
   std::uint8_t mask_length_ = 0;
};

}  // namespace orv
