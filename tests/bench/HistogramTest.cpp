#include "Histogram.h"

#include <gtest/gtest.h>

namespace bench {
namespace {

TEST(Histogram, emptyHasNoQuantile) {
   EXPECT_EQ(Histogram().quantile(0.5), 0u);
}

TEST(Histogram, smallValuesAreExact) {
   Histogram histogram;
   for (std::uint64_t value = 0; value < 10; ++value)
      histogram.add(value);
   EXPECT_EQ(histogram.count(), 10u);
   EXPECT_EQ(histogram.quantile(0.5), 5u);
   EXPECT_EQ(histogram.quantile(1), 9u);
}

TEST(Histogram, quantileIsAnUpperBoundWithinOneStep) {
   for (const std::uint64_t value : {63ull, 64ull, 1000ull, 84'000ull, 1'000'000ull, 123'456'789'012ull}) {
      Histogram histogram;
      histogram.add(value);
      EXPECT_GE(histogram.quantile(0.99), value);
      EXPECT_LE(static_cast<double>(histogram.quantile(0.99)), static_cast<double>(value) * 1.016 + 1);
   }
}

TEST(Histogram, theTailIsSeenAtItsShare) {
   Histogram histogram;
   for (int i = 0; i < 990; ++i)
      histogram.add(10);
   for (int i = 0; i < 10; ++i)
      histogram.add(50);
   EXPECT_EQ(histogram.quantile(0.5), 10u);
   EXPECT_EQ(histogram.quantile(0.98), 10u);
   EXPECT_EQ(histogram.quantile(0.99), 50u);
}

TEST(Histogram, holdsTheLargestValue) {
   Histogram histogram;
   histogram.add(~std::uint64_t{0});
   EXPECT_EQ(histogram.quantile(0.5), ~std::uint64_t{0});
}

}  // namespace
}  // namespace bench
