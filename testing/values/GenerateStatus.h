// Generated records of MACsec, BGP, interfaces, counters and commands.
//
// Thread-safe: pure functions of the source.
#pragma once

#include "orv/bgp_path_types.h"
#include "orv/cmdapi_types.h"
#include "orv/eth_lag_intf_types.h"
#include "orv/eth_phy_intf_counter_types.h"
#include "orv/intf_counter_types.h"
#include "orv/macsec_types.h"
#include "testing/values/Generate.h"

namespace orvtest {

// clang-format off
template <> orv::macsec_key_t generate(ValueSource&);
template <> orv::macsec_profile_t generate(ValueSource&);
template <> orv::macsec_intf_status_t generate(ValueSource&);
template <> orv::macsec_intf_counters_t generate(ValueSource&);
template <> orv::bgp_path_attr_t generate(ValueSource&);
template <> orv::bgp_path_t generate(ValueSource&);
template <> orv::eth_lag_intf_t generate(ValueSource&);
template <> orv::eth_lag_intf_membership_t generate(ValueSource&);
template <> orv::intf_counters_t generate(ValueSource&);
template <> orv::intf_traffic_rates_t generate(ValueSource&);
template <> orv::eth_phy_intf_counters_t generate(ValueSource&);
template <> orv::eth_phy_intf_bin_counters_t generate(ValueSource&);
template <> orv::nexthop_group_entry_counter_t generate(ValueSource&);
template <> orv::cmdapi_response_t generate(ValueSource&);
// clang-format on

}  // namespace orvtest
