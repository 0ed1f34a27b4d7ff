// The network of an address.
//
// Thread-safety: a function without state.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "orv/ip_prefix.h"

namespace softswitch {

// REQUIRES: `length` is at most the width of the address's family.
inline orv::ip_prefix_t networkOf(const orv::ip_addr_t& address, unsigned length) {
   std::array<std::uint8_t, 16> bytes{};
   const auto from = address.bytes();
   std::copy(from.begin(), from.end(), bytes.begin());
   for (unsigned at = length / 8; at < bytes.size(); ++at) {
      bytes[at] &= at == length / 8 ? static_cast<std::uint8_t>(0xff00U >> length % 8) : std::uint8_t{0};
   }
   return {orv::ip_addr_t(address.af(), bytes.data()), length};
}

}  // namespace softswitch
