// Which traffic policies the switch accepts.
//
// Thread-safety: functions without state.
#pragma once

#include <cstdint>

#include "orv/traffic_policy_types.h"

namespace softswitch {

// THROWS: orv::invalid_argument_error, naming the value, for a policy with
//    an empty name, or one of more than 400 bytes or not in UTF-8; the same for the names of its counters
//    a rule of type none, or whose raw rule has the other type (a raw rule of type none has the rule's type)
//    a rule whose match rule name is empty or that of another rule, or has more than 400 bytes, or is not in
//    UTF-8
//    a null address, an address of another family than the rule's type, or a mask longer than the address
//    a field set, since this switch has none
//    a range that descends, a protocol above 255, a port above 65535
//    ports together with a protocol that has none; those with ports are TCP (6), UDP (17), DCCP (33),
//    SCTP (132) and UDP-Lite (136)
//    two actions of one type, or two that decide where the packet goes (decides())
//    an action count without one of the policy's counters, goto-class without exactly one target or to a rule
//    that does not follow, vrf without a VRF, mirror without a session, nexthop-group without a group,
//    nexthop without a nexthop or with a null one
//    more than 1024 nexthops or nexthop groups in an action
//    a counter's, rule's or mirror session's name of more than 400 bytes in an action, a VRF's or group's of
//    more than 255, or one not in UTF-8
//    a DSCP above 63, a traffic class above 7
//    an action police with a rate of 0, or above 10^15 bits or 10^12 packets per second, or with a burst
//    above 10^9 bytes; a burst of 0 leaves the size to the switch
void checkTrafficPolicy(const orv::traffic_policy_t& policy);

// RETURNS: whether the action decides where the packet goes, rather than what else is done with it. A rule
// has at most one such action; without one the packet is routed.
bool decides(orv::traffic_policy_action_type_t type);

}  // namespace softswitch
