// GoogleMock over orv::vrf_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/vrf.h"

namespace orvtest {

class MockVrfMgr : public orv::vrf_mgr {
public:
   MOCK_METHOD(orv::vrf_iter_t, vrf_iter, (), (const, override));
   MOCK_METHOD(bool, exists, (const std::string&), (const, override));
};

}  // namespace orvtest
