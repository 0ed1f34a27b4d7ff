#include "orv/mpls_label.h"

#include <gtest/gtest.h>

#include "Regular.h"
#include "orv/error.h"

namespace {

using orv::mpls_label_t;

TEST(MplsLabelTest, theDefaultIsTheNullLabelAndNotLabelZero) {
   EXPECT_TRUE(!mpls_label_t());
   EXPECT_EQ(mpls_label_t().label(), 1048576U);
   EXPECT_EQ(mpls_label_t(), mpls_label_t(1048576));
   EXPECT_NE(mpls_label_t(), mpls_label_t(0));
   EXPECT_FALSE(!mpls_label_t(0));
   sdk_test::expectText(mpls_label_t(), "null");
}

TEST(MplsLabelTest, takesTwentyBitsAndRefusesWhatIsAboveTheNullLabel) {
   for (const std::uint32_t good : {0U, 3U, 16U, 1048575U}) {
      EXPECT_EQ(mpls_label_t(good).label(), good);
      sdk_test::expectText(mpls_label_t(good), std::to_string(good));
   }
   for (const std::uint32_t bad : {1048577U, 4294967295U}) {
      EXPECT_EQ(sdk_test::errorText<orv::invalid_range_error>([&] { mpls_label_t{bad}; }),
                "MPLS label " + std::to_string(bad) + " is out of range, expected 0 to 1048575");
   }
}

TEST(MplsLabelTest, ordersByNumberWithTheNullLabelLast) {
   sdk_test::expectRising<mpls_label_t>(
        {mpls_label_t(0), mpls_label_t(3), mpls_label_t(1048575), mpls_label_t()});
   EXPECT_NE(mpls_label_t(1).hash(), mpls_label_t(2).hash());
}

TEST(MplsFecIdTest, zeroStandsForNone) {
   EXPECT_TRUE(!orv::mpls_fec_id_t());
   EXPECT_TRUE(!orv::mpls_fec_id_t(0));
   const orv::mpls_fec_id_t fec(0x0300000000000001ULL);
   EXPECT_FALSE(!fec);
   EXPECT_EQ(fec.id(), 0x0300000000000001ULL);
   sdk_test::expectText(fec, "216172782113783809");
   sdk_test::expectRising<orv::mpls_fec_id_t>({orv::mpls_fec_id_t(), orv::mpls_fec_id_t(1), fec});
   EXPECT_NE(fec.hash(), orv::mpls_fec_id_t(1).hash());
}

}  // namespace
