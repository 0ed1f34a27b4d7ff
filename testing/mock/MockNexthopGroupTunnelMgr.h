// GoogleMock over orv::nexthop_group_tunnel_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/nexthop_group_tunnel.h"

namespace orvtest {

class MockNexthopGroupTunnelMgr : public orv::nexthop_group_tunnel_mgr {
public:
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(orv::nexthop_group_tunnel_iter_t, nexthop_group_tunnel_iter, (), (const, override));
   MOCK_METHOD(bool, exists, (const orv::ip_prefix_t&), (const, override));
   MOCK_METHOD(void, nexthop_group_tunnel_set, (const orv::nexthop_group_tunnel_t&), (override));
   MOCK_METHOD(void, nexthop_group_tunnel_del, (const orv::ip_prefix_t&), (override));
};

}  // namespace orvtest
