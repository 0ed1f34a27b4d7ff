#include "orv/range.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

TEST(RangeTest, holdsWhatItIsGiven) {
   orv::port_range_t range;
   EXPECT_EQ(range.range_start(), 0U);
   EXPECT_EQ(range.range_end(), 0U);
   range.range_start_is(70000);
   range.range_end_is(5);
   EXPECT_EQ(range, orv::port_range_t(70000, 5));
   sdk_test::expectText(range, "70000-5");
   sdk_test::expectText(orv::protocol_range_t(6, 17), "6-17");
}

TEST(RangeTest, ordersByStartThenEnd) {
   sdk_test::expectRising<orv::protocol_range_t>({{0, 0}, {0, 5}, {1, 2}, {1, 3}, {2, 0}});
   sdk_test::expectEveryFieldCounts<orv::port_range_t>(
        {1, 2}, {[](auto& r) { r.range_start_is(3); }, [](auto& r) { r.range_end_is(3); }});
}

TEST(RangeTest, portsAndProtocolsAreTwoTypes) {
   EXPECT_FALSE((std::is_same_v<orv::port_range_t, orv::protocol_range_t>));
   EXPECT_FALSE((std::is_convertible_v<orv::port_range_t, orv::protocol_range_t>));
}

}  // namespace
