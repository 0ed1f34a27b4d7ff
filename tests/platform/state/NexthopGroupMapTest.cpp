#include "platform/state/NexthopGroupMap.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "testing/platform/Loop.h"

namespace NexthopGroup {
namespace {

TEST(NexthopGroupMapTest, aNumberWithoutAGroupHasTheEmptyName) {
   const auto map = Pavo::makePtr<NexthopGroupMap>("groups");
   EXPECT_EQ(map->name(5), "");
   map->rowIs(5, "g");
   EXPECT_EQ(map->name(5), "g");
   EXPECT_EQ(map->name(6), "");
   map->rowIs(5, "h");
   EXPECT_EQ(map->name(5), "h");
   map->rowDel(5);
   EXPECT_EQ(map->name(5), "");
}

TEST(NexthopGroupMapTest, aReaderIsToldOfEachNumberThatChanges) {
   const auto map = Pavo::makePtr<NexthopGroupMap>("groups");
   orvtest::Loop loop;
   std::vector<std::string> told;
   map->rowIs(5, "g");
   const auto reaction = map->reactorIs(
        [&](NexthopGroupId id) { told.push_back(fmt::format("{} {}", id, map->name(id))); }, loop.scheduler);
   loop.drain();
   EXPECT_THAT(std::exchange(told, {}), testing::ElementsAre("5 g"));
   map->rowIs(5, "h");
   map->rowIs(6, "g");
   loop.drain();
   EXPECT_THAT(std::exchange(told, {}), testing::ElementsAre("5 h", "6 g"));
   map->rowDel(5);
   loop.drain();
   EXPECT_THAT(told, testing::ElementsAre("5 "));
}

}  // namespace
}  // namespace NexthopGroup
