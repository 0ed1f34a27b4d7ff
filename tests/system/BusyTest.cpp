// A daemon beside processes that occupy its processors: events, timers and the stop do not wait for the next
// call.
#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "OrvSdkRpcProtos/intf.grpc.pb.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/process/Child.h"
#include "testing/process/Console.h"
#include "testing/process/Daemon.h"
#include "testing/server/StreamClient.h"

namespace orvtest {
namespace {

namespace remote = orv::remote;
using std::chrono::milliseconds;
using std::chrono::seconds;

// How long an event may take on a machine with more runnable processes than processors.
milliseconds eventBound() {
   return milliseconds(2000) * slowdown();
}
milliseconds busyStopBound() {
   return milliseconds(10'000) * slowdown();
}

std::vector<Child> spinningProcesses() {
   std::vector<Child> spinning;
   for (unsigned i = 0; i < std::max(2U, std::thread::hardware_concurrency()); ++i)
      spinning.emplace_back(std::vector<std::string>{"/bin/sh", "-c", "while :; do :; done"});
   return spinning;
}

// Follows the descriptions of one interface.
class DescriptionWatch {
public:
   DescriptionWatch(remote::IntfMgrService::Stub& stub, const std::string& intf)
        : stream_(stub, &remote::IntfMgrService::Stub::watch, request(intf)) {
      const auto ack = stream_.next();
      EXPECT_TRUE(ack && ack->ack());
      reader_ = std::thread([this] { read(); });
   }
   ~DescriptionWatch() {
      stream_.cancel();
      reader_.join();
   }
   DescriptionWatch(const DescriptionWatch&) = delete;
   DescriptionWatch& operator=(const DescriptionWatch&) = delete;

   // Whether the event with `description` arrives in time.
   bool hears(const std::string& description) {
      std::unique_lock lock(mutex_);
      return heard_.wait_for(lock, eventBound(), [&] { return last_ == description; });
   }

private:
   static remote::WatchIntfRequest request(const std::string& intf) {
      remote::WatchIntfRequest request;
      request.mutable_intf()->set_name(intf);
      request.set_ack(true);
      return request;
   }
   void read() {
      while (const auto event = stream_.next()) {
         if (event->description_present_case() != remote::WatchIntfResponse::kDescription) continue;
         const std::lock_guard lock(mutex_);
         last_ = event->description();
         heard_.notify_all();
      }
   }

   orvtest::StreamClient<remote::WatchIntfResponse> stream_;
   std::mutex mutex_;
   std::condition_variable heard_;
   std::string last_;
   std::thread reader_;
};

TEST(BusyMachine, everyEventArrivesWithoutAnotherCallAndTermEndsTheDaemon) {
   TempDir directory("orv-busy-");
   Daemon daemon(programPath("orvsdkrpcd"), directory.path());
   daemon.start();
   const auto channel = grpc::CreateChannel(daemon.address(), grpc::InsecureChannelCredentials());
   const auto stub = remote::IntfMgrService::NewStub(channel);
   {
      DescriptionWatch watch(*stub, "Ethernet64");
      const auto spinning = spinningProcesses();
      const auto end = std::chrono::steady_clock::now() + seconds(20);
      for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
         const std::string text = "round " + std::to_string(round);
         remote::BulkIntfDescriptionIsRequest request;
         for (int port = 1; port <= 64; ++port) {
            auto& item = *request.add_requests();
            item.mutable_intf_id()->set_name("Ethernet" + std::to_string(port));
            item.set_description(text);
         }
         remote::BulkIntfDescriptionIsResponse response;
         grpc::ClientContext context;
         ASSERT_TRUE(stub->bulk_description_is(&context, request, &response).ok());
         ASSERT_EQ(response.count(), 64U);
         ASSERT_TRUE(watch.hears(text)) << text;
      }
      Console console(daemon.consolePath());
      EXPECT_THAT(console.run("show main-loop"), testing::HasSubstr("missed_hand_overs: 0\n"));
      const auto ending = daemon.terminate(busyStopBound());
      ASSERT_TRUE(ending) << "TERM did not end the daemon";
      EXPECT_EQ(*ending, Ending{.exitCode = 0});
   }
}

}  // namespace
}  // namespace orvtest
