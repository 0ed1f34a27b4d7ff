// GoogleMock over orv::nexthop_group_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/nexthop_group.h"
#include "platform/state/NexthopGroupMap.h"

namespace orvtest {

class MockNexthopGroupMgr : public orv::NexthopGroupMgrImpl {
public:
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(orv::nexthop_group_iter_t, nexthop_group_iter, (), (const, override));
   MOCK_METHOD(orv::programmed_nexthop_group_iter_t, programmed_nexthop_group_iter, (), (const, override));
   MOCK_METHOD(bool, exists, (const std::string&), (const, override));
   MOCK_METHOD(orv::nexthop_group_t, nexthop_group, (const std::string&), (const, override));
   MOCK_METHOD(orv::nexthop_group_t, programmed_nexthop_group, (const std::string&), (const, override));
   MOCK_METHOD(bool, active, (const std::string&), (const, override));
   MOCK_METHOD(orv::nexthop_group_entry_counter_t, counter, (const std::string&, std::uint16_t),
               (const, override));
   MOCK_METHOD(orv::nexthop_group_counter_state_t, counter_state, (const std::string&), (const, override));
   MOCK_METHOD(void, nexthop_group_set, (const orv::nexthop_group_t&), (override));
   MOCK_METHOD(void, nexthop_group_set, (const orv::nexthop_group_t&, std::uint16_t&), (override));
   MOCK_METHOD(void, nexthop_group_del, (const std::string&), (override));
   MOCK_METHOD(void, nexthop_group_set_with_version_id, (const orv::nexthop_group_t&, std::uint16_t),
               (override));
   MOCK_METHOD(orv::nexthop_group_programmed_hw_state_t, get_nexthop_group_programmed_hw_state,
               (const std::string&), (const, override));
   MOCK_METHOD(Pavo::Ptr<const NexthopGroup::NexthopGroupMap>, nexthop_group_map, (), (const, override));
};

}  // namespace orvtest
