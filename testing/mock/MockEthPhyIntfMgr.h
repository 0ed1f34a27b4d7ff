// GoogleMock over orv::eth_phy_intf_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/eth_phy_intf.h"

namespace orvtest {

class MockEthPhyIntfMgr : public orv::eth_phy_intf_mgr {
public:
   MOCK_METHOD(orv::eth_phy_intf_iter_t, eth_phy_intf_iter, (), (const, override));
   MOCK_METHOD(bool, exists, (const orv::intf_id_t&), (const, override));
   MOCK_METHOD(bool, hardware_present, (const orv::intf_id_t&), (const, override));
   MOCK_METHOD(orv::eth_addr_t, burned_in_eth_addr, (const orv::intf_id_t&), (const, override));
   MOCK_METHOD(orv::eth_link_speed_t, link_speed, (const orv::intf_id_t&), (const, override));
   MOCK_METHOD(bool, transceiver_present, (const orv::intf_id_t&), (const, override));
};

}  // namespace orvtest
