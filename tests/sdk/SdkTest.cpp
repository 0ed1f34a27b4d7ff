#include "orv/sdk.h"

#include <gtest/gtest.h>

#include "orv/bgp.h"
#include "orv/bgp_path.h"
#include "orv/cmdapi.h"
#include "orv/eth_lag_intf.h"
#include "orv/eth_phy_intf_counter.h"
#include "orv/ip_intf.h"
#include "orv/macsec.h"
#include "testing/mock/MockEthPhyIntfMgr.h"
#include "testing/mock/MockIntfCounterMgr.h"
#include "testing/mock/MockMountMgr.h"
#include "testing/mock/MockSdk.h"

namespace {

using testing::Return;

// Each getter returns a manager of its own kind, also those without operations yet.
TEST(SdkTest, leadsToEveryManager) {
   testing::StrictMock<orvtest::MockSdk> mock;
   orv::sdk& sdk = mock;
   orv::bgp_mgr bgp;
   orv::bgp_path_mgr bgpPath;
   orv::cmdapi_mgr cmdapi;
   orv::eth_lag_intf_mgr lag;
   orvtest::MockEthPhyIntfMgr phy;
   orv::eth_phy_intf_counter_mgr phyCounter;
   orvtest::MockIntfCounterMgr intfCounter;
   orv::ip_intf_mgr ipIntf;
   orv::macsec_mgr macsec;
   orvtest::MockMountMgr mount;
   EXPECT_CALL(mock, name).WillOnce(Return("agent"));
   EXPECT_CALL(mock, get_bgp_mgr).WillOnce(Return(&bgp));
   EXPECT_CALL(mock, get_bgp_path_mgr).WillOnce(Return(&bgpPath));
   EXPECT_CALL(mock, get_cmdapi_mgr).WillOnce(Return(&cmdapi));
   EXPECT_CALL(mock, get_eth_lag_intf_mgr).WillOnce(Return(&lag));
   EXPECT_CALL(mock, get_eth_phy_intf_mgr).WillOnce(Return(&phy));
   EXPECT_CALL(mock, get_eth_phy_intf_counter_mgr).WillOnce(Return(&phyCounter));
   EXPECT_CALL(mock, get_intf_counter_mgr).WillOnce(Return(&intfCounter));
   EXPECT_CALL(mock, get_intf_counter_mgr_with_mode(orv::mgr_mode_type_t::resident))
        .WillOnce(Return(&intfCounter));
   EXPECT_CALL(mock, get_ip_intf_mgr).WillOnce(Return(&ipIntf));
   EXPECT_CALL(mock, get_macsec_mgr).WillOnce(Return(&macsec));
   EXPECT_CALL(mock, get_mount_mgr).WillOnce(Return(&mount));
   EXPECT_CALL(mock, get_fib_mgr(orv::mgr_mode_type_t::on_demand)).WillOnce(Return(nullptr));
   EXPECT_EQ(sdk.name(), "agent");
   EXPECT_EQ(sdk.get_bgp_mgr(), &bgp);
   EXPECT_EQ(sdk.get_bgp_path_mgr(), &bgpPath);
   EXPECT_EQ(sdk.get_cmdapi_mgr(), &cmdapi);
   EXPECT_EQ(sdk.get_eth_lag_intf_mgr(), &lag);
   EXPECT_EQ(sdk.get_eth_phy_intf_mgr(), &phy);
   EXPECT_EQ(sdk.get_eth_phy_intf_counter_mgr(), &phyCounter);
   EXPECT_EQ(sdk.get_intf_counter_mgr(), &intfCounter);
   EXPECT_EQ(sdk.get_intf_counter_mgr_with_mode(orv::mgr_mode_type_t::resident), &intfCounter);
   EXPECT_EQ(sdk.get_ip_intf_mgr(), &ipIntf);
   EXPECT_EQ(sdk.get_macsec_mgr(), &macsec);
   EXPECT_EQ(sdk.get_mount_mgr(), &mount);
   EXPECT_EQ(sdk.get_fib_mgr(orv::mgr_mode_type_t::on_demand), nullptr);
}

}  // namespace
