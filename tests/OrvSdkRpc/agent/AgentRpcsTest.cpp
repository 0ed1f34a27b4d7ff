// Which RPCs an agent serves, by the services it is asked for and by the toggles. A service that is on the
// wire but not in the agent, or an RPC that its service forgets, fails here.
#include <gmock/gmock.h>
#include <grpcpp/create_channel.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "OrvSdkRpc/agent/Agent.h"
#include "OrvSdkRpcProtos/fib.grpc.pb.h"
#include "OrvSdkRpcProtos/intf_counter.grpc.pb.h"
#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"
#include "platform/process/Toggles.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/server/AgentHost.h"
#include "testing/server/EveryRpc.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/StreamClient.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using Server::Services;
using testing::IsEmpty;

// The service of each value, by its name on the wire.
constexpr const char* services[] = {
     "orv.remote.AclMgrService",
     "orv.remote.AgentService",
     "orv.remote.BgpPathMgrService",
     "orv.remote.BgpMgrService",
     "orv.remote.ClassMapMgrService",
     "orv.remote.CmdapiMgrService",
     "orv.remote.EthLagIntfMgrService",
     "orv.remote.EthPhyIntfMgrService",
     "orv.remote.EthPhyIntfCountersMgrService",
     "orv.remote.IntfMgrService",
     "orv.remote.IntfCounterMgrService",
     "orv.remote.IpRouteMgrService",
     "orv.remote.IpIntfMgrService",
     "orv.remote.MacsecMgrService",
     "orv.remote.MplsRouteMgrService",
     "orv.remote.MplsVrfLabelMgrService",
     "orv.remote.NexthopGroupMgrService",
     "orv.remote.PolicyMapMgrService",
     "orv.remote.PolicyMapCountersService",
};
static_assert(std::size(services) == Server::servicesCount);

// Services that a toggle takes away as a whole, and those RPCs that one takes away.
const std::set<std::string> toggledServices{"orv.remote.ClassMapMgrService",
                                            "orv.remote.PolicyMapCountersService"};
const std::set<std::string> toggledRpcs{"orv.remote.MplsRouteMgrService.watch_mpls_integrated"};

std::shared_ptr<grpc::Channel> channelTo(const std::string& address) {
   grpc::ChannelArguments arguments;
   arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
   return grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
}

// An agent of the service-list form on a switch of mocks.
class ListAgent {
public:
   explicit ListAgent(const std::vector<Services>& list) : agent_(host_.sdk, list) {
      agent_.configurationIs({.addresses = {address_},
                              .sslProfileState = SslProfileState::NotConfigured,
                              .allowInsecureRemote = true});
      agent_.on_initialized();
      EXPECT_TRUE(agent_.waitUntilServing());
   }
   ~ListAgent() { agent_.on_agent_enabled(false); }

   [[nodiscard]] std::shared_ptr<grpc::Channel> channel() const { return channelTo(address_); }

private:
   orvtest::TempDir dir_;
   const std::string address_ = dir_.unixAddress("s");
   orvtest::AgentHost host_;
   Agent agent_;
};

std::vector<Services> allValues() {
   std::vector<Services> values;
   for (std::uint8_t value = 0; value < Server::servicesCount; ++value)
      values.push_back(static_cast<Services>(value));
   return values;
}

// The RPCs, of all that the wire has, whose calls the server leaves unanswered or refuses as unknown.
std::set<std::string> unservedBy(const std::shared_ptr<grpc::Channel>& channel) {
   std::set<std::string> unserved;
   for (const std::string& name : orvtest::allServices()) {
      for (const std::string& rpc : orvtest::rpcsWithoutHandler(channel, *orvtest::serviceNamed(name)))
         unserved.insert(name + "." + rpc);
   }
   return unserved;
}
std::set<std::string> rpcsOf(const std::string& service) {
   std::set<std::string> rpcs;
   const auto* const descriptor = orvtest::serviceNamed(service);
   for (int i = 0; descriptor != nullptr && i < descriptor->method_count(); ++i)
      rpcs.insert(descriptor->method(i)->full_name());
   return rpcs;
}

// The RPCs of the services that only the address form has.
std::set<std::string> addressFormRpcs() {
   std::set<std::string> rpcs = rpcsOf(pb::orvsdk_service::service_full_name());
   rpcs.merge(rpcsOf(remote::FibMgrService::service_full_name()));
   return rpcs;
}

TEST(AgentRpcs, everyServiceOfTheWireBelongsToAValueOrToTheAddressForm) {
   std::set<std::string> known(std::begin(services), std::end(services));
   known.insert({pb::orvsdk_service::service_full_name(), remote::FibMgrService::service_full_name()});
   const std::vector<std::string> all = orvtest::allServices();
   EXPECT_THAT(all, testing::Contains(pb::orvsdk_service::service_full_name()));
   for (const std::string& service : all)
      EXPECT_TRUE(known.contains(service)) << service;
}

TEST(AgentRpcs, theListFormServesEveryRpcOfEveryMirrorService) {
   const std::uint64_t before = orvtest::liveHandlers();
   const ListAgent agent(allValues());
   std::size_t rpcs = 0;
   for (const char* service : services)
      rpcs += rpcsOf(service).size();
   EXPECT_EQ(orvtest::liveHandlers() - before, rpcs);
   EXPECT_EQ(unservedBy(agent.channel()), addressFormRpcs());
}

TEST(AgentRpcs, theAddressFormServesTheProgrammingServiceToo) {
   const orvtest::TempDir dir;
   const std::string address = dir.unixAddress("s");
   orvtest::AgentHost host;
   Agent agent(host.sdk, address, true, true);
   agent.on_initialized();
   ASSERT_TRUE(agent.waitUntilServing());
   EXPECT_THAT(unservedBy(channelTo(address)), IsEmpty());
   agent.on_agent_enabled(false);
}

// Each value brings its own service and no other.
TEST(AgentRpcs, aValueServesTheRpcsOfItsServiceAlone) {
   for (std::uint8_t value = 0; value < Server::servicesCount; ++value) {
      const std::set<std::string> rpcs = rpcsOf(services[value]);
      if (rpcs.empty()) continue;
      SCOPED_TRACE(services[value]);
      const std::uint64_t before = orvtest::liveHandlers();
      const ListAgent agent({static_cast<Services>(value)});
      EXPECT_EQ(orvtest::liveHandlers() - before, rpcs.size());
      EXPECT_THAT(orvtest::rpcsWithoutHandler(agent.channel(), *orvtest::serviceNamed(services[value])),
                  IsEmpty());
   }
}

grpc::Status ratesStream(const std::shared_ptr<grpc::Channel>& channel, bool& opened) {
   const auto stub = remote::IntfCounterMgrService::NewStub(channel);
   remote::IntfTrafficRatesStreamRequest request;
   // An expression that is refused, but not before the toggle is looked at.
   request.set_intf_name_regex("(");
   orvtest::StreamClient<remote::IntfTrafficRatesStreamResponse> client(
        *stub, &remote::IntfCounterMgrService::Stub::intf_traffic_rates_stream, request);
   opened = client.next().has_value();
   return client.finish();
}

// A toggle is read once per process, so each look at one has a process of its own.
int withTheToggles(bool on) {
   const orvtest::TempDir dir;
   const std::string value = on ? "true" : "false";
   std::ofstream(dir / "OrvSdkRpc.json")
        << R"({"OrvSdkRpcClassMap": )" << value << R"(, "OrvSdkRpcTrafficStream": )" << value
        << R"(, "OrvSdkRpcPbrCountersStream": )" << value << R"(, "OrvSdkRpcMplsIntegratedCallback": )"
        << value << "}";
   toggleDirectoryIs(dir.path());
   const ListAgent agent(allValues());

   std::set<std::string> expected = addressFormRpcs();
   if (!on) {
      for (const std::string& service : toggledServices)
         expected.merge(rpcsOf(service));
      for (const std::string& rpc : toggledRpcs) {
         if (rpcsOf(rpc.substr(0, rpc.rfind('.'))).contains(rpc)) expected.insert(rpc);
      }
   }
   EXPECT_EQ(unservedBy(agent.channel()), expected);

   bool opened = false;
   const grpc::Status rates = ratesStream(agent.channel(), opened);
   EXPECT_FALSE(opened);
   EXPECT_EQ(rates.error_code(), on ? grpc::StatusCode::INVALID_ARGUMENT : grpc::StatusCode::UNIMPLEMENTED);
   if (!on) {
      EXPECT_EQ(rates.error_message(), "This feature is not yet implemented");
   }
   return testing::Test::HasFailure() ? 1 : 0;
}

TEST(AgentRpcsDeathTest, whatAToggleTakesAwayIsNotServedAndTheRestIs) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_EXIT(std::exit(withTheToggles(true)), testing::ExitedWithCode(0), "");
   EXPECT_EXIT(std::exit(withTheToggles(false)), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace OrvSdkRpc
