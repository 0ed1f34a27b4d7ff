// The value messages of the programming service, to and from the SDK's values.
//
// Thread-safe: pure functions. A failure is an orv::error whose text names the value.
#pragma once

#include "OrvSdkRpcProtos/orvsdk.pb.h"
#include "orv/ip_addr.h"
#include "orv/ip_prefix.h"
#include "orv/mpls_route_types.h"
#include "orv/sbfd_types.h"

namespace OrvSdkRpc {

// 4 bytes are an IPv4 address, 16 an IPv6 address, none the null address; any other number is refused with
// invalid_argument_error.
orv::ip_addr_t ipAddressToIpAddr(const pb::ip_address_msg& message);

// Refuses what the address or orv::ip_prefix_t refuses.
orv::ip_prefix_t ipPrefixToPrefix(const pb::ip_prefix_msg& message);

// Refuses a DSCP above 255, an EXP above 7, and what the values within refuse.
orv::sbfd_echo_session_key_t convertMsg(const pb::sbfd_echo_session_key_msg& message);
// Fills the message, over what stood in it.
void convertKey(const orv::sbfd_echo_session_key_t& key, pb::sbfd_echo_session_key_msg& message);

// A number that is no mpls_operation_enum is refused with invalid_argument_error.
orv::mpls_action_t mplsOpToMplsAction(pb::mpls_operation_enum operation);

}  // namespace OrvSdkRpc
