#include "platform/state/IntfId.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace Lumic {
namespace {

TEST(IntfIdTest, idsOfOneNameAreOne) {
   const std::string name = "Ethernet1";
   EXPECT_EQ(IntfId(name), IntfId("Ethernet1"));
   EXPECT_NE(IntfId("Ethernet1"), IntfId("Ethernet2"));
   EXPECT_EQ(IntfId("Ethernet1").name(), name);
   EXPECT_EQ(std::hash<IntfId>()(IntfId(name)), std::hash<IntfId>()(IntfId("Ethernet1")));
   EXPECT_TRUE(IntfId(name));
   EXPECT_LT(IntfId("Ethernet1"), IntfId("Ethernet2"));
}

TEST(IntfIdTest, namesAreNumberedInTheOrderOfTheirFirstUse) {
   // Names are kept until the process ends, so each run of this test uses new ones.
   static int run = 0;
   const std::string name = "Numbered" + std::to_string(++run);
   const IntfId first(name);
   const IntfId second(name + "/1");
   EXPECT_EQ(second.index(), first.index() + 1);
   EXPECT_EQ(IntfId(name).index(), first.index());
}

TEST(IntfIdTest, theEmptyNameIsNone) {
   EXPECT_FALSE(IntfId());
   EXPECT_EQ(IntfId(""), IntfId());
   EXPECT_EQ(IntfId().name(), "");
   EXPECT_FALSE(InternalIntfId::isInternalIntfId(IntfId()));
}

TEST(IntfIdTest, knowsTheInterfacesThatAreNobodysBusiness) {
   EXPECT_TRUE(InternalIntfId::isInternalIntfId(IntfId("Internal1")));
   EXPECT_TRUE(PeerEthIntfId::isPeerEthIntfId(IntfId("PeerEthernet1")));
   EXPECT_TRUE(PeerEthIntfId::isPeerEthIntfId(IntfId("PeerEthernet3/1")));
   EXPECT_TRUE(PeerPortChannelIntfId::isPeerPortChannelIntfId(IntfId("PeerLag7")));
   for (const char* name : {"Ethernet1", "Internal", "Internal1/1", "InternalX", "PeerEthernet",
                            "PeerEthernet/1", "PeerEthernet1//2", "PeerLag1/1", "Peer1", "MyInternal1"}) {
      SCOPED_TRACE(name);
      EXPECT_FALSE(InternalIntfId::isInternalIntfId(IntfId(name)));
      EXPECT_FALSE(PeerEthIntfId::isPeerEthIntfId(IntfId(name)));
      EXPECT_FALSE(PeerPortChannelIntfId::isPeerPortChannelIntfId(IntfId(name)));
   }
}

}  // namespace
}  // namespace Lumic
