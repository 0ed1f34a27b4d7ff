// Signals in quick succession: whenever they arrive, the daemon ends in order.
#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "OrvSdkRpcProtos/intf.grpc.pb.h"
#include "Program.h"
#include "ServiceManager.h"
#include "testing/base/TempDir.h"
#include "testing/process/Daemon.h"

namespace orvsdkrpcd {
namespace {

namespace fs = std::filesystem;
namespace remote = orv::remote;
using orvtest::Daemon;
using orvtest::Ending;
using testing::ElementsAre;

struct Signals {
   const char* name;
   std::vector<int> numbers;
};

class DaemonStop : public testing::TestWithParam<Signals> {
protected:
   DaemonStop() : daemon_(test::daemonProgram(), directory_.path()) {}

   void signalAll() {
      for (const int number : GetParam().numbers)
         daemon_.child().signal(number);
   }
   void expectOrderlyEnd() {
      EXPECT_EQ(daemon_.child().wait(), Ending{.exitCode = 0}) << daemon_.child().log();
      EXPECT_THAT(daemon_.child().log(), testing::EndsWith("orvsdkrpcd: stopped\n"));
      EXPECT_FALSE(fs::exists(daemon_.socketPath()));
      EXPECT_FALSE(fs::exists(daemon_.socketPath() + ".lock"));
      EXPECT_FALSE(fs::exists(daemon_.consolePath()));
      // Only a state directory that was marked clean lacks this file.
      EXPECT_FALSE(fs::exists(daemon_.stateDir() + "/in-use"));
      fs::remove(daemon_.logPath());
   }

   const orvtest::TempDir directory_;
   test::ServiceManager manager_{directory_ / "notify"};
   Daemon daemon_;
};

TEST_P(DaemonStop, whileItIsIdle) {
   for (int round = 0; round < 10; ++round) {
      daemon_.start();
      signalAll();
      expectOrderlyEnd();
      EXPECT_THAT(manager_.rest(), ElementsAre("READY=1", "STOPPING=1"));
   }
}

// The events keep the main loop busy, so that the stop waits behind them.
TEST_P(DaemonStop, duringABurstOfEvents) {
   for (int round = 0; round < 10; ++round) {
      daemon_.start();
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
      const auto channel =
           grpc::CreateCustomChannel(daemon_.address(), grpc::InsecureChannelCredentials(), arguments);
      const auto stub = remote::IntfMgrService::NewStub(channel);
      remote::WatchIntfRequest all;
      all.set_all(true);
      grpc::ClientContext context;
      const auto watch = stub->watch(&context, all);
      std::thread burst([&] {
         for (int step = 0;; ++step) {
            remote::BulkIntfDescriptionIsRequest request;
            for (int i = 0; i < 6400; ++i) {
               auto& item = *request.add_requests();
               item.mutable_intf_id()->set_name("Ethernet" + std::to_string(i % 64 + 1));
               item.set_description(std::to_string(step) + "." + std::to_string(i));
            }
            grpc::ClientContext bulk;
            remote::BulkIntfDescriptionIsResponse response;
            if (!stub->bulk_description_is(&bulk, request, &response).ok()) return;
         }
      });
      remote::WatchIntfResponse event;
      EXPECT_TRUE(watch->Read(&event));
      signalAll();
      while (watch->Read(&event)) {
      }
      EXPECT_FALSE(watch->Finish().ok());
      burst.join();
      expectOrderlyEnd();
      EXPECT_THAT(manager_.rest(), ElementsAre("READY=1", "STOPPING=1"));
   }
}

TEST_P(DaemonStop, whileItStarts) {
   // What a start creates, in order. Signals are handled from before the first one on.
   const std::string steps[] = {daemon_.stateDir(), daemon_.socketPath() + ".lock", daemon_.socketPath()};
   for (int round = 0; round < 9; ++round) {
      daemon_.launch();
      while (!fs::exists(steps[round % 3]) && daemon_.child().running()) {
      }
      signalAll();
      expectOrderlyEnd();
      EXPECT_THAT(manager_.rest(),
                  testing::AnyOf(ElementsAre("STOPPING=1"), ElementsAre("READY=1", "STOPPING=1")));
      fs::remove_all(daemon_.stateDir());
   }
}

INSTANTIATE_TEST_SUITE_P(InQuickSuccession, DaemonStop,
                         testing::Values(Signals{.name = "TermAndInt", .numbers = {SIGTERM, SIGINT}},
                                         Signals{.name = "TwoInts", .numbers = {SIGINT, SIGINT}},
                                         Signals{.name = "Many",
                                                 .numbers = {SIGINT, SIGTERM, SIGINT, SIGTERM, SIGINT}}),
                         [](const auto& signals) { return signals.param.name; });

}  // namespace
}  // namespace orvsdkrpcd
