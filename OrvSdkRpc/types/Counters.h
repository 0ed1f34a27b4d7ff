// Counters and rates. They are converted to the wire only.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/eth_phy_intf_counter_types.h"
#include "orv/intf_counter_types.h"
#include "orv/nexthop_group_types.h"

namespace OrvSdkRpc::types {

orv::remote::IntfCounters convert(const orv::intf_counters_t& counters);

orv::remote::IntfTrafficRates convert(const orv::intf_traffic_rates_t& rates);
// Overwrites an existing message: every field is set.
void convert(const orv::intf_traffic_rates_t& rates, orv::remote::IntfTrafficRates& message);

orv::remote::EthPhyIntfCounters convert(const orv::eth_phy_intf_counters_t& counters);

orv::remote::EthPhyIntfBinCounters convert(const orv::eth_phy_intf_bin_counters_t& counters);

// Leaves the entry number unset: the counter does not know it.
orv::remote::NexthopGroupCounter convert(const orv::nexthop_group_entry_counter_t& counter);

}  // namespace OrvSdkRpc::types
