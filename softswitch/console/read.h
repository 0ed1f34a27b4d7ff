// Reads SDK values from a command's words. Each function refuses a malformed word and names what it expected.
//
// Thread-safety: functions without state; no lock needed.
#pragma once

#include <string>

#include "orv/intf_id.h"
#include "orv/ip_addr.h"
#include "orv/ip_prefix.h"
#include "softswitch/console/words.h"

namespace softswitch::console {

// A well-formed interface name; the managers check whether the interface exists.
orv::intf_id_t readIntf(Args& args);

// An IPv4 or IPv6 address.
orv::ip_addr_t readAddress(Args& args);

// ADDRESS/LENGTH.
orv::ip_prefix_t readPrefix(Args& args);

// A non-empty name; `what` as in "a nexthop group's name".
std::string readName(Args& args, std::string_view what);

}  // namespace softswitch::console
