// Words from the command line and from input lines, turned into wire values.
// Free functions without state, safe from any thread. All throw UsageError with one line that names the value
// and what was expected; `what` names the flag, argument or field.
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

// The 4 or 16 bytes in network order of an address in text form; empty text gives no bytes.
std::string parseAddressBytes(std::string_view what, std::string_view text);
OrvSdkRpc::pb::ip_address_msg parseAddress(std::string_view what, std::string_view text);

// "ADDRESS/LENGTH"; bits behind the length must be zero.
OrvSdkRpc::pb::ip_prefix_msg parsePrefix(std::string_view what, std::string_view text);

// The text forms of wire values; bytes of an impossible length print as "invalid(N bytes)".
std::string addressText(const OrvSdkRpc::pb::ip_address_msg& address);
std::string prefixText(const OrvSdkRpc::pb::ip_prefix_msg& prefix);

// The addresses of the mirror services, which are plain bytes: an IPv4, IPv6 or MAC address by their length.
// Nothing for bytes, or a text, that is none; empty stands for empty.
std::optional<std::string> wireAddressText(std::string_view bytes);
std::optional<std::string> wireAddressBytes(std::string_view text);

// "intf=Ethernet1,address=10.0.0.1,labels=100/200,op=push,weight=2". Every key may be left out; weight is
// then 1 and op is none. Labels stand as in the message, the outermost last.
OrvSdkRpc::pb::nexthop_msg parseNexthop(std::string_view what, std::string_view text);

// A measured value for a person: at most three decimals, never with an exponent.
std::string decimalText(double value);

// "KEY=VALUE"; the value may be empty and may hold further "=".
std::pair<std::string, std::string> parseKeyValue(std::string_view what, std::string_view text);

}  // namespace orvctl
