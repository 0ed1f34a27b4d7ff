// GoogleMock over orv::agent_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/agent.h"

namespace orvtest {

class MockAgentMgr : public orv::agent_mgr {
public:
   MOCK_METHOD(bool, enabled, (), (const, override));
   MOCK_METHOD(std::string, agent_option, (const std::string&), (const, override));
   MOCK_METHOD(bool, agent_option_exists, (const std::string&), (const, override));
   MOCK_METHOD(orv::agent_option_iter_t, agent_option_iter, (), (const, override));
   MOCK_METHOD(std::string, status, (const std::string&), (const, override));
   MOCK_METHOD(orv::agent_status_iter_t, status_iter, (), (const, override));
   MOCK_METHOD(void, status_set, (const std::string&, const std::string&), (override));
   MOCK_METHOD(void, status_del, (const std::string&), (override));
   MOCK_METHOD(void, agent_shutdown_complete_is, (bool), (override));
   MOCK_METHOD(double, agent_uptime, (), (const, override));
   MOCK_METHOD(std::uint64_t, id, (const char*), (const, override));
};

}  // namespace orvtest
