// GoogleMock over orv::intf_counter_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/intf_counter.h"

namespace orvtest {

class MockIntfCounterMgr : public orv::intf_counter_mgr {
public:
   MOCK_METHOD(orv::intf_counters_t, counters, (const orv::intf_id_t&), (const, override));
   MOCK_METHOD(orv::intf_traffic_rates_t, traffic_rates, (const orv::intf_id_t&), (const, override));
};

}  // namespace orvtest
