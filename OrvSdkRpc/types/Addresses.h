// IP and MAC addresses, which the wire carries as plain bytes in network order.
//
// Thread-safe: pure functions.
#pragma once

#include <cstddef>
#include <string>

#include "orv/eth_addr.h"
#include "orv/ip_addr.h"

namespace OrvSdkRpc::types {

// 4 bytes are an IPv4 address, 16 an IPv6 address, none the null address. Any other length throws
// orv::invalid_argument_error. What the bytes hold is not looked at.
orv::ip_addr_t ip_addr(const std::string& bytes);
// 0, 4 or 16 bytes; a family other than 0, 4 and 6 throws orv::invalid_argument_error.
std::string ip_addr_bytes(const orv::ip_addr_t& addr);

// Number of bytes of the address's family, for the conversions that copy them straight out of addr(). A
// family other than 0, 4 and 6 throws orv::unsupported_error: clients can tell which way a field is written
// by it.
std::size_t afToSize(const orv::ip_addr_t& addr);

// 6 bytes, or none for the null address. Any other length throws orv::invalid_argument_error.
orv::eth_addr_t eth_addr(const std::string& bytes);
// Always 6 bytes, also for the null address; with `inverted` each of them complemented.
std::string eth_addr_bytes(const orv::eth_addr_t& addr, bool inverted);

}  // namespace OrvSdkRpc::types
