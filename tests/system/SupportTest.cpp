// The helpers that the system tests build on.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>

#include "testing/base/TempDir.h"
#include "testing/process/Child.h"
#include "testing/process/SwitchView.h"

namespace orvtest {
namespace {

using namespace std::chrono_literals;
namespace pb = OrvSdkRpc::pb;

TEST(Child, tellsItsExitCode) {
   EXPECT_EQ(Child({"/bin/sh", "-c", "exit 7"}).wait(), (Ending{.exitCode = 7}));
}

TEST(Child, tellsTheSignalThatEndedIt) {
   Child child({"/bin/cat", "/dev/zero"}, "/dev/null");
   child.kill();
   EXPECT_EQ(child.wait(), (Ending{.exitCode = -1, .signal = SIGKILL}));
}

TEST(Child, keepsItsOutput) {
   const TempDir directory;
   Child child({"/bin/sh", "-c", "echo out; echo err >&2"}, directory / "log");
   child.wait();
   EXPECT_EQ(child.log(), "out\nerr\n");
}

TEST(Child, aMissingProgramIsAnError) {
   EXPECT_THROW(Child({"/no/such/program"}), std::system_error);
}

TEST(Child, waitForEndsAtItsLimit) {
   Child child({"/bin/cat", "/dev/zero"}, "/dev/null");
   EXPECT_EQ(child.waitFor(1ms), std::nullopt);
   EXPECT_TRUE(child.running());
}

TEST(TempDir, goesWithItsOwner) {
   std::string path;
   {
      const TempDir directory;
      path = directory.path();
      EXPECT_TRUE(std::filesystem::is_directory(path));
   }
   EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(TempDir, isKeptOnDemand) {
   std::string path;
   {
      TempDir directory;
      directory.keepIs(true);
      path = directory.path();
   }
   EXPECT_TRUE(std::filesystem::remove(path));
}

TEST(SwitchView, prefixText) {
   pb::ip_prefix_msg prefix;
   prefix.mutable_network()->set_address(std::string("\xc0\x00\x02\x00", 4));
   prefix.set_prefix_length(24);
   EXPECT_EQ(prefixText(prefix), "192.0.2.0/24");
   prefix.mutable_network()->set_address(std::string("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\0", 16));
   prefix.set_prefix_length(32);
   EXPECT_EQ(prefixText(prefix), "2001:db8::/32");
}

TEST(SwitchView, anEntryFillsAsManySlotsAsItsWeight) {
   pb::nexthop_group_msg group;
   auto& nexthop = *group.add_nexthops();
   nexthop.set_intf("Ethernet1");
   nexthop.set_weight(2);
   group.add_nexthops()->set_intf("Ethernet2");
   const auto entries = entriesOf(group);
   ASSERT_EQ(entries.size(), 2u);
   EXPECT_EQ(entries[0], entries[1]);
}

}  // namespace
}  // namespace orvtest
