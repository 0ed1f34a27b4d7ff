// Programs groups and routes.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "OrvSdkRpc/programming/IpRouteProgrammer.h"
#include "OrvSdkRpc/programming/NexthopGroupProgrammer.h"
#include "testing/server/Programmed.h"

namespace orvtest {

// A group of one nexthop, through `intf` when it is given.
inline void programGroup(OrvSdkRpc::NexthopGroupProgrammer& groups, const std::string& name,
                         const std::string& intf = {}) {
   OrvSdkRpc::pb::nexthop_group_msg request;
   request.set_name(name);
   orvtest::addNexthop(request, 1, {100});
   if (!intf.empty()) request.mutable_nexthops(0)->set_intf(intf);
   OrvSdkRpc::pb::rpc_status_msg response;
   groups.processNexthopGroupRequest(request, response);
   EXPECT_EQ(response.status(), OrvSdkRpc::pb::RPC_STATUS_OK) << response.debug_string();
}

// Points 10.0.<third>.0/24 at the group.
inline void programRoute(OrvSdkRpc::IpRouteProgrammer& routes, int third, const std::string& group) {
   OrvSdkRpc::pb::rpc_status_msg response;
   routes.processIpRouteRequest(orvtest::ipRoute(third, group), response);
   EXPECT_EQ(response.status(), OrvSdkRpc::pb::RPC_STATUS_OK) << response.debug_string();
}

}  // namespace orvtest
