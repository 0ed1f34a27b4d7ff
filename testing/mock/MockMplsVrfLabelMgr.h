// GoogleMock over orv::mpls_vrf_label_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/mpls_vrf_label.h"

namespace orvtest {

class MockMplsVrfLabelMgr : public orv::mpls_vrf_label_mgr {
public:
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(orv::mpls_vrf_label_iter_t, mpls_vrf_label_iter, (), (const, override));
   MOCK_METHOD(orv::mpls_vrf_label_t, mpls_vrf_label, (orv::mpls_label_t), (const, override));
   MOCK_METHOD(void, mpls_vrf_label_set, (const orv::mpls_vrf_label_t&), (override));
   MOCK_METHOD(void, mpls_vrf_label_del, (orv::mpls_label_t), (override));
};

}  // namespace orvtest
