#include "platform/state/MplsHardwareStatus.h"

#include <gmock/gmock.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "testing/platform/Loop.h"

namespace Mpls {
namespace {

// Bottom of the stack first.
RouteKey stack(std::initializer_list<std::uint32_t> labels) {
   RouteKey key;
   for (const std::uint32_t label : labels) {
      key.labelStackIs(Lumic::MplsStackEntryIndex(key.stackSize()), Lumic::MplsLabel(label));
      key.stackSizeIs(static_cast<std::uint8_t>(key.stackSize() + 1));
   }
   return key;
}

TEST(MplsRouteKeyTest, printsWithTheOutermostLabelFirst) {
   EXPECT_EQ(stack({}).to_string(), "");
   EXPECT_EQ(stack({100}).to_string(), "100");
   EXPECT_EQ(fmt::format("{}", stack({200, 100})), "100,200");
   // A size that the array does not have.
   RouteKey damaged = stack({1});
   damaged.stackSizeIs(255);
   EXPECT_THAT(damaged.to_string(), testing::EndsWith(",1048576,1"));
   EXPECT_EQ(damaged.hash(), RouteKey(damaged).hash());
}

TEST(MplsRouteKeyTest, keysThatDifferHaveHashesThatDiffer) {
   EXPECT_EQ(stack({1, 2}).hash(), stack({1, 2}).hash());
   EXPECT_NE(stack({1, 2}).hash(), stack({2, 1}).hash());
   EXPECT_NE(stack({1}).hash(), stack({1, 0}).hash());
   EXPECT_NE(stack({}), stack({0}));
   // The metric does not belong to the key.
   EXPECT_EQ(static_cast<const RouteKey&>(RouteKeyAndMetric(stack({1}), 5)), stack({1}));
   EXPECT_EQ(RouteKeyAndMetric(stack({1}), 5).hash(), stack({1}).hash());
}

Hardware::Route withVias(std::uint32_t vias) {
   Hardware::Route route;
   route.vias = vias;
   return route;
}

TEST(MplsHardwareStatusTest, aRowPrintsWhatItHas) {
   Hardware::Route route;
   route.key = RouteKeyAndMetric(stack({100}), 5);
   EXPECT_EQ(fmt::format("{}", route), "100 metric 5, vias 0");
   route.ackInfo = {.fecId = Rillo::Fib::FecId(7),
                    .routeVersion = 3,
                    .fecVersion = 4,
                    .hwState = Routing::Hardware::FecHwProgrammingState::success};
   route.unprogrammed = true;
   route.vias = 2;
   EXPECT_EQ(route.to_string(), "100 metric 5, FEC 7, version 3 over 4, state 1, unprogrammed, vias 2");
}

TEST(MplsHardwareStatusTest, aReaderGetsTheOldRowWithTheChange) {
   const auto table = Pavo::makePtr<Hardware::Status>("status");
   orvtest::Loop loop;
   std::vector<std::string> told;
   const auto reaction = table->changeReactorIs(
        [&](const RouteKey& key, const std::optional<Hardware::Route>& before) {
           const auto now = table->row(key);
           told.push_back(fmt::format("{}: {} to {}", key, before ? std::to_string(before->vias) : "none",
                                      now ? std::to_string(now->vias) : "none"));
        },
        loop.scheduler);
   table->rowIs(stack({100}), withVias(1));
   loop.drain();
   table->rowIs(stack({100}), withVias(2));
   table->rowIs(stack({100}), withVias(3));
   loop.drain();
   table->rowDel(stack({100}));
   loop.drain();
   EXPECT_THAT(told, testing::ElementsAre("100: none to 1", "100: 1 to 3", "100: 3 to none"));
}

}  // namespace
}  // namespace Mpls
