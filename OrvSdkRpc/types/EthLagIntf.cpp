#include "OrvSdkRpc/types/EthLagIntf.h"

#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

remote::EthLagIntf convert(const orv::eth_lag_intf_t& lag) {
   remote::EthLagIntf message;
   *message.mutable_intf() = convert(lag.intf());
   message.set_speed(lag.speed());
   message.set_min_links(lag.min_links());
   message.set_fallback_type(convert(lag.fallback_type()));
   message.set_fallback_timeout(lag.fallback_timeout());
   message.set_fallback_timeout_default(lag.fallback_timeout_default());
   message.set_min_speed(lag.min_speed());
   return message;
}

remote::EthLagIntfMembership convert(const orv::eth_lag_intf_membership_t& membership) {
   remote::EthLagIntfMembership message;
   *message.mutable_eth_lag_intf_id() = convert(membership.eth_lag_intf_id());
   message.set_active(membership.active());
   message.set_reason(membership.reason());
   message.set_member_time(membership.member_time());
   message.set_mode(convert(membership.mode()));
   return message;
}

}  // namespace OrvSdkRpc::types
