// The lock between the pump and the main loop under full load: neither starves.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "demo/DemoState.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/process/Console.h"
#include "testing/process/Controller.h"
#include "testing/process/Daemon.h"
#include "testing/process/Pings.h"

namespace orvtest {
namespace {

// The 99th percentile of a round trip to the main loop under load. The bound is far above what an idle
// machine shows, since the machine may build and test other things meanwhile.
std::chrono::milliseconds pingBound() {
   return std::chrono::milliseconds(100) * slowdown();
}

using Clock = std::chrono::steady_clock;

TEST(Fairness, theMainLoopAnswersWhileBulksSaturateThePump) {
   const TempDir directory("orv-fairness-");
   Daemon daemon(programPath("orvsdkrpcd"), directory.path());
   daemon.start();
   Controller controller(daemon.address());
   controller.init();
   pb::ip_route_bulk_msg bulk;
   for (std::uint32_t i = 0; i < demo::routesPerBulk; ++i)
      *bulk.add_bulk() = demo::route(i);

   Pings pings(daemon.address());
   const auto start = Clock::now();
   int bulks = 0;
   for (; Clock::now() - start < std::chrono::seconds(1) || bulks < 20; ++bulks) {
      // A different route each time, so that the hardware stage has work as well.
      for (auto& route : *bulk.mutable_bulk()) {
         route.set_nexthop_group_name(
              demo::group(static_cast<std::uint32_t>(bulks) % demo::groupCount).name());
      }
      requireAllOk(controller.routes(bulk), demo::routesPerBulk);
   }
   std::vector<std::int64_t> took;
   for (const auto& ping : pings.stop())
      took.push_back(ping.tookNs);
   ASSERT_EQ(daemon.terminate(), (Ending{.exitCode = 0})) << daemon.child().log();

   ASSERT_GE(took.size(), 20u);
   std::sort(took.begin(), took.end());
   EXPECT_LE(std::chrono::nanoseconds(took[(took.size() - 1) * 99 / 100]), pingBound());
}

TEST(Fairness, bulksGoOnWhileTheConsoleReadsWithoutPause) {
   const TempDir directory("orv-fairness-");
   Daemon daemon(programPath("orvsdkrpcd"), directory.path());
   daemon.start();
   Controller controller(daemon.address());
   controller.init();
   pb::ip_route_bulk_msg bulk;
   for (std::uint32_t i = 0; i < demo::routesPerBulk; ++i)
      *bulk.add_bulk() = demo::route(i);
   requireAllOk(controller.routes(bulk), demo::routesPerBulk);

   std::atomic<bool> over{false};
   std::atomic<int> reads{0};
   std::thread reader([&] {
      Console console(daemon.consolePath());
      while (!over) {
         console.run("show ip route json");
         ++reads;
      }
   });
   const auto start = Clock::now();
   int bulks = 0;
   for (; Clock::now() - start < std::chrono::seconds(1) || bulks < 20 || reads < 5; ++bulks) {
      requireAllOk(controller.routes(bulk), demo::routesPerBulk);
   }
   over = true;
   reader.join();
   // A bulk takes about a millisecond; one that waited for whole listings would take tens.
   const auto perBulk = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start) / bulks;
   EXPECT_LE(perBulk, pingBound());
   EXPECT_EQ(daemon.terminate(), (Ending{.exitCode = 0})) << daemon.child().log();
}

}  // namespace
}  // namespace orvtest
