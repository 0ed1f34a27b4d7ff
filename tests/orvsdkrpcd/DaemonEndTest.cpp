// The requests of docs/decisions/what-a-client-can-end.md: each ends the daemon, and what was acknowledged is
// there again after the next start.
#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <limits>
#include <string>

#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"
#include "Program.h"
#include "testing/base/TempDir.h"
#include "testing/process/Daemon.h"

namespace orvsdkrpcd {
namespace {

namespace pb = OrvSdkRpc::pb;
using Stub = pb::orvsdk_service::Stub;
using orvtest::Daemon;
using orvtest::Ending;
using testing::HasSubstr;

template <class Rq, class Rp>
grpc::Status call(Stub& stub, grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*),
                  const Rq& request, Rp& response) {
   grpc::ClientContext context;
   return (stub.*rpc)(&context, request, &response);
}

struct End {
   const char* name;
   // Sends the request that ends the process, or else a similar one that is answered with OK or an error.
   std::function<grpc::Status(Stub&, bool ends)> request;
   const char* words;
};

grpc::Status groupType(Stub& stub, bool ends) {
   pb::nexthop_group_msg request;
   request.set_name("g2");
   request.add_nexthops()->set_intf("Ethernet1");
   request.mutable_nexthops(0)->set_weight(1);
   request.set_type(static_cast<pb::nexthop_group_type_enum>(ends ? 1 : 0));
   pb::rpc_status_msg response;
   return call(stub, &Stub::nexthop_group, request, response);
}

grpc::Status groupOperation(Stub& stub, bool ends) {
   using Group = pb::mpls_route_msg::forward_nexthop_group_msg;
   pb::mpls_route_msg request;
   request.set_label(100);
   request.mutable_nexthop_group_msg()->set_name("g");
   request.mutable_nexthop_group_msg()->set_mpls_operation(
        static_cast<Group::mpls_operation_enum>(ends ? 2 : 1));
   pb::rpc_status_msg response;
   return call(stub, &Stub::mpls_route, request, response);
}

grpc::Status resyncPhase(Stub& stub, bool ends) {
   pb::rpc_server_resync_msg request;
   request.set_resync_phase(static_cast<pb::rpc_server_resync_msg::resync_phase_enum>(
        std::numeric_limits<std::int32_t>::max() - (ends ? 0 : 1)));
   pb::rpc_status_msg response;
   return call(stub, &Stub::rpc_server_resync, request, response);
}

grpc::Status longGroupName(Stub& stub, bool ends) {
   pb::cbf_nexthop_group_redirect_msg request;
   request.set_match_nexthop_group_name("g");
   request.set_redirect_nexthop_group_name(std::string(ends ? 129 : 128, 'x'));
   request.add_match_ipv4_dscp(1);
   pb::rpc_status_msg response;
   return call(stub, &Stub::cbf_nexthop_group_redirect, request, response);
}

grpc::Status longPolicyMapName(Stub& stub, bool ends) {
   pb::rpc_server_config_msg request;
   request.set_cbf_nexthop_group_redirect_policy_map_name(
        std::string((std::size_t{1} << 20) + (ends ? 1 : 0), 'x'));
   pb::rpc_server_init_status_msg response;
   return call(stub, &Stub::rpc_server_init, request, response);
}

class DaemonEnd : public testing::TestWithParam<End> {};

TEST_P(DaemonEnd, comesWithTheRequestAndLosesNothing) {
   const orvtest::TempDir directory;
   Daemon daemon(test::daemonProgram(), directory.path());
   daemon.start();
   const auto connect = [&] {
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
      return pb::orvsdk_service::NewStub(
           grpc::CreateCustomChannel(daemon.address(), grpc::InsecureChannelCredentials(), arguments));
   };
   const auto init = [](Stub& stub) {
      pb::rpc_server_config_msg config;
      config.set_cbf_nexthop_group_redirect_policy_map_name("redirects");
      pb::rpc_server_init_status_msg response;
      EXPECT_TRUE(call(stub, &Stub::rpc_server_init, config, response).ok());
      return response;
   };
   const auto stub = connect();
   init(*stub);
   pb::nexthop_group_msg group;
   group.set_name("g");
   group.add_nexthops()->set_intf("Ethernet1");
   group.mutable_nexthops(0)->set_weight(1);
   pb::rpc_status_msg set;
   ASSERT_TRUE(call(*stub, &Stub::nexthop_group, group, set).ok());
   ASSERT_EQ(set.status(), pb::RPC_STATUS_OK) << set.debug_string();

   EXPECT_TRUE(GetParam().request(*stub, false).ok());
   EXPECT_FALSE(GetParam().request(*stub, true).ok());
   EXPECT_EQ(daemon.child().wait(), Ending{.signal = SIGABRT});
   EXPECT_THAT(daemon.child().log(), HasSubstr(GetParam().words));

   daemon.start();
   EXPECT_TRUE(init(*connect()).nexthop_groups_exist());
   EXPECT_EQ(daemon.terminate(), Ending{.exitCode = 0});
}

INSTANTIATE_TEST_SUITE_P(
     Requests, DaemonEnd,
     testing::Values(
          End{.name = "GroupType", .request = groupType, .words = "type == NEXTHOP_GROUP_TYPE_MPLS"},
          End{.name = "GroupOperation", .request = groupOperation, .words = "operation is GROUP_MPLS_"},
          End{.name = "ResyncPhase", .request = resyncPhase, .words = "resync_phase is no sentinel"},
          End{.name = "LongGroupName", .request = longGroupName, .words = "Zelt::RangeException"},
          End{.name = "LongPolicyMapName", .request = longPolicyMapName, .words = "1048577 bytes"}),
     [](const auto& end) { return end.param.name; });

}  // namespace
}  // namespace orvsdkrpcd
