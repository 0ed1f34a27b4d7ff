#include "platform/state/PbrCounters.h"

#include <gtest/gtest.h>

#include "platform/zelt/Anchors.h"

namespace {

TEST(PbrCountersTest, keysThatDifferInAnyPartAreOthers) {
   const PbrCountersKey key{"p", "s", "c", "r"};
   EXPECT_EQ(key, PbrCountersKey(key));
   EXPECT_EQ(key.hash(), PbrCountersKey(key).hash());
   for (const PbrCountersKey& other : {PbrCountersKey{"x", "s", "c", "r"}, PbrCountersKey{"p", "x", "c", "r"},
                                       PbrCountersKey{"p", "s", "x", "r"}, PbrCountersKey{"p", "s", "c", "x"},
                                       PbrCountersKey{"s", "p", "c", "r"}}) {
      EXPECT_NE(key, other);
      EXPECT_NE(key.hash(), other.hash());
   }
}

TEST(PbrCountersTest, aDamagedRowIsNoticed) {
   const auto table = Pavo::makePtr<Pbr::CounterTable>("counters");
   const Zelt::ActivityLockAnchor lock;
   const PbrCountersKey key{"p", "", "c", "10"};
   table->rowIs(key, {.packets = 3, .bytes = 300, .time = 1.5});
   EXPECT_EQ(table->find(key)->bytes, 300U);
   table->damageRow(key);
   EXPECT_THROW((void)table->find(key), Rillo::TableCorruption);
   EXPECT_NE((Pbr::CounterStatus{.packets = 1}).check(), (Pbr::CounterStatus{.bytes = 1}).check());
   EXPECT_NE((Pbr::CounterStatus{.time = 1}).check(), Pbr::CounterStatus{}.check());
}

TEST(PbrCountersTest, theFlagsAreBits) {
   constexpr PbrCountersEncodingFlags none;
   EXPECT_FALSE(none.longKey() || none.deleted());
   constexpr PbrCountersEncodingFlags first(1);
   EXPECT_TRUE(first.longKey());
   EXPECT_FALSE(first.deleted());
   constexpr PbrCountersEncodingFlags gone(2);
   EXPECT_FALSE(gone.longKey());
   EXPECT_TRUE(gone.deleted());
   EXPECT_EQ(sizeof(PbrCountersEncodingFlags), 1U);
}

}  // namespace
