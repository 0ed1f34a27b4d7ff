// Agents of both forms with mirror services, over TCP: which peers they serve, what they serve, and what
// becomes of a call without the SDK's lock.
#include <grpcpp/create_channel.h>
#include <grpcpp/impl/codegen/client_unary_call.h>
#include <grpcpp/support/byte_buffer.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "OrvSdkRpc/agent/Agent.h"
#include "OrvSdkRpcProtos/acl.grpc.pb.h"
#include "OrvSdkRpcProtos/agent.grpc.pb.h"
#include "orv/lock.h"
#include "platform/gorm/TaskScheduler.h"
#include "testing/base/TempDir.h"
#include "testing/server/AgentHost.h"
#include "testing/server/StreamClient.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using Server::Services;
using testing::Return;

constexpr char rejected[] = "Insecure remote client rejected";

// A TCP port that no other process is given meanwhile. gRPC can still bind it: the kernel shares a port among
// sockets of one user that all allow it, and this socket never listens.
class HeldPort {
public:
   explicit HeldPort(std::uint32_t host = INADDR_LOOPBACK) {
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_addr.s_addr = htonl(host);
      socklen_t length = sizeof(address);
      const int on = 1;
      if (fd_ < 0 || setsockopt(fd_, SOL_SOCKET, SO_REUSEPORT, &on, sizeof(on)) != 0 ||
          bind(fd_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
          getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
         throw std::system_error(errno, std::generic_category(), "no port");
      }
      port_ = std::to_string(ntohs(address.sin_port));
   }
   ~HeldPort() { close(fd_); }
   HeldPort(const HeldPort&) = delete;
   HeldPort& operator=(const HeldPort&) = delete;

   [[nodiscard]] std::string at(const std::string& host) const { return host + ":" + port_; }

private:
   int fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
   std::string port_;
};

// A client on a connection of its own.
class Client {
   // Synchronises the test's use of its mocks with the pump's, both ways: a thread sanitizer does not see the
   // order that gRPC enforces.
   struct MeetPump {
      MeetPump() { const orv::sdk_scoped_lock lock; }
      ~MeetPump() { const orv::sdk_scoped_lock lock; }
   };

public:
   explicit Client(const std::string& address) {
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
      channel_ = grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
      agent_ = remote::AgentService::NewStub(channel_);
   }

   grpc::Status enabled() {
      const MeetPump meet;
      grpc::ClientContext context;
      remote::AgentEnabledResponse response;
      return agent_->enabled(&context, {}, &response);
   }
   grpc::Status statuses() {
      return orvtest::StreamClient<remote::AgentStatusesResponse>(
                  *agent_, &remote::AgentService::Stub::statuses, remote::AgentStatusesRequest())
           .finish();
   }
   grpc::Status watch() {
      return orvtest::StreamClient<remote::WatchAgentResponse>(*agent_, &remote::AgentService::Stub::watch,
                                                               remote::WatchAgentRequest())
           .finish();
   }
   // Sets one status entry in bulk; the call itself must succeed.
   remote::RpcResponseStatus bulkStatusSet() {
      const MeetPump meet;
      grpc::ClientContext context;
      remote::AgentBulkStatusSetRequest request;
      request.add_requests()->set_name("n");
      remote::AgentBulkStatusSetResponse response;
      EXPECT_TRUE(agent_->bulk_status_set(&context, request, &response).ok());
      EXPECT_EQ(response.count(), response.status().code() == 0 ? 1U : 0U);
      return response.status();
   }
   // Any unary method by its path, "/package.Service/method", with an empty request.
   grpc::Status call(const char* path) {
      grpc::ClientContext context;
      const grpc::ByteBuffer request(nullptr, 0);
      grpc::ByteBuffer response;
      const grpc::internal::RpcMethod method(path, grpc::internal::RpcMethod::NORMAL_RPC);
      return grpc::internal::BlockingUnaryCall<grpc::ByteBuffer, grpc::ByteBuffer>(
           channel_.get(), method, &context, request, &response);
   }

private:
   std::shared_ptr<grpc::Channel> channel_;
   std::unique_ptr<remote::AgentService::Stub> agent_;
};

// The configuration of an insecure agent of the service-list form.
HostConfiguration insecure(std::vector<std::string> addresses, bool allowInsecureRemote, bool trustedServer) {
   return {.addresses = std::move(addresses),
           .sslProfileState = SslProfileState::NotConfigured,
           .allowInsecureRemote = allowInsecureRemote,
           .trustedServer = trustedServer};
}

class AgentPeers : public testing::Test {
protected:
   ~AgentPeers() override {
      if (agent_) agent_->on_agent_enabled(false);
   }

   void serve(HostConfiguration configuration, const std::vector<Services>& services = {Services::Agent}) {
      agent_ = std::make_unique<Agent>(host_.sdk, services);
      agent_->configurationIs(std::move(configuration));
      agent_->on_initialized();
      ASSERT_TRUE(agent_->waitUntilServing());
   }

   orvtest::AgentHost host_;
   std::unique_ptr<Agent> agent_;
};

TEST_F(AgentPeers, anInsecureServerServesAPeerOfItsOwnAddress) {
   const HeldPort port;
   serve(insecure({port.at("127.0.0.1")}, false, false));
   Client client(port.at("127.0.0.1"));
   EXPECT_CALL(host_.agentMgr, enabled()).WillOnce(Return(true));
   EXPECT_TRUE(client.enabled().ok());
   EXPECT_CALL(host_.agentMgr, status_set("n", ""));
   EXPECT_EQ(client.bulkStatusSet().code(), remote::RPC_RESPONSE_STATUS_CODE_SUCCESS);
}

TEST_F(AgentPeers, aServerOnEveryAddressRejectsEvenALocalPeerBeforeTheSwitchHearsOfIt) {
   const HeldPort port(INADDR_ANY);
   serve(insecure({port.at("0.0.0.0")}, false, false));
   Client client(port.at("127.0.0.1"));
   EXPECT_CALL(host_.agentMgr, enabled()).Times(0);
   EXPECT_CALL(host_.agentMgr, status_iter()).Times(0);
   EXPECT_CALL(host_.agentMgr, status_set).Times(0);
   for (const grpc::Status& status : {client.enabled(), client.statuses(), client.watch()}) {
      EXPECT_EQ(status.error_code(), grpc::StatusCode::UNAUTHENTICATED);
      EXPECT_EQ(status.error_message(), rejected);
   }
   const auto bulk = client.bulkStatusSet();
   EXPECT_EQ(bulk.code(), remote::RPC_RESPONSE_STATUS_CODE_UNAUTHENTICATED);
   EXPECT_EQ(bulk.message(), rejected);
}

TEST_F(AgentPeers, aPeerThatIsLocalToOneOfTwoAddressesIsRejected) {
   const HeldPort one;
   const HeldPort two(INADDR_LOOPBACK + 1);
   serve(insecure({one.at("127.0.0.1"), two.at("127.0.0.2")}, false, false));
   for (const auto& address : {one.at("127.0.0.1"), two.at("127.0.0.2")}) {
      Client client(address);
      const grpc::Status status = client.enabled();
      EXPECT_EQ(status.error_code(), grpc::StatusCode::UNAUTHENTICATED);
      EXPECT_EQ(status.error_message(), rejected);
   }
}

TEST_F(AgentPeers, aTrustedServerServesEveryPeer) {
   const HeldPort port(INADDR_ANY);
   serve(insecure({port.at("0.0.0.0")}, false, true));
   EXPECT_TRUE(Client(port.at("127.0.0.1")).enabled().ok());
}

TEST_F(AgentPeers, aServerForRemotePeersServesEveryPeer) {
   const HeldPort port(INADDR_ANY);
   serve(insecure({port.at("0.0.0.0")}, true, false));
   EXPECT_TRUE(Client(port.at("127.0.0.1")).enabled().ok());
}

TEST_F(AgentPeers, theAddressFormServesEveryPeer) {
   // This agent checks whether the port is free, so the test cannot hold it.
   const std::string port = HeldPort(INADDR_ANY).at("");
   agent_ = std::make_unique<Agent>(host_.sdk, "0.0.0.0" + port, false, false);
   agent_->on_initialized();
   ASSERT_TRUE(agent_->waitUntilServing());
   EXPECT_TRUE(Client("127.0.0.1" + port).enabled().ok());
}

TEST_F(AgentPeers, aPingIsAnsweredToAPeerThatIsRejectedOtherwise) {
   const HeldPort port(INADDR_ANY);
   serve(insecure({port.at("0.0.0.0")}, false, false));
   Client client(port.at("127.0.0.1"));
   EXPECT_EQ(client.enabled().error_code(), grpc::StatusCode::UNAUTHENTICATED);
   const auto scheduler = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
   std::thread mainLoop([&] { scheduler->run(); });
   EXPECT_TRUE(client.call("/orv.remote.AgentService/ping").ok());
   scheduler->stop();
   mainLoop.join();
   scheduler->restart();
}

TEST_F(AgentPeers, whatIsNotInTheListIsUnimplemented) {
   const orvtest::TempDir dir;
   const std::string address = dir.unixAddress("s");
   serve(insecure({address}, true, false), {Services::Agent});
   Client client(address);
   EXPECT_TRUE(client.call("/orv.remote.AgentService/enabled").ok());
   const grpc::Status status = client.call("/orv.remote.AclMgrService/acl_commit");
   EXPECT_EQ(status.error_code(), grpc::StatusCode::UNIMPLEMENTED);
   // gRPC itself answers this call.
   EXPECT_EQ(status.error_message(), "");
}

// Checks for the SDK's lock, as the switch's managers do first, but on a thread of its own.
void checkLockElsewhere() {
   std::exception_ptr refusal;
   std::thread([&] {
      try {
         orv::sdk_lock_check();
      } catch (...) {
         refusal = std::current_exception();
      }
   }).join();
   if (refusal) std::rethrow_exception(refusal);
}

TEST_F(AgentPeers, anSdkCallWithoutTheLockIsAnInternalError) {
   orv::host::main_thread_is();
   const orvtest::TempDir dir;
   const std::string address = dir.unixAddress("s");
   serve(insecure({address}, true, false));
   Client client(address);
   constexpr char words[] = "orv::sdk_scoped_lock not grabbed when calling an api while multithreaded";

   // The operation runs on the pump's thread, which has the lock.
   EXPECT_CALL(host_.agentMgr, enabled())
        .WillOnce([] {
           orv::sdk_lock_check();
           return true;
        })
        .WillOnce([] {
           checkLockElsewhere();
           return true;
        });
   EXPECT_CALL(host_.agentMgr, status_set).WillOnce([](const auto&, const auto&) { checkLockElsewhere(); });
   EXPECT_TRUE(client.enabled().ok());
   testing::internal::CaptureStderr();
   const grpc::Status status = client.enabled();
   const auto bulk = client.bulkStatusSet();
   EXPECT_NE(testing::internal::GetCapturedStderr().find("sdk_scoped_lock"), std::string::npos);
   EXPECT_EQ(status.error_code(), grpc::StatusCode::INTERNAL);
   EXPECT_EQ(status.error_message(), words);
   EXPECT_EQ(bulk.code(), remote::RPC_RESPONSE_STATUS_CODE_INTERNAL);
   EXPECT_EQ(bulk.message(), words);
   orv::host::main_thread_clear();
}

}  // namespace
}  // namespace OrvSdkRpc
