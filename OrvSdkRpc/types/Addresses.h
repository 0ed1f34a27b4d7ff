// IP and MAC addresses, which the wire carries as plain bytes in network order.
//
// Thread-safety: pure functions.
#pragma once

#include <cstddef>
#include <string>

#include "orv/eth_addr.h"
#include "orv/ip_addr.h"

namespace OrvSdkRpc::types {

// 4 bytes are an IPv4 address, 16 bytes an IPv6 address, 0 bytes the null address. Any content is valid.
// THROWS: orv::invalid_argument_error for any other length.
orv::ip_addr_t ip_addr(const std::string& bytes);
// RETURNS: 0, 4 or 16 bytes.
// THROWS: orv::invalid_argument_error for a family other than 0, 4 or 6.
std::string ip_addr_bytes(const orv::ip_addr_t& addr);

// RETURNS: the number of bytes of the address's family, for conversions that copy them straight out of
// addr().
// THROWS: orv::unsupported_error for a family other than 0, 4 or 6. Not the error of ip_addr_bytes(): clients
// can see which of the two a field uses.
std::size_t afToSize(const orv::ip_addr_t& addr);

// 6 bytes, or 0 bytes for the null address.
// THROWS: orv::invalid_argument_error for any other length.
orv::eth_addr_t eth_addr(const std::string& bytes);
// RETURNS: 6 bytes, even for the null address. If `inverted`, each byte is complemented.
std::string eth_addr_bytes(const orv::eth_addr_t& addr, bool inverted);

}  // namespace OrvSdkRpc::types
