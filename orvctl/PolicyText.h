// Rules of class maps, policy maps and traffic policies, one line each.
// Thread-safety: any thread.
#pragma once

#include <string>

#include "OrvSdkRpcProtos/types.pb.h"

namespace orvctl {

// RETURNS: "ipv4 list web".
std::string ruleText(const orv::remote::ClassMapRule& rule);
// RETURNS: "class-map web: nexthop_group core, dscp 10"; a raw match as JSON.
std::string ruleText(const orv::remote::PolicyMapRule& rule);
// RETURNS: "name ipv4 FILTER: count web, goto next", with the filter as JSON.
std::string ruleText(const orv::remote::TrafficPolicyRule& rule);

}  // namespace orvctl
