#include "StreamClient.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <thread>

#include "FloorStreams.h"
#include "OrvSdkRpcProtos/agent.pb.h"
#include "OrvSdkRpcProtos/intf.pb.h"
#include "OrvSdkRpcProtos/intf_counter.pb.h"
#include "OrvSdkRpcProtos/ip_route.pb.h"
#include "OrvSdkRpcProtos/mpls_route.pb.h"
#include "OrvSdkRpcProtos/nexthop_group.pb.h"
#include "OrvSdkRpcProtos/policy_map_counters.pb.h"
#include "testing/base/TempDir.h"

namespace bench {
namespace {

using namespace std::chrono_literals;
namespace rpc = orv::remote;

// A server of one of the floor's streams, with its pump on a thread.
class Floor {
public:
   Floor(const std::string& stream, const google::protobuf::Message& message, std::uint64_t count) {
      std::ofstream(directory_ / "message", std::ios::binary) << message.SerializeAsString();
      streams_ = FloorStreams::make({.rpc = stream, .messageFile = directory_ / "message", .count = count});
      grpc::ServerBuilder builder;
      builder.AddListeningPort(address(), grpc::InsecureServerCredentials());
      streams_->registerWith(builder);
      queue_ = builder.AddCompletionQueue();
      server_ = builder.BuildAndStart();
      streams_->post(*queue_);
      pump_.emplace(*queue_);
      thread_ = std::thread([this] { pump_->run(); });
   }
   ~Floor() {
      pump_->stop(*server_);
      thread_.join();
   }
   std::string address() const { return "unix://" + (directory_ / "socket"); }

private:
   orvtest::TempDir directory_;
   std::unique_ptr<FloorStreams> streams_;
   std::unique_ptr<grpc::ServerCompletionQueue> queue_;
   std::unique_ptr<grpc::Server> server_;
   std::optional<FloorPump> pump_;
   std::thread thread_;
};

TEST(StreamClient, aListIsReadToItsEnd) {
   rpc::NexthopGroupsResponse message;
   message.mutable_nexthop_group()->set_name("g");
   const Floor floor("list", message, 1500);
   StreamClient client(floor.address());
   const auto result = client.readPasses("/orv.remote.NexthopGroupMgrService/nexthop_groups", "", "", 0s);
   EXPECT_EQ(result.items, 1500u);
   EXPECT_EQ(result.elements, 1500u);
   EXPECT_EQ(result.passSeconds.size(), 1u);
   EXPECT_EQ(result.sample, message.SerializeAsString());
   EXPECT_EQ(result.bytes, 1500 * message.ByteSizeLong());
}

TEST(StreamClient, aDumpIsReadUpToItsAcknowledgement) {
   rpc::WatchIntfResponse message, last;
   message.mutable_intf()->set_name("Ethernet1");
   last.set_ack(true);
   const Floor floor("dump", message, 3);
   StreamClient client(floor.address());
   const std::string path = "/orv.remote.IntfMgrService/watch";
   EXPECT_EQ(client.readPasses(path, "", last.SerializeAsString(), 0s).items, 3u);
   // A message that never comes.
   EXPECT_THROW(client.readPasses(path, "", "nothing", 0s), std::runtime_error);
}

TEST(StreamClient, watchesAreReadForATime) {
   rpc::WatchAgentResponse message;
   message.mutable_agent_option()->set_name("option");
   const Floor floor("watch", message, 0);
   StreamClient client(floor.address());
   const auto result = client.readFor("/orv.remote.AgentService/watch", "", 7, 50ms, nullptr);
   EXPECT_GE(result.items, 7u);
   EXPECT_EQ(result.bytes, result.items * message.ByteSizeLong());
   EXPECT_GE(result.seconds, 0.05);
}

TEST(StreamClient, entriesOfBatchesAreCounted) {
   rpc::IntfTrafficRatesStreamResponse message;
   for (int i = 0; i < 300; ++i)
      message.add_data()->mutable_intf_id()->set_name(std::string(static_cast<std::size_t>(i), 'x'));
   EXPECT_EQ(entriesOf(message.SerializeAsString()), 300u);
   EXPECT_EQ(entriesOf(""), 0u);
   EXPECT_THROW(entriesOf("x"), std::runtime_error);
   const Floor floor("rates", message, 0);
   StreamClient client(floor.address());
   const auto result =
        client.readFor("/orv.remote.IntfCounterMgrService/intf_traffic_rates_stream", "", 1, 50ms, entriesOf);
   EXPECT_GT(result.items, 0u);
   EXPECT_EQ(result.items % 300, 0u);
   EXPECT_EQ(result.sample, message.SerializeAsString());
}

TEST(StreamClient, theTimeBeginsWithTheMessageThatIsAskedFor) {
   rpc::PolicyMapCountersWatchResponse message;
   message.add_data()->set_key(7);
   const Floor floor("policies", message, 0);
   StreamClient client(floor.address());
   int passed = 0;
   const auto result = client.readFor("/orv.remote.PolicyMapCountersService/watch_policy_map_counters", "", 1,
                                      50ms, entriesOf, [&](const std::string& bytes) {
                                         EXPECT_EQ(bytes, message.SerializeAsString());
                                         return ++passed == 3;
                                      });
   EXPECT_EQ(passed, 3);
   EXPECT_GT(result.items, 0u);
   EXPECT_EQ(result.bytes, result.items * message.ByteSizeLong());
}

TEST(StreamClient, oneStreamIsReadForAsLongAsItIsWanted) {
   rpc::WatchAgentResponse message;
   message.mutable_agent_option()->set_name("option");
   const Floor floor("watch", message, 0);
   StreamClient client(floor.address());
   int seen = 0;
   client.read("/orv.remote.AgentService/watch", "", [&](const std::string& bytes) {
      EXPECT_EQ(bytes, message.SerializeAsString());
      return ++seen < 5;
   });
   EXPECT_EQ(seen, 5);
}

TEST(StreamClient, aStreamThatIsNotThereIsAnError) {
   const Floor floor("watch", rpc::WatchAgentResponse(), 0);
   StreamClient client(floor.address());
   const std::string path = "/orv.remote.IntfMgrService/watch";
   EXPECT_THROW(client.readPasses(path, "", "", 0s), std::runtime_error);
   EXPECT_THROW(client.read(path, "", [](const std::string&) { return true; }), std::runtime_error);
   EXPECT_THROW(StreamClient("unix:/nonexistent/socket", 50ms), std::runtime_error);
}

TEST(FloorStreams, routesLabelsAndAcknowledgementsAreRepeated) {
   rpc::IpRoutesResponse route;
   route.mutable_route()->set_tag(7);
   {
      const Floor floor("routes", route, 1500);
      StreamClient client(floor.address());
      const auto result = client.readPasses("/orv.remote.IpRouteMgrService/ip_routes", "", "", 0s);
      EXPECT_EQ(result.items, 1500u);
      EXPECT_EQ(result.sample, route.SerializeAsString());
   }
   rpc::MplsRouteWatchResponse label;
   label.mutable_on_mpls_route_set()->set_hw_version_id(7);
   {
      const Floor floor("labels", label, 0);
      StreamClient client(floor.address());
      const auto result = client.readFor("/orv.remote.MplsRouteMgrService/watch", "", 1, 50ms, nullptr);
      EXPECT_EQ(result.bytes, result.items * label.ByteSizeLong());
   }
   rpc::MplsIntegratedAckResponse ack;
   ack.mutable_mpls_route_via_set_version_info()->set_version_id(7);
   const Floor floor("acks", ack, 0);
   StreamClient client(floor.address());
   const auto result =
        client.readFor("/orv.remote.MplsRouteMgrService/watch_mpls_integrated", "", 1, 50ms, nullptr);
   EXPECT_EQ(result.bytes, result.items * ack.ByteSizeLong());
}

TEST(FloorStreams, aMessageOfAnotherKindIsRefused) {
   const orvtest::TempDir directory;
   std::ofstream(directory / "message") << "no message at all";
   EXPECT_THROW(FloorStreams::make({.rpc = "list", .messageFile = directory / "message"}),
                std::runtime_error);
   EXPECT_THROW(FloorStreams::make({.rpc = "list", .messageFile = directory / "none"}), std::runtime_error);
   EXPECT_EQ(FloorStreams::make({}), nullptr);
}

}  // namespace
}  // namespace bench
