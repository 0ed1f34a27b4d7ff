#include "testing/server/AgentHost.h"

namespace orvtest {

using testing::Return;

AgentHost::AgentHost() {
   ON_CALL(sdk, name()).WillByDefault(Return(name));
   ON_CALL(sdk, get_acl_mgr()).WillByDefault(Return(&aclMgr));
   ON_CALL(sdk, get_agent_mgr()).WillByDefault(Return(&agentMgr));
   ON_CALL(sdk, get_bfd_session_mgr()).WillByDefault(Return(&bfdSessionMgr));
   ON_CALL(sdk, get_class_map_mgr()).WillByDefault(Return(&classMapMgr));
   ON_CALL(sdk, get_fib_mgr(testing::_)).WillByDefault(Return(&fibMgr));
   ON_CALL(sdk, get_intf_mgr()).WillByDefault(Return(&intfMgr));
   ON_CALL(sdk, get_ip_route_mgr()).WillByDefault(Return(&ipRouteMgr));
   ON_CALL(sdk, get_mpls_route_mgr()).WillByDefault(Return(&mplsRouteMgr));
   ON_CALL(sdk, get_mpls_vrf_label_mgr()).WillByDefault(Return(&mplsVrfLabelMgr));
   ON_CALL(sdk, get_nexthop_group_mgr()).WillByDefault(Return(&nexthopGroupMgr));
   ON_CALL(sdk, get_nexthop_group_tunnel_mgr()).WillByDefault(Return(&tunnelMgr));
   ON_CALL(sdk, get_policy_map_mgr()).WillByDefault(Return(&policyMapMgr));
   ON_CALL(sdk, get_vrf_mgr()).WillByDefault(Return(&vrfMgr));
}

AgentHost::~AgentHost() = default;

}  // namespace orvtest
