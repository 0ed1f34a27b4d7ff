#include "OrvSdkRpc/agent/Agent.h"

#include <grpcpp/create_channel.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"
#include "orv/lock.h"
#include "platform/process/Brevis.h"
#include "platform/zelt/Anchors.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/server/AgentHost.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

using orvtest::AgentHost;

class AgentTest : public testing::Test {
protected:
   static grpc::Status get(const std::string& address) {
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
      const auto channel = grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
      const auto stub = pb::orvsdk_service::NewStub(channel);
      grpc::ClientContext context;
      pb::rpc_server_state_status_msg request;
      pb::rpc_server_state_status_msg response;
      return stub->get_rpc_server_state(&context, request, &response);
   }

   orvtest::TempDir dir_;
   AgentHost host_;
   orvtest::TraceCapture traces_{"OrvSdkRpc/0-9"};
};

TEST_F(AgentTest, startsServesAndEndsInOrder) {
   const std::string address = dir_.unixAddress("s");
   const std::uint64_t handlers = orvtest::liveHandlers();
   {
      Agent agent(host_.sdk, address, true, false);
      EXPECT_EQ(traces_.count("Agent: OrvSdkRpc-test constructed"), 1U);
      agent.on_initialized();
      EXPECT_EQ(traces_.count("Agent Initialized"), 1U);
      EXPECT_EQ(traces_.count("Server listening on: " + address), 1U);
      ASSERT_TRUE(agent.waitUntilServing());
      EXPECT_TRUE(get(address).ok());
      EXPECT_TRUE(std::filesystem::exists(dir_ / "s"));
      EXPECT_TRUE(std::filesystem::exists(dir_ / "s.lock"));
      agent.on_agent_enabled(true);
      EXPECT_TRUE(get(address).ok());
      EXPECT_CALL(host_.agentMgr, agent_shutdown_complete_is(true)).WillOnce([&] {
         EXPECT_FALSE(std::filesystem::exists(dir_ / "s"));
         EXPECT_FALSE(std::filesystem::exists(dir_ / "s.lock"));
         EXPECT_EQ(traces_.count("Shutdown complete"), 1U);
      });
      agent.on_agent_enabled(false);
      EXPECT_EQ(traces_.count("Shutting down agent: OrvSdkRpc-test"), 1U);
   }
   EXPECT_EQ(orvtest::liveHandlers(), handlers);
}

TEST_F(AgentTest, withoutBfdThereIsNoProgrammingService) {
   const std::string address = dir_.unixAddress("s");
   Agent agent(host_.sdk, address, false, true);
   agent.on_initialized();
   ASSERT_TRUE(agent.waitUntilServing());
   EXPECT_EQ(get(address).error_code(), grpc::StatusCode::UNIMPLEMENTED);
   agent.on_agent_enabled(false);
}

TEST_F(AgentTest, withoutAnAddressItStaysUpWithoutAServer) {
   Agent agent(host_.sdk, std::vector<Server::Services>{});
   agent.on_initialized();
   EXPECT_EQ(traces_.count("Agent Initialized"), 1U);
   EXPECT_EQ(Brevis::entries().back().text, "No ip address configured");
   EXPECT_FALSE(agent.waitUntilServing());
   EXPECT_CALL(host_.agentMgr, agent_shutdown_complete_is(true));
   agent.on_agent_enabled(false);
}

TEST_F(AgentTest, aSecondAgentOnTheSameSocketHasNoServerAndTouchesNothing) {
   const std::string address = dir_.unixAddress("s");
   Agent first(host_.sdk, address, true, false);
   first.on_initialized();
   ASSERT_TRUE(first.waitUntilServing());
   {
      Agent second(host_.sdk, address, true, false);
      second.on_initialized();
      EXPECT_EQ(traces_.count("Address already in use: " + address), 1U);
      EXPECT_EQ(traces_.count("Shutting down. All addresses are already in use"), 1U);
      EXPECT_FALSE(second.waitUntilServing());
      EXPECT_CALL(host_.agentMgr, agent_shutdown_complete_is(true)).Times(2);
      second.on_agent_enabled(false);
   }
   EXPECT_TRUE(get(address).ok());
   first.on_agent_enabled(false);
   EXPECT_FALSE(std::filesystem::exists(dir_ / "s"));
}

TEST_F(AgentTest, ofTwoAddressesTheFreeOneIsServed) {
   const std::string busy = dir_.unixAddress("busy");
   const std::string open = dir_.unixAddress("open");
   Agent first(host_.sdk, busy, true, false);
   first.on_initialized();
   ASSERT_TRUE(first.waitUntilServing());
   Agent second(host_.sdk, "", true, false);
   second.configurationIs({.addresses = {busy, open}});
   second.on_initialized();
   ASSERT_TRUE(second.waitUntilServing());
   EXPECT_EQ(traces_.count("Address already in use: " + busy), 1U);
   EXPECT_EQ(traces_.count("Server listening on: " + open), 1U);
   EXPECT_EQ(second.addresses(), std::vector<std::string>{open});
   EXPECT_TRUE(get(open).ok());
   second.on_agent_enabled(false);
   EXPECT_TRUE(get(busy).ok());
   first.on_agent_enabled(false);
}

// The SDK's lock is the activity lock, as with a main loop.
class ActivityBackend final : public orv::host::lock_backend {
public:
   ActivityBackend() { orv::host::lock_backend_is(this); }
   ~ActivityBackend() override { orv::host::lock_backend_is(nullptr); }
   void acquire() override { Zelt::activityLock().acquire(); }
   void release() noexcept override { Zelt::activityLock().release(); }
};

TEST_F(AgentTest, theEndDoesNotWaitForACallThatWaitsForTheMainLoop) {
   const ActivityBackend backend;
   const std::string address = dir_.unixAddress("s");
   Agent agent(host_.sdk, address, true, false);
   agent.on_initialized();
   ASSERT_TRUE(agent.waitUntilServing());
   std::thread client;
   {
      // The agent is stopped with the lock held, as by the main loop.
      const Zelt::ActivityLockAnchor mainLoop;
      client = std::thread([&] { static_cast<void>(get(address)); });
      // The call has reached its handler, since the handler for the next call exists.
      ASSERT_TRUE(
           orvtest::eventually([] { return orvtest::liveHandlers("rpc_server_state_status_msg") == 2; }));
      agent.on_agent_enabled(false);
      EXPECT_TRUE(Zelt::activityLock().ownedByMe());
   }
   client.join();
   EXPECT_FALSE(std::filesystem::exists(dir_ / "s"));
}

// A host that embeds an interpreter: its threads may be what a call waits for.
class Interpreter {
public:
   Interpreter() {
      before = orvtest::liveHandlers();
      steps.clear();
      Zelt::gilHooksIs({.release = []() -> void* {
                           steps.emplace_back(orvtest::liveHandlers() == before ? "too late" : "released");
                           return &steps;
                        },
                        .reacquire =
                             [](void* token) {
                                EXPECT_EQ(token, &steps);
                                steps.emplace_back(orvtest::liveHandlers() == before ? "taken" : "too early");
                             }});
   }
   ~Interpreter() { Zelt::gilHooksIs({}); }

   inline static std::uint64_t before = 0;
   inline static std::vector<std::string> steps;
};

TEST_F(AgentTest, theEndLetsGoOfAnInterpretersLockUntilThePumpHasEnded) {
   const Interpreter interpreter;
   Agent agent(host_.sdk, dir_.unixAddress("s"), true, false);
   agent.on_initialized();
   ASSERT_TRUE(agent.waitUntilServing());
   agent.on_agent_enabled(false);
   EXPECT_EQ(Interpreter::steps, (std::vector<std::string>{"released", "taken"}));
}

TEST_F(AgentTest, anAddressIsFreeAgainAfterTheEnd) {
   const std::string address = dir_.unixAddress("s");
   for (int round = 0; round < 3; ++round) {
      Agent agent(host_.sdk, address, true, false);
      agent.on_initialized();
      ASSERT_TRUE(agent.waitUntilServing());
      EXPECT_TRUE(get(address).ok());
      agent.on_agent_enabled(false);
   }
}

TEST_F(AgentTest, aSecondDisableAcknowledgesAndLeavesANewOwnersFiles) {
   const std::string address = dir_.unixAddress("s");
   Agent first(host_.sdk, address, true, false);
   first.on_initialized();
   ASSERT_TRUE(first.waitUntilServing());
   EXPECT_CALL(host_.agentMgr, agent_shutdown_complete_is(true)).Times(3);
   first.on_agent_enabled(false);
   Agent second(host_.sdk, address, true, false);
   second.on_initialized();
   ASSERT_TRUE(second.waitUntilServing());
   first.on_agent_enabled(false);
   EXPECT_TRUE(std::filesystem::exists(dir_ / "s"));
   EXPECT_TRUE(std::filesystem::exists(dir_ / "s.lock"));
   EXPECT_TRUE(get(address).ok());
   second.on_agent_enabled(false);
}

TEST_F(AgentTest, theServiceListFormProbesNothing) {
   const std::string address = dir_.unixAddress("s");
   Agent agent(host_.sdk, std::vector<Server::Services>{});
   agent.configurationIs({.addresses = {address},
                          .sslProfileState = SslProfileState::NotConfigured,
                          .credentials = grpc::InsecureServerCredentials()});
   agent.on_initialized();
   ASSERT_TRUE(agent.waitUntilServing());
   EXPECT_FALSE(std::filesystem::exists(dir_ / "s.lock"));
   EXPECT_EQ(traces_.count("Using insecure sever, no SSL profile configured."), 1U);
   // The services of the list form do not include the programming service.
   EXPECT_EQ(get(address).error_code(), grpc::StatusCode::UNIMPLEMENTED);
   agent.on_agent_enabled(false);
}

TEST_F(AgentTest, aBusyAddressOfTheServiceListFormShowsWhenTheServerFailsToBind) {
   std::filesystem::create_directory(dir_ / "s");
   Agent agent(host_.sdk, std::vector<Server::Services>{});
   agent.configurationIs(
        {.addresses = {dir_.unixAddress("s")}, .sslProfileState = SslProfileState::NotConfigured});
   testing::internal::CaptureStderr();
   agent.on_initialized();
   EXPECT_FALSE(agent.waitUntilServing());
   EXPECT_CALL(host_.agentMgr, agent_shutdown_complete_is(true));
   agent.on_agent_enabled(false);
   EXPECT_NE(testing::internal::GetCapturedStderr().find("did not start"), std::string::npos);
}

TEST_F(AgentTest, theServiceListFormLeavesABusyPortToTheServer) {
   const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
   sockaddr_in other{};
   other.sin_family = AF_INET;
   other.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   socklen_t length = sizeof(other);
   ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&other), length), 0);
   ASSERT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&other), &length), 0);
   ASSERT_EQ(listen(fd, 1), 0);
   const std::string address = "127.0.0.1:" + std::to_string(ntohs(other.sin_port));
   Agent agent(host_.sdk, std::vector<Server::Services>{});
   agent.configurationIs({.addresses = {address}, .sslProfileState = SslProfileState::NotConfigured});
   testing::internal::CaptureStderr();
   agent.on_initialized();
   EXPECT_EQ(traces_.count("Address already in use: " + address), 0U);
   EXPECT_EQ(traces_.count("Server listening on: " + address), 1U);
   EXPECT_FALSE(agent.waitUntilServing());
   agent.on_agent_enabled(false);
   EXPECT_NE(testing::internal::GetCapturedStderr().find("did not start on: " + address), std::string::npos);
   close(fd);
}

TEST_F(AgentTest, aProfileWithoutCredentialsStartsNothing) {
   Agent agent(host_.sdk, std::vector<Server::Services>{});
   agent.configurationIs({.addresses = {dir_.unixAddress("s")},
                          .sslProfile = "gold",
                          .sslProfileState = SslProfileState::Tls});
   agent.on_initialized();
   EXPECT_EQ(traces_.count("No credentials for SSL profile: gold"), 1U);
   EXPECT_FALSE(agent.waitUntilServing());
   agent.on_agent_enabled(false);
}

TEST_F(AgentTest, anSslProfileThatIsNotFoundOrInvalidStartsNothing) {
   for (const auto& [state, words] : {std::pair{SslProfileState::NotFound, "SSL profile not found: gold"},
                                      {SslProfileState::Invalid, "Invalid SSL profile configured: gold"}}) {
      Agent agent(host_.sdk, std::vector<Server::Services>{});
      agent.configurationIs(
           {.addresses = {dir_.unixAddress("s")}, .sslProfile = "gold", .sslProfileState = state});
      agent.on_initialized();
      EXPECT_EQ(traces_.count(words), 1U);
      EXPECT_FALSE(agent.waitUntilServing());
      agent.on_agent_enabled(false);
   }
}

TEST_F(AgentTest, anSslProfileThatIsGoodStarts) {
   for (const auto& [state, words] :
        {std::pair{SslProfileState::Tls, "Using TLS with valid SSL Profile: gold"},
         {SslProfileState::MutualTls, "Using mTLS with valid SSL Profile: gold"},
         {static_cast<SslProfileState>(5), ""}}) {
      Agent agent(host_.sdk, std::vector<Server::Services>{});
      agent.configurationIs({.addresses = {dir_.unixAddress("s")},
                             .sslProfile = "gold",
                             .sslProfileState = state,
                             .credentials = grpc::InsecureServerCredentials()});
      agent.on_initialized();
      EXPECT_TRUE(agent.waitUntilServing());
      EXPECT_EQ(traces_.count(words), *words == '\0' ? 0U : 1U);
      agent.on_agent_enabled(false);
   }
}

TEST_F(AgentTest, aPanicIsTracedAndThrownOnAsItsOwnType) {
   const Agent agent(host_.sdk, std::vector<Server::Services>{});
   EXPECT_THROW(orv::panic(orv::unsupported_error("two of them")), orv::unsupported_error);
   EXPECT_EQ(traces_.count("panic msg two of them"), 1U);
   EXPECT_EQ(traces_.countAt(5), 1U);
   orv::exception_handler_is({});
}

}  // namespace
}  // namespace OrvSdkRpc
