// GoogleMock over the switch.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/sdk.h"

namespace orvtest {

class MockSdk : public orv::sdk {
public:
   MOCK_METHOD(std::string, name, (), (const, override));
   MOCK_METHOD(orv::acl_mgr*, get_acl_mgr, (), (override));
   MOCK_METHOD(orv::agent_mgr*, get_agent_mgr, (), (override));
   MOCK_METHOD(orv::bfd_session_mgr*, get_bfd_session_mgr, (), (override));
   MOCK_METHOD(orv::bgp_mgr*, get_bgp_mgr, (), (override));
   MOCK_METHOD(orv::bgp_path_mgr*, get_bgp_path_mgr, (), (override));
   MOCK_METHOD(orv::class_map_mgr*, get_class_map_mgr, (), (override));
   MOCK_METHOD(orv::cmdapi_mgr*, get_cmdapi_mgr, (), (override));
   MOCK_METHOD(orv::eth_lag_intf_mgr*, get_eth_lag_intf_mgr, (), (override));
   MOCK_METHOD(orv::eth_phy_intf_mgr*, get_eth_phy_intf_mgr, (), (override));
   MOCK_METHOD(orv::eth_phy_intf_counter_mgr*, get_eth_phy_intf_counter_mgr, (), (override));
   MOCK_METHOD(orv::intf_mgr*, get_intf_mgr, (), (override));
   MOCK_METHOD(orv::intf_counter_mgr*, get_intf_counter_mgr, (), (override));
   MOCK_METHOD(orv::ip_intf_mgr*, get_ip_intf_mgr, (), (override));
   MOCK_METHOD(orv::ip_route_mgr*, get_ip_route_mgr, (), (override));
   MOCK_METHOD(orv::macsec_mgr*, get_macsec_mgr, (), (override));
   MOCK_METHOD(orv::mount_mgr*, get_mount_mgr, (), (override));
   MOCK_METHOD(orv::mpls_route_mgr*, get_mpls_route_mgr, (), (override));
   MOCK_METHOD(orv::mpls_vrf_label_mgr*, get_mpls_vrf_label_mgr, (), (override));
   MOCK_METHOD(orv::nexthop_group_mgr*, get_nexthop_group_mgr, (), (override));
   MOCK_METHOD(orv::nexthop_group_tunnel_mgr*, get_nexthop_group_tunnel_mgr, (), (override));
   MOCK_METHOD(orv::policy_map_mgr*, get_policy_map_mgr, (), (override));
   MOCK_METHOD(orv::vrf_mgr*, get_vrf_mgr, (), (override));
   MOCK_METHOD(orv::fib_mgr*, get_fib_mgr, (orv::mgr_mode_type_t), (override));
   MOCK_METHOD(orv::intf_counter_mgr*, get_intf_counter_mgr_with_mode, (orv::mgr_mode_type_t), (override));
};

}  // namespace orvtest
