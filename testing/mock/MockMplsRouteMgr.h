// GoogleMock over orv::mpls_route_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/mpls_route.h"

namespace orvtest {

class MockMplsRouteMgr : public orv::MplsRouteMgrImpl {
public:
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(orv::mpls_route_iter_t, mpls_route_iter, (), (const, override));
   MOCK_METHOD(orv::mpls_route_via_iter_t, mpls_route_via_iter, (const orv::mpls_route_key_t&),
               (const, override));
   MOCK_METHOD(orv::mpls_route_status_iter_t, mpls_route_status_iter, (), (const, override));
   MOCK_METHOD(orv::mpls_route_via_status_iter_t, mpls_route_via_status_iter, (const orv::mpls_route_key_t&),
               (const, override));
   MOCK_METHOD(bool, exists, (const orv::mpls_route_key_t&), (const, override));
   MOCK_METHOD(bool, exists, (const orv::mpls_route_via_t&), (const, override));
   MOCK_METHOD(std::uint8_t, metric, (const orv::mpls_route_key_t&), (const, override));
   MOCK_METHOD(orv::mpls_fec_id_t, fec_id, (const orv::mpls_route_key_t&), (const, override));
   MOCK_METHOD(void, mpls_route_set, (const orv::mpls_route_t&), (override));
   MOCK_METHOD(void, mpls_route_del, (const orv::mpls_route_key_t&), (override));
   MOCK_METHOD(void, mpls_route_via_set, (const orv::mpls_route_via_t&), (override));
   MOCK_METHOD(void, mpls_route_via_del, (const orv::mpls_route_via_t&), (override));
   MOCK_METHOD(orv::mpls_route_t, mpls_route, (const orv::mpls_route_key_t&), (const, override));
   MOCK_METHOD(std::uint16_t, hw_version_id, (const orv::mpls_route_key_t&), (const, override));
};

}  // namespace orvtest
