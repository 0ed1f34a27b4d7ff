#include "orv/eth_phy_intf_types.h"

#include <gtest/gtest.h>

#include <set>

#include "Regular.h"

namespace {

using orv::eth_link_speed_t;

TEST(EthPhyIntfTypesTest, everySpeedHasANameOfItsOwn) {
   std::set<std::string> names;
   for (int i = 0; i <= 14; ++i)
      names.insert(orv::to_string(static_cast<eth_link_speed_t>(i)));
   EXPECT_EQ(names.size(), 15U);
   sdk_test::expectText(eth_link_speed_t::unknown, "unknown");
   sdk_test::expectText(static_cast<eth_link_speed_t>(15), "15");
}

}  // namespace
