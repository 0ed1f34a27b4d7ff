// Nexthop groups.
//
// A conversion with a second argument writes over a message that an earlier one made: nothing of that is left
// but its memory, so that group after group costs no allocation. One that throws leaves a message of no use.
//
// Thread-safe: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/nexthop_group_types.h"

namespace OrvSdkRpc::types {

// Keys of the maps are cut to their low 16 bits; of two that are equal then, the entry with the smaller whole
// key stays. Entries are judged in the order of their keys.
// The backups do not come back to the wire. The version goes to the wire alone: it is given to the SDK by an
// operation of its own.
orv::nexthop_group_t convert(const orv::remote::NexthopGroup& message);
orv::remote::NexthopGroup convert(const orv::nexthop_group_t& group);
void convert(const orv::nexthop_group_t& group, orv::remote::NexthopGroup& message);

// The entry's BFD session is no part of the message.
orv::nexthop_group_entry_t convert(const orv::remote::NexthopGroupEntry& message);
orv::remote::NexthopGroupEntry convert(const orv::nexthop_group_entry_t& entry);
void convert(const orv::nexthop_group_entry_t& entry, orv::remote::NexthopGroupEntry& message);

orv::nexthop_group_mpls_action_t convert(const orv::remote::NexthopGroupMplsAction& message);
orv::remote::NexthopGroupMplsAction convert(const orv::nexthop_group_mpls_action_t& action);
void convert(const orv::nexthop_group_mpls_action_t& action, orv::remote::NexthopGroupMplsAction& message);

}  // namespace OrvSdkRpc::types
