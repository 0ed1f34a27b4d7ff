// Nexthop groups.
//
// A conversion with a second argument overwrites the message of an earlier one and reuses its memory, so that
// a series of groups costs no allocations. After an exception, the message's content is unspecified.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/nexthop_group_types.h"

namespace OrvSdkRpc::types {

// Map keys are truncated to their low 16 bits. Of keys that become equal, the smallest original key wins.
// Entries are converted in key order.
// Backup nexthops are not converted to the wire. The version is converted to the wire only: the SDK takes it
// through a separate operation.
orv::nexthop_group_t convert(const orv::remote::NexthopGroup& message);
orv::remote::NexthopGroup convert(const orv::nexthop_group_t& group);
void convert(const orv::nexthop_group_t& group, orv::remote::NexthopGroup& message);

// The entry's BFD session is not part of the message.
orv::nexthop_group_entry_t convert(const orv::remote::NexthopGroupEntry& message);
orv::remote::NexthopGroupEntry convert(const orv::nexthop_group_entry_t& entry);
void convert(const orv::nexthop_group_entry_t& entry, orv::remote::NexthopGroupEntry& message);

orv::nexthop_group_mpls_action_t convert(const orv::remote::NexthopGroupMplsAction& message);
orv::remote::NexthopGroupMplsAction convert(const orv::nexthop_group_mpls_action_t& action);
void convert(const orv::nexthop_group_mpls_action_t& action, orv::remote::NexthopGroupMplsAction& message);

}  // namespace OrvSdkRpc::types
