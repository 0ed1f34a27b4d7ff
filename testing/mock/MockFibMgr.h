// GoogleMock over orv::fib_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/fib.h"

namespace orvtest {

class MockFibMgr : public orv::fib_mgr {
public:
   MOCK_METHOD(bool, events_enabled, (), (const, override));
   MOCK_METHOD(orv::fib_route_iter_t, fib_route_iter, (), (const, override));
   MOCK_METHOD(bool, fib_route_exists, (const orv::fib_route_key_t&), (const, override));
   MOCK_METHOD(orv::fib_route_t, fib_route, (const orv::fib_route_key_t&), (const, override));
   MOCK_METHOD(orv::fib_fec_iter_t, fib_fec_iter, (), (const, override));
   MOCK_METHOD(bool, fib_fec_exists, (const orv::fib_fec_key_t&), (const, override));
   MOCK_METHOD(orv::fib_fec_t, fib_fec, (const orv::fib_fec_key_t&), (const, override));
};

}  // namespace orvtest
