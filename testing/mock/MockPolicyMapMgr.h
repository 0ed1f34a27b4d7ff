// GoogleMock over orv::PolicyMapMgrImpl.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/policy_map.h"
#include "platform/state/PbrStatus.h"

namespace orvtest {

class MockPolicyMapMgr : public orv::PolicyMapMgrImpl {
public:
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(bool, exists, (const orv::policy_map_key_t&), (const, override));
   MOCK_METHOD(orv::policy_map_t, policy_map, (const orv::policy_map_key_t&), (const, override));
   MOCK_METHOD(orv::policy_map_iter_t, policy_map_iter, (orv::policy_feature_t), (const, override));
   MOCK_METHOD(void, policy_map_is, (const orv::policy_map_t&), (override));
   MOCK_METHOD(void, policy_map_del, (const orv::policy_map_key_t&), (override));
   MOCK_METHOD(void, policy_map_apply,
               (const orv::policy_map_key_t&, const orv::intf_id_t&, orv::acl_direction_t, bool), (override));
   MOCK_METHOD(orv::policy_map_hw_status_iter_t, policy_map_hw_status_iter, (orv::policy_feature_t),
               (const, override));
   MOCK_METHOD(orv::policy_map_hw_statuses_t, hw_status, (const orv::policy_map_key_t&), (const, override));
   MOCK_METHOD(bool, traffic_policy_exists, (const std::string&), (const, override));
   MOCK_METHOD(orv::traffic_policy_t, traffic_policy, (const std::string&), (const, override));
   MOCK_METHOD(orv::traffic_policy_iter_t, traffic_policy_iter, (), (const, override));
   MOCK_METHOD(void, traffic_policy_is, (const orv::traffic_policy_t&), (override));
   MOCK_METHOD(void, traffic_policy_del, (const std::string&), (override));
   MOCK_METHOD(void, traffic_policy_apply,
               (const std::string&, const orv::intf_id_t&, orv::traffic_policy_direction_t, bool),
               (override));
   MOCK_METHOD(Pavo::Ptr<const Pbr::Status>, pbr_status, (), (const, override));
};

}  // namespace orvtest
