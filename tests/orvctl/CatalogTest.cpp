#include "orvctl/Catalog.h"

#include <gtest/gtest.h>

#include <map>

#include "FakeServer.h"
#include "OrvSdkRpcProtos/services.h"
#include "orvctl/ExitCode.h"
#include "testing/base/TempDir.h"

namespace orvctl {
namespace {

using test::FakeServer;
namespace pb = OrvSdkRpc::pb;

std::map<std::string, Availability> probed(FakeServer& server) {
   Connection connection(parseTarget("--target", server.target()), 10);
   Catalog catalog = readCatalog(connection);
   probe(connection, catalog);
   std::map<std::string, Availability> found;
   for (const auto& service : catalog.services) {
      if (service.name != "OrvSdkRpc.pb.orvsdk_service") continue;
      for (const auto& rpc : service.rpcs)
         found[rpc.name] = rpc.availability;
   }
   return found;
}

TEST(Catalog, servicesAndRpcsComeFromTheServersReflection) {
   FakeServer server;
   server.reflection = true;
   server.start();
   Connection connection(parseTarget("--target", server.target()), 10);
   const Catalog catalog = readCatalog(connection);
   EXPECT_TRUE(catalog.fromServer);
   std::map<std::string, size_t> sizes;
   for (const auto& service : catalog.services)
      sizes[service.name] = service.rpcs.size();
   EXPECT_EQ(sizes["OrvSdkRpc.pb.orvsdk_service"], 18U);
   EXPECT_EQ(sizes["grpc.reflection.v1alpha.ServerReflection"], 1U);
}

TEST(Catalog, withoutReflectionTheLinkedRpcsAreListed) {
   FakeServer server;
   server.start();
   Connection connection(parseTarget("--target", server.target()), 10);
   const Catalog catalog = readCatalog(connection);
   EXPECT_FALSE(catalog.fromServer);
   ASSERT_EQ(catalog.services.size(), OrvSdkRpc::pb::services().size());
   ASSERT_GE(catalog.services.size(), 10U);
   EXPECT_EQ(catalog.services[0].rpcs.size(), 18U);
   EXPECT_EQ(catalog.services[0].rpcs[6].request, "ip_route_msg");
   EXPECT_TRUE(catalog.services[0].rpcs[16].replyStream);
}

TEST(Catalog, anAnswerOfItsOwnMeansAvailable) {
   FakeServer server;
   server.itemReply = [](const std::string&) {
      pb::rpc_status_msg status;
      status.set_status(pb::RPC_STATUS_ERROR);
      status.set_debug_string("Error: NHG name required, request ");
      return status;
   };
   server.start();
   const auto found = probed(server);
   EXPECT_EQ(found.at("nexthop_group"), Availability::available);
   EXPECT_EQ(found.at("ip_route_bulk"), Availability::available);
   EXPECT_EQ(found.at("get_rpc_server_state"), Availability::available);
   EXPECT_EQ(found.at("watch_rpc_server_alive"), Availability::available);
   EXPECT_EQ(found.at("watch_sbfd_echo_session_status_msgs"), Availability::available);
}

TEST(Catalog, whatTheServersBuildLeavesOutIsFoundByAsking) {
   FakeServer server;
   server.unimplemented = {"watch_sbfd_echo_session_status_msgs"};
   server.itemReply = [](const std::string& item) {
      pb::rpc_status_msg status;
      if (item != "mpls") return status;
      status.set_status(pb::RPC_STATUS_ERROR);
      status.set_debug_string("Error: not available in this build, request label: 0");
      return status;
   };
   server.start();
   const auto found = probed(server);
   EXPECT_EQ(found.at("mpls_route"), Availability::notInThisBuild);
   EXPECT_EQ(found.at("nexthop_group_tunnel"), Availability::available);
   EXPECT_EQ(found.at("watch_sbfd_echo_session_status_msgs"), Availability::notInThisBuild);
   EXPECT_EQ(found.at("watch_rpc_server_alive"), Availability::available);
   // The fake has no method for these.
   EXPECT_EQ(found.at("sbfd_echo_session"), Availability::notInThisBuild);
   EXPECT_EQ(found.at("cbf_nexthop_group_redirect_bulk"), Availability::notInThisBuild);
}

TEST(Catalog, beforeInitTheAnswerSaysNothing) {
   FakeServer server;
   server.itemReply = [](const std::string&) {
      pb::rpc_status_msg status;
      status.set_status(pb::RPC_STATUS_NOT_INITIALIZED);
      return status;
   };
   server.start();
   EXPECT_EQ(probed(server).at("mpls_route"), Availability::notKnownBeforeInit);
}

TEST(Catalog, probesCannotChangeAnything) {
   FakeServer server;
   server.start();
   const auto found = probed(server);
   EXPECT_EQ(found.at("rpc_server_init"), Availability::notProbed);
   EXPECT_EQ(found.at("rpc_server_resync"), Availability::notProbed);
   for (const auto& request : server.requests()) {
      EXPECT_FALSE(request.starts_with("rpc_server_init") || request.starts_with("rpc_server_resync"))
           << request;
      // Routes and tunnels are probed with an impossible prefix, groups without a name, labels without a
      // forwarding.
      const std::string method = request.substr(0, request.find(' '));
      if (method.starts_with("ip_route") || method.starts_with("nexthop_group_tunnel")) {
         EXPECT_NE(request.find("0.0.0.0/129"), std::string::npos) << request;
      } else if (method.starts_with("nexthop_group")) {
         EXPECT_NE(request.find(R"("name":"")"), std::string::npos) << request;
         EXPECT_NE(request.find(R"("delete":false)"), std::string::npos) << request;
      } else if (method.starts_with("mpls_route")) {
         EXPECT_NE(request.find(R"({"label":0,"delete":false})"), std::string::npos) << request;
      }
   }
}

TEST(Catalog, aServerThatIsNotThereIsAConnectionFailure) {
   const orvtest::TempDir directory;
   Connection connection(parseTarget("--target", directory.path() + "/none"), 10);
   EXPECT_THROW(readCatalog(connection), CallError);
}

}  // namespace
}  // namespace orvctl
