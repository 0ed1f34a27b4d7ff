#include "testing/process/Pings.h"

#include <grpcpp/grpcpp.h>

#include <chrono>
#include <utility>

#include "OrvSdkRpcProtos/agent.grpc.pb.h"
#include "testing/process/Controller.h"

namespace orvtest {

namespace {

using Clock = std::chrono::steady_clock;

// Between the end of a ping and the next, so that the pings measure the load and do not cause it.
constexpr auto pause = std::chrono::microseconds(500);
constexpr auto patience = std::chrono::seconds(30);

}  // namespace

Pings::Pings(const std::string& address) : thread_([this, address] { run(address); }) {}

Pings::~Pings() {
   over_ = true;
   if (thread_.joinable()) thread_.join();
}

std::vector<Ping> Pings::stop() {
   over_ = true;
   thread_.join();
   if (!broken_.empty()) throw CallBroke("ping: " + broken_);
   return std::move(pings_);
}

void Pings::run(const std::string& address) {
   grpc::ChannelArguments arguments;
   arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
   const auto stub = orv::remote::AgentService::NewStub(
        grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments));
   while (!over_) {
      grpc::ClientContext context;
      context.set_deadline(std::chrono::system_clock::now() + patience);
      orv::remote::AgentPingResponse response;
      const auto started = Clock::now();
      const auto status = stub->ping(&context, {}, &response);
      const auto took = Clock::now() - started;
      if (!status.ok()) {
         broken_ = status.error_message();
         return;
      }
      pings_.push_back({.startedNs = std::chrono::nanoseconds(started.time_since_epoch()).count(),
                        .tookNs = std::chrono::nanoseconds(took).count()});
      std::this_thread::sleep_for(pause);
   }
}

}  // namespace orvtest
