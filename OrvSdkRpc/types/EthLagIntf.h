// Link aggregation groups. Both records are converted to the wire only.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/eth_lag_intf_types.h"

namespace OrvSdkRpc::types {

orv::remote::EthLagIntf convert(const orv::eth_lag_intf_t& lag);

orv::remote::EthLagIntfMembership convert(const orv::eth_lag_intf_membership_t& membership);

}  // namespace OrvSdkRpc::types
