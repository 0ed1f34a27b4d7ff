// A daemon that is stopped while it is at its busiest.
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include "demo/DemoState.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/process/Controller.h"
#include "testing/process/Daemon.h"

namespace orvtest {
namespace {

pb::ip_route_bulk_msg bulkFrom(std::uint32_t first) {
   pb::ip_route_bulk_msg bulk;
   for (std::uint32_t i = 0; i < demo::routesPerBulk; ++i)
      *bulk.add_bulk() = demo::route(first + i);
   return bulk;
}

// Sends bulks until the server goes away; counts those that were acknowledged.
class Sender {
public:
   Sender(const std::string& address, std::uint32_t first)
        : thread_([this, address, first] {
             Controller controller(address);
             const auto bulk = bulkFrom(first);
             try {
                for (;;) {
                   requireAllOk(controller.routes(bulk), demo::routesPerBulk);
                   ++acknowledged_;
                   acknowledged_.notify_all();
                }
             } catch (const CallBroke&) {
             } catch (const std::exception& error) {
                complaint_ = error.what();
             }
             over_ = true;
             ++acknowledged_;
             acknowledged_.notify_all();
          }) {}
   // Waits until `count` bulks were acknowledged or the sender has ended.
   void waitFor(int count) const {
      for (int seen = acknowledged_; seen < count && !over_; seen = acknowledged_)
         acknowledged_.wait(seen);
   }
   // Waits for the end. RETURNS: what was refused, if anything.
   const std::string& complaint() {
      thread_.join();
      return complaint_;
   }

private:
   std::atomic<int> acknowledged_{0};
   std::atomic<bool> over_{false};
   std::string complaint_;
   std::thread thread_;
};

class Duel : public testing::Test {
protected:
   Duel() : daemon_(programPath("orvsdkrpcd"), directory_.path()) {
      daemon_.start();
      Controller controller(daemon_.address());
      controller.init();
   }

   void expectOrderlyEnd() {
      EXPECT_EQ(daemon_.terminate(std::chrono::seconds(2) * slowdown()), (Ending{.exitCode = 0}))
           << daemon_.child().log();
      EXPECT_FALSE(std::filesystem::exists(daemon_.socketPath()));
      EXPECT_FALSE(std::filesystem::exists(daemon_.socketPath() + ".lock"));
      EXPECT_FALSE(std::filesystem::exists(daemon_.consolePath()));
   }

   TempDir directory_{"orv-duel-"};
   Daemon daemon_;
};

TEST_F(Duel, stopUnderBulkLoadIsPromptAndClean) {
   std::vector<std::unique_ptr<Sender>> senders;
   for (std::uint32_t i = 0; i < 4; ++i) {
      senders.push_back(std::make_unique<Sender>(daemon_.address(), i * demo::routesPerBulk));
   }
   for (const auto& sender : senders)
      sender->waitFor(5);
   expectOrderlyEnd();
   for (const auto& sender : senders)
      EXPECT_EQ(sender->complaint(), "");
}

TEST_F(Duel, stopEndsEveryOpenAliveWatch) {
   struct Watch {
      grpc::ClientContext context;
      std::unique_ptr<grpc::ClientReader<pb::rpc_server_alive_msg>> reader;
   };
   const auto channel = grpc::CreateChannel(daemon_.address(), grpc::InsecureChannelCredentials());
   const auto stub = pb::orvsdk_service::NewStub(channel);
   std::vector<std::unique_ptr<Watch>> watches;
   for (int i = 0; i < 200; ++i) {
      watches.push_back(std::make_unique<Watch>());
      watches.back()->reader = stub->watch_rpc_server_alive(&watches.back()->context, {});
   }
   Sender sender(daemon_.address(), 0);
   sender.waitFor(5);
   expectOrderlyEnd();
   for (const auto& watch : watches) {
      pb::rpc_server_alive_msg message;
      EXPECT_FALSE(watch->reader->Read(&message));
      EXPECT_FALSE(watch->reader->Finish().ok());
   }
   EXPECT_EQ(sender.complaint(), "");
}

TEST_F(Duel, whatWasAcknowledgedBeforeTheStopIsThereAfterIt) {
   Controller controller(daemon_.address());
   requireAllOk(controller.routes(bulkFrom(0)), demo::routesPerBulk);
   expectOrderlyEnd();
   daemon_.start();
   EXPECT_TRUE(Controller(daemon_.address()).init().ip_routes_exist());
}

}  // namespace
}  // namespace orvtest
