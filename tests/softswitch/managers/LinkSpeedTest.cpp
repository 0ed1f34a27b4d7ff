#include "softswitch/managers/link_speed.h"

#include <gtest/gtest.h>

namespace softswitch {
namespace {

using orv::eth_link_speed_t;

TEST(LinkSpeed, numbersAndMembersGoBothWaysAndRise) {
   std::uint64_t before = 0;
   for (int i = 1; i <= 14; ++i) {
      const auto speed = static_cast<eth_link_speed_t>(i);
      EXPECT_GT(orv::bits_per_second(speed), before);
      before = orv::bits_per_second(speed);
      EXPECT_EQ(linkSpeed(before), speed);
   }
   EXPECT_EQ(orv::bits_per_second(eth_link_speed_t::speed_2p5gb), 2'500'000'000u);
   EXPECT_EQ(orv::bits_per_second(eth_link_speed_t::speed_1600gb), 1'600'000'000'000u);
   EXPECT_EQ(orv::bits_per_second(eth_link_speed_t::unknown), 0u);
   EXPECT_EQ(orv::bits_per_second(static_cast<eth_link_speed_t>(15)), 0u);
   EXPECT_EQ(linkSpeed(0), eth_link_speed_t::unknown);
   EXPECT_EQ(linkSpeed(42), eth_link_speed_t::unknown);
}

TEST(LinkSpeed, operatorsWriteItShort) {
   EXPECT_EQ(linkSpeedFromText("100G"), eth_link_speed_t::speed_100gb);
   EXPECT_EQ(linkSpeedFromText("100g"), eth_link_speed_t::speed_100gb);
   EXPECT_EQ(linkSpeedFromText("2.5G"), eth_link_speed_t::speed_2p5gb);
   EXPECT_EQ(linkSpeedFromText("1.6t"), eth_link_speed_t::speed_1600gb);
   EXPECT_EQ(linkSpeedFromText(""), std::nullopt);
   EXPECT_EQ(linkSpeedFromText("9G"), std::nullopt);
   EXPECT_EQ(linkSpeedNames(), "10M, 100M, 1G, 2.5G, 5G, 10G, 25G, 40G, 50G, 100G, 200G, 400G, 800G or 1.6T");
}

}  // namespace
}  // namespace softswitch
