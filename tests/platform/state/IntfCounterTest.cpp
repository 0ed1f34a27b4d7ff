#include "platform/state/IntfCounter.h"

#include <gtest/gtest.h>

#include <cstring>

namespace Interface {
namespace {

TEST(IntfCounterTest, ratesAreEqualWhenAllOfThemAre) {
   EXPECT_TRUE(IntfRates().isEq({}));
   EXPECT_FALSE(IntfRates({.outPktsRate = 1}).isEq({}));
   EXPECT_FALSE(IntfRates({.inPktsRate = 1}).isEq({}));
   EXPECT_FALSE(IntfRates({.outBitsRate = 1}).isEq({}));
   EXPECT_FALSE(IntfRates({.inBitsRate = 1}).isEq({}));
   EXPECT_FALSE(IntfRates({.sampleTime = 1}).isEq({}));
}

TEST(IntfCounterTest, theCheckShowsEverySingleBit) {
   IntfCounter counter{.statistics = {.outUcastPkts = 5, .sampleTime = 2.5}, .rates = {.inBitsRate = 1e9}};
   const auto right = counter.check();
   EXPECT_EQ(IntfCounter(counter).check(), right);
   auto* const bytes = reinterpret_cast<unsigned char*>(&counter);
   for (std::size_t bit = 0; bit < 8 * sizeof counter; ++bit) {
      bytes[bit / 8] = static_cast<unsigned char>(bytes[bit / 8] ^ (1U << bit % 8));
      EXPECT_NE(counter.check(), right) << bit;
      bytes[bit / 8] = static_cast<unsigned char>(bytes[bit / 8] ^ (1U << bit % 8));
   }
   EXPECT_EQ(counter.check(), right);
}

}  // namespace
}  // namespace Interface
