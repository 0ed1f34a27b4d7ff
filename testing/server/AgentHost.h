// A switch of mocks that an agent can run on.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "testing/mock/MockAclMgr.h"
#include "testing/mock/MockAgentMgr.h"
#include "testing/mock/MockBfdSessionMgr.h"
#include "testing/mock/MockClassMapMgr.h"
#include "testing/mock/MockFibMgr.h"
#include "testing/mock/MockIntfMgr.h"
#include "testing/mock/MockIpRouteMgr.h"
#include "testing/mock/MockMplsRouteMgr.h"
#include "testing/mock/MockMplsVrfLabelMgr.h"
#include "testing/mock/MockNexthopGroupMgr.h"
#include "testing/mock/MockNexthopGroupTunnelMgr.h"
#include "testing/mock/MockPolicyMapMgr.h"
#include "testing/mock/MockSdk.h"
#include "testing/mock/MockVrfMgr.h"

namespace orvtest {

struct AgentHost {
   AgentHost();
   ~AgentHost();

   std::string name = "OrvSdkRpc-test";
   testing::NiceMock<orvtest::MockSdk> sdk;
   testing::NiceMock<orvtest::MockAclMgr> aclMgr;
   testing::NiceMock<orvtest::MockAgentMgr> agentMgr;
   testing::NiceMock<orvtest::MockBfdSessionMgr> bfdSessionMgr;
   testing::NiceMock<orvtest::MockClassMapMgr> classMapMgr;
   testing::NiceMock<orvtest::MockFibMgr> fibMgr;
   testing::NiceMock<orvtest::MockIntfMgr> intfMgr;
   testing::NiceMock<orvtest::MockIpRouteMgr> ipRouteMgr;
   testing::NiceMock<orvtest::MockMplsRouteMgr> mplsRouteMgr;
   testing::NiceMock<orvtest::MockMplsVrfLabelMgr> mplsVrfLabelMgr;
   testing::NiceMock<orvtest::MockNexthopGroupMgr> nexthopGroupMgr;
   testing::NiceMock<orvtest::MockNexthopGroupTunnelMgr> tunnelMgr;
   testing::NiceMock<orvtest::MockPolicyMapMgr> policyMapMgr;
   testing::NiceMock<orvtest::MockVrfMgr> vrfMgr;
};

}  // namespace orvtest
