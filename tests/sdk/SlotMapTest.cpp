#include "orv/slot_map.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Map = orv::slot_map<std::string>;

std::string flat(const Map& map) {
   std::string out;
   for (const auto& [slot, value] : map)
      out += std::to_string(slot) + value + " ";
   return out;
}

TEST(SlotMapTest, keepsSlotOrderWhateverTheOrderOfTheCalls) {
   Map map;
   EXPECT_TRUE(map.empty());
   for (const int slot : {5, 65535, 0, 7, 6})
      map.set(static_cast<std::uint16_t>(slot), "x");
   EXPECT_EQ(flat(map), "0x 5x 6x 7x 65535x ");
   EXPECT_EQ(map.size(), 5U);
}

TEST(SlotMapTest, setOverwritesAndInsertDoesNot) {
   Map map;
   map.set(1, "a");
   EXPECT_FALSE(map.insert(1, "b"));
   EXPECT_EQ(flat(map), "1a ");
   map.set(1, "c");
   EXPECT_EQ(flat(map), "1c ");
   EXPECT_TRUE(map.insert(0, "d"));
   EXPECT_EQ(flat(map), "0d 1c ");
}

TEST(SlotMapTest, findsAndErases) {
   Map map;
   map.set(3, "a");
   map.set(9, "b");
   ASSERT_NE(map.find(3), nullptr);
   EXPECT_EQ(*map.find(3), "a");
   EXPECT_EQ(map.find(4), nullptr);
   EXPECT_EQ(map.find(10), nullptr);
   EXPECT_TRUE(map.contains(9));
   EXPECT_TRUE(map.erase(3));
   EXPECT_FALSE(map.erase(3));
   EXPECT_FALSE(map.erase(10));
   EXPECT_EQ(flat(map), "9b ");
   map.clear();
   EXPECT_TRUE(map.empty());
}

TEST(SlotMapTest, comparesSlotsAndValues) {
   Map a;
   Map b;
   a.set(1, "x");
   b.set(2, "x");
   EXPECT_NE(a, b);
   b.erase(2);
   b.set(1, "y");
   EXPECT_NE(a, b);
   b.set(1, "x");
   EXPECT_EQ(a, b);
}

}  // namespace
