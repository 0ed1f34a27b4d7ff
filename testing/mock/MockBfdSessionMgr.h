// GoogleMock over orv::bfd_session_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/bfd_session.h"

namespace orvtest {

class MockBfdSessionMgr : public orv::bfd_session_mgr {
public:
   MOCK_METHOD(orv::sbfd_echo_session_iter_t, sbfd_echo_session_iter, (), (const, override));
   MOCK_METHOD(bool, sbfd_echo_session_exists, (const orv::sbfd_echo_session_key_t&), (const, override));
   MOCK_METHOD(orv::bfd_session_status_t, sbfd_echo_session_status, (const orv::sbfd_echo_session_key_t&),
               (const, override));
   MOCK_METHOD(void, sbfd_echo_session_set, (const orv::sbfd_echo_session_key_t&), (override));
   MOCK_METHOD(void, sbfd_echo_session_del, (const orv::sbfd_echo_session_key_t&), (override));
   MOCK_METHOD(void, sbfd_echo_session_interval_set,
               (const orv::sbfd_echo_session_key_t&, const orv::sbfd_interval_t&), (override));
   MOCK_METHOD(void, sbfd_echo_session_rtt_enabled_set, (const orv::sbfd_echo_session_key_t&, bool),
               (override));
   MOCK_METHOD(orv::sbfd_interval_t, sbfd_default_interval, (), (const, override));
};

}  // namespace orvtest
