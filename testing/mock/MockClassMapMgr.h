// GoogleMock over orv::class_map_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/class_map.h"

namespace orvtest {

class MockClassMapMgr : public orv::class_map_mgr {
public:
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(orv::class_map_iter_t, class_map_iter, (orv::policy_feature_t), (const, override));
   MOCK_METHOD(bool, exists, (const orv::policy_map_key_t&), (const, override));
   MOCK_METHOD(orv::class_map_t, class_map, (const orv::policy_map_key_t&), (const, override));
   MOCK_METHOD(void, class_map_is, (const orv::class_map_t&), (override));
   MOCK_METHOD(void, class_map_del, (const orv::policy_map_key_t&), (override));
};

}  // namespace orvtest
