// What the switch holds, read from its console, in a form that can be compared with a controller's requests.
//
// Thread-safety: plain values.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "OrvSdkRpcProtos/orvsdk.pb.h"
#include "testing/process/Console.h"

namespace orvtest {

// One line per slot, slot 0 first: interface, address, operation and labels.
using GroupEntries = std::vector<std::string>;

struct SwitchView {
   // Maps a prefix, such as "192.0.2.0/24", to the name of its group. A route whose via is missing or is not
   // a single group has a text in parentheses instead.
   std::map<std::string, std::string> routes;
   std::map<std::string, GroupEntries> groups;
};

SwitchView readSwitch(Console& console);

// The address and the prefix as the switch prints them.
std::string addressText(const OrvSdkRpc::pb::ip_address_msg& address);
std::string prefixText(const OrvSdkRpc::pb::ip_prefix_msg& prefix);
// The entries that the switch must show for a group that was set by `request`.
GroupEntries entriesOf(const OrvSdkRpc::pb::nexthop_group_msg& request);

}  // namespace orvtest
