// A small request that describes a very large group.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/process/Controller.h"
#include "testing/process/Daemon.h"

namespace orvtest {
namespace {

// The most memory that the process has ever had, in MiB.
long peakOf(pid_t pid) {
   std::ifstream status("/proc/" + std::to_string(pid) + "/status");
   for (std::string word; status >> word;) {
      long kibibytes = 0;
      if (word == "VmHWM:" && status >> kibibytes) return kibibytes / 1024;
   }
   return -1;
}

// Each slot with a stack of its own would take twenty gigabytes.
TEST(LargeGroup, aLongStackTimesALargeWeightTakesLittleMemory) {
   const TempDir directory;
   Daemon daemon(programPath("orvsdkrpcd"), directory.path());
   daemon.start();
   Controller controller(daemon.address());
   controller.init();

   pb::nexthop_group_bulk_msg bulk;
   auto& group = *bulk.add_bulk();
   group.set_name("g");
   group.set_type(pb::NEXTHOP_GROUP_TYPE_MPLS);
   auto& nexthop = *group.add_nexthops();
   for (std::uint32_t label = 0; label < 10'000; ++label)
      nexthop.add_mpls_labels(16 + label);
   nexthop.mutable_address()->set_address(std::string("\xc0\0\2\1", 4));
   nexthop.set_weight(65'536);
   const auto statuses = controller.groups(bulk);
   ASSERT_EQ(statuses.size(), 1U);

   // Taken or refused, the daemon is well and answers.
   group.set_name("small");
   nexthop.set_weight(1);
   nexthop.mutable_mpls_labels()->Truncate(2);
   requireAllOk(controller.groups(bulk), 1);
   const long peak = peakOf(daemon.child().pid());
   EXPECT_GT(peak, 0);
   EXPECT_LT(peak, 1024 * slowdown());
   EXPECT_EQ(daemon.terminate(std::chrono::seconds(30) * slowdown()), (Ending{.exitCode = 0}));
}

}  // namespace
}  // namespace orvtest
