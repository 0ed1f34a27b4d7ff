#include "platform/state/Fib.h"

#include <gtest/gtest.h>

#include "platform/state/NexthopGroupMap.h"

namespace {

using Rillo::Fib::FecId;

TEST(FibTest, theTypeIsInTheUpperEightBits) {
   EXPECT_EQ(FecId().value(), 0U);
   EXPECT_EQ(FecId().adjType(), 0);
   const FecId fec(0x1a00'0000'0000'0007);
   EXPECT_EQ(fec.value(), 0x1a00'0000'0000'0007U);
   EXPECT_EQ(fec.adjType(), 26);
   EXPECT_LT(fec.adjType(), Rillo::Fib::adjTypeMax());
   EXPECT_EQ(FecId(~std::uint64_t{0}).adjType(), 255);
   EXPECT_EQ(fmt::format("{}", FecId(7)), "7");
   EXPECT_LT(FecId(6), FecId(7));
   EXPECT_EQ(std::hash<FecId>()(FecId(7)), std::hash<FecId>()(FecId(7)));
}

TEST(FibTest, aGroupHasAFecAndTheFecTheGroup) {
   using NexthopGroup::fecIdToNexthopGroupId;
   using NexthopGroup::nexthopGroupIdToFecId;
   EXPECT_EQ(nexthopGroupIdToFecId(5), FecId(0x0300'0000'0000'0005));
   for (const NexthopGroup::NexthopGroupId id : {0ULL, 1ULL, 65536ULL, 0x00ff'ffff'ffff'ffffULL}) {
      EXPECT_EQ(nexthopGroupIdToFecId(id).adjType(), Rillo::Fib::adjTypeNexthopGroup);
      EXPECT_EQ(fecIdToNexthopGroupId(nexthopGroupIdToFecId(id)), id);
   }
}

}  // namespace
