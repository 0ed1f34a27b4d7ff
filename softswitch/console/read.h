// Reading SDK values from a command's words. Each refuses a word that does not read, with what was expected.
//
// Thread-safety: functions without state; no lock needed.
#pragma once

#include <string>

#include "orv/intf_id.h"
#include "orv/ip_addr.h"
#include "orv/ip_prefix.h"
#include "softswitch/console/words.h"

namespace softswitch::console {

// A name that an interface could have; whether there is one is the managers' to say.
orv::intf_id_t readIntf(Args& args);

// An IPv4 or IPv6 address.
orv::ip_addr_t readAddress(Args& args);

// ADDRESS/LENGTH.
orv::ip_prefix_t readPrefix(Args& args);

// A name that is not empty; `what` as in "a nexthop group's name".
std::string readName(Args& args, std::string_view what);

}  // namespace softswitch::console
