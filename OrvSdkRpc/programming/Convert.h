// Converts the value messages of the programming service to and from the SDK's values.
//
// Thread-safety: pure functions.
//
// THROWS: orv::error with a text that names the value.
#pragma once

#include "OrvSdkRpcProtos/orvsdk.pb.h"
#include "orv/ip_addr.h"
#include "orv/ip_prefix.h"
#include "orv/mpls_route_types.h"
#include "orv/sbfd_types.h"

namespace OrvSdkRpc {

// 4 bytes are an IPv4 address, 16 bytes an IPv6 address, 0 bytes the null address.
// THROWS: orv::invalid_argument_error for any other length.
orv::ip_addr_t ipAddressToIpAddr(const pb::ip_address_msg& message);

// THROWS: what ipAddressToIpAddr() and orv::ip_prefix_t throw.
orv::ip_prefix_t ipPrefixToPrefix(const pb::ip_prefix_msg& message);

// THROWS: orv::invalid_range_error for a DSCP above 255 or an EXP above 7, and what the contained values
// throw.
orv::sbfd_echo_session_key_t convertMsg(const pb::sbfd_echo_session_key_msg& message);
// Overwrites the message.
void convertKey(const orv::sbfd_echo_session_key_t& key, pb::sbfd_echo_session_key_msg& message);

// THROWS: orv::invalid_argument_error for a number outside mpls_operation_enum.
orv::mpls_action_t mplsOpToMplsAction(pb::mpls_operation_enum operation);

}  // namespace OrvSdkRpc
