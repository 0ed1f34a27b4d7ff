// The programming service over the managers of a host.
#pragma once

#include <memory>

#include "OrvSdkRpc/programming/OrvSdkRpcService.h"
#include "testing/server/AgentHost.h"

namespace orvtest {

inline OrvSdkRpc::ProgrammingManagers programmingManagers(AgentHost& host) {
   return {
        .acl = &host.aclMgr,
        .agent = &host.agentMgr,
        .bfdSession = &host.bfdSessionMgr,
        .intf = &host.intfMgr,
        .classMap = &host.classMapMgr,
        .ipRoute = &host.ipRouteMgr,
        .mplsRoute = &host.mplsRouteMgr,
        .mplsVrfLabel = &host.mplsVrfLabelMgr,
        .nexthopGroup = &host.nexthopGroupMgr,
        .nexthopGroupTunnel = &host.tunnelMgr,
        .policyMap = &host.policyMapMgr,
        .cbfNhg = nullptr,
   };
}

inline std::unique_ptr<OrvSdkRpc::OrvSdkRpcService> programmingService(AgentHost& host) {
   return std::make_unique<OrvSdkRpc::OrvSdkRpcService>(programmingManagers(host));
}

}  // namespace orvtest
