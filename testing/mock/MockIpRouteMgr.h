// GoogleMock over orv::ip_route_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/ip_route.h"

namespace orvtest {

class MockIpRouteMgr : public orv::ip_route_mgr {
public:
   MOCK_METHOD(void, tag_is, (std::uint32_t), (override));
   MOCK_METHOD(std::uint32_t, tag, (), (const, override));
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(orv::ip_route_iter_t, ip_route_iter, (), (const, override));
   MOCK_METHOD(orv::ip_route_iter_t, ip_route_iter, (const std::string&), (const, override));
   MOCK_METHOD(orv::ip_route_via_iter_t, ip_route_via_iter, (const orv::ip_route_key_t&), (const, override));
   MOCK_METHOD(orv::ip_route_via_iter_t, ip_route_via_iter, (const orv::ip_route_key_t&, const std::string&),
               (const, override));
   MOCK_METHOD(bool, exists, (const orv::ip_route_key_t&), (const, override));
   MOCK_METHOD(bool, exists, (const orv::ip_route_key_t&, const std::string&), (const, override));
   MOCK_METHOD(bool, exists, (const orv::ip_route_via_t&), (const, override));
   MOCK_METHOD(bool, exists, (const orv::ip_route_via_t&, const std::string&), (const, override));
   MOCK_METHOD(orv::ip_route_t, ip_route, (const orv::ip_route_key_t&), (const, override));
   MOCK_METHOD(orv::ip_route_t, ip_route, (const orv::ip_route_key_t&, const std::string&),
               (const, override));
   MOCK_METHOD(void, ip_route_set, (const orv::ip_route_t&), (override));
   MOCK_METHOD(void, ip_route_set, (const orv::ip_route_t&, orv::ip_route_action_t), (override));
   MOCK_METHOD(void, ip_route_set, (const orv::ip_route_t&, const std::string&), (override));
   MOCK_METHOD(void, ip_route_del, (const orv::ip_route_key_t&, const std::string&), (override));
   MOCK_METHOD(void, ip_route_del, (const orv::ip_route_key_t&), (override));
   MOCK_METHOD(void, ip_route_via_set, (const orv::ip_route_via_t&), (override));
   MOCK_METHOD(void, ip_route_via_set, (const orv::ip_route_via_t&, const std::string&), (override));
   MOCK_METHOD(void, ip_route_via_del, (const orv::ip_route_via_t&), (override));
   MOCK_METHOD(void, ip_route_via_del, (const orv::ip_route_via_t&, const std::string&), (override));
   MOCK_METHOD(orv::ip_route_action_t, action, (const orv::ip_route_key_t&), (const, override));
};

}  // namespace orvtest
