#include "platform/state/PbrCountersKeyCompressionTable.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

PbrCountersKey ofClass(const std::string& name) {
   return {"policy", "", name, ""};
}

std::vector<std::string> listed(const PbrCountersKeyCompressionTable& table) {
   std::vector<std::string> all;
   table.forEach([&](PbrCountersKeyCompressionTable::Id id, const PbrCountersKey& key) {
      all.push_back(std::to_string(id) + " " + key.className);
   });
   return all;
}

TEST(PbrCountersKeyCompressionTableTest, aKeyKeepsItsNumber) {
   PbrCountersKeyCompressionTable table;
   EXPECT_EQ(table.keyIs(ofClass("b")), std::pair(std::uint64_t{1}, true));
   EXPECT_EQ(table.keyIs(ofClass("a")), std::pair(std::uint64_t{2}, true));
   EXPECT_EQ(table.keyIs(ofClass("b")), std::pair(std::uint64_t{1}, false));
   EXPECT_EQ(table.size(), 2U);
   EXPECT_TRUE(table.contains(ofClass("a")));
   EXPECT_FALSE(table.contains(ofClass("c")));
   EXPECT_THAT(listed(table), testing::ElementsAre("1 b", "2 a"));
}

TEST(PbrCountersKeyCompressionTableTest, aNumberIsNeverUsedAgain) {
   PbrCountersKeyCompressionTable table;
   table.keyIs(ofClass("a"));
   EXPECT_EQ(table.keyDel(ofClass("a")), 1U);
   EXPECT_EQ(table.keyDel(ofClass("a")), std::nullopt);
   EXPECT_THAT(listed(table), testing::IsEmpty());
   EXPECT_EQ(table.keyIs(ofClass("a")), std::pair(std::uint64_t{2}, true));
}

TEST(PbrCountersKeyCompressionTableTest, manyKeysStayWhereTheyAre) {
   PbrCountersKeyCompressionTable table;
   for (int i = 0; i < 1000; ++i)
      table.keyIs(ofClass(std::to_string(i)));
   for (int i = 0; i < 1000; i += 2)
      table.keyDel(ofClass(std::to_string(i)));
   const auto all = listed(table);
   ASSERT_EQ(all.size(), 500U);
   EXPECT_EQ(all.front(), "2 1");
   EXPECT_EQ(all.back(), "1000 999");
}

}  // namespace
