#include "softswitch/managers/group_sweep.h"

#include <gtest/gtest.h>

namespace softswitch {
namespace {

class Sweep final : public GroupSweep {
public:
   explicit Sweep(const Names& names) : GroupSweep(names) {}
   using GroupSweep::groupChanged;
   using GroupSweep::swept;
   int sweeps = 0;

private:
   void sweep() override { ++sweeps; }
};

TEST(GroupSweepTest, aWalkIsForGroupsThatRoutesName) {
   Names names;
   Sweep sweep(names);
   const auto group = names.hold("g");
   sweep.groupProgrammed(group, true);
   EXPECT_EQ(sweep.sweeps, 0) << "nobody but the group holds its name";
   names.hold(group);
   sweep.groupProgrammed(group, false);
   EXPECT_EQ(sweep.sweeps, 0) << "hardware had it already";
   EXPECT_FALSE(sweep.groupChanged(group));
   sweep.groupProgrammed(group, true);
   EXPECT_EQ(sweep.sweeps, 1);
   EXPECT_TRUE(sweep.groupChanged(group));
   EXPECT_FALSE(sweep.groupChanged(Names::none));
   EXPECT_FALSE(sweep.groupChanged(group + 1));
   sweep.swept();
   EXPECT_FALSE(sweep.groupChanged(group));
   // The group has been deleted, but a route still names it.
   names.drop(group);
   sweep.groupGone(group);
   EXPECT_EQ(sweep.sweeps, 2);
   names.drop(group);
   sweep.groupGone(group);
   EXPECT_EQ(sweep.sweeps, 2);
}

}  // namespace
}  // namespace softswitch
