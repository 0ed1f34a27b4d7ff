// Converts text from the command line and from input lines to wire values.
// Thread-safety: any thread.
// THROWS: all parse functions throw UsageError with one line that names the value and what was expected;
// `what` names the flag, argument or field.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orvctl {

// A decimal number from `low` to `high`.
uint64_t parseNumber(std::string_view what, std::string_view text, uint64_t low, uint64_t high);

// A duration in seconds, fractions allowed, above zero and at most a day.
double parseSeconds(std::string_view what, std::string_view text);

// RETURNS: the 4 or 16 bytes of an address, in network order; no bytes for empty text.
std::string parseAddressBytes(std::string_view what, std::string_view text);
OrvSdkRpc::pb::ip_address_msg parseAddress(std::string_view what, std::string_view text);

// "ADDRESS/LENGTH"; bits after the length must be zero.
OrvSdkRpc::pb::ip_prefix_msg parsePrefix(std::string_view what, std::string_view text);

// The text forms of wire values; bytes of an impossible length print as "invalid(N bytes)".
std::string addressText(const OrvSdkRpc::pb::ip_address_msg& address);
std::string prefixText(const OrvSdkRpc::pb::ip_prefix_msg& prefix);

// Addresses of the mirror services are plain bytes; their length distinguishes IPv4, IPv6 and MAC addresses.
// RETURNS: nothing for bytes or text that is not an address; empty for empty input.
std::optional<std::string> wireAddressText(std::string_view bytes);
std::optional<std::string> wireAddressBytes(std::string_view text);

// "intf=Ethernet1,address=10.0.0.1,labels=100/200,op=push,weight=2". Every key is optional; the defaults are
// weight=1 and op=none. Labels are in the order of the message, the outermost last.
OrvSdkRpc::pb::nexthop_msg parseNexthop(std::string_view what, std::string_view text);

// RETURNS: a measured value in readable form: at most three decimals, never an exponent.
std::string decimalText(double value);

// "KEY=VALUE"; the value may be empty and may contain further "=".
std::pair<std::string, std::string> parseKeyValue(std::string_view what, std::string_view text);

}  // namespace orvctl
