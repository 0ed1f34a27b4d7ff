// GoogleMock over orv::mount_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/mount.h"

namespace orvtest {

class MockMountMgr : public orv::mount_mgr {
public:
   MOCK_METHOD(void, handler_add, (orv::mount_handler*), (override));
   MOCK_METHOD(void, handler_del, (orv::mount_handler*), (noexcept, override));
};

}  // namespace orvtest
