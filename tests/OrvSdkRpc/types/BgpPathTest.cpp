#include "OrvSdkRpc/types/BgpPath.h"

#include "Conversions.h"
#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "testing/values/GenerateStatus.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

TEST(BgpPathTest, theStageOfAQueryIsHandedOnUnchecked) {
   EXPECT_EQ(convert(remote::BgpPathOptions()), orv::bgp_path_options_t());
   for (const std::uint32_t stage : {0U, 1U, 2U, 3U, 256U, 4294967295U}) {
      remote::BgpPathOptions message;
      message.set_receive_route_stage(stage);
      EXPECT_EQ(static_cast<std::uint32_t>(convert(message).receive_route_stage()), stage);
   }
}

TEST(BgpPathTest, theAttributesOfAQuery) {
   for (const bool nextHop : {false, true}) {
      for (const bool communityList : {false, true}) {
         remote::BgpPathOptions message;
         message.mutable_path_attr_fields()->set_next_hop(nextHop);
         message.mutable_path_attr_fields()->set_community_list(communityList);
         const orv::bgp_path_attr_fields_t fields = convert(message).path_attr_fields();
         EXPECT_EQ(fields.next_hop(), nextHop);
         EXPECT_EQ(fields.community_list(), communityList);
      }
   }
}

TEST(BgpPathTest, everyFieldOfAPathArrives) {
   for (std::uint64_t seed = 1; seed <= roundTripSeeds; ++seed) {
      SCOPED_TRACE(seed);
      orvtest::ValueSource source(seed);
      const auto path = orvtest::generate<orv::bgp_path_t>(source);
      const remote::BgpPath message = convert(path);
      EXPECT_EQ(convert(message.path_key()), path.path_key());
      const remote::BgpPathAttrs& attr = message.path_attr();
      EXPECT_EQ(OrvSdkRpc::types::ip_addr(attr.next_hop()), path.path_attr().next_hop());
      EXPECT_EQ(attr.origin(), path.path_attr().origin());
      EXPECT_EQ(attr.med(), path.path_attr().med());
      EXPECT_EQ(attr.local_pref(), path.path_attr().local_pref());
      EXPECT_EQ(std::vector<std::uint32_t>(attr.community_list().begin(), attr.community_list().end()),
                path.path_attr().community_list());
   }
}

TEST(BgpPathTest, subMessagesAreThereAlways) {
   const remote::BgpPath message = convert(orv::bgp_path_t());
   EXPECT_TRUE(message.has_path_key());
   EXPECT_TRUE(message.has_path_attr());
   EXPECT_EQ(message.path_attr().next_hop(), "");
}

TEST(BgpPathTest, anAddressOfAnUnknownFamilyDoesNotGoOut) {
   orv::bgp_path_attr_t attr;
   attr.next_hop_is(orv::ip_addr_t(5, nullptr));
   EXPECT_EQ(refusalOf([&] { convert(attr); }), invalidArgument("Unknown address family: 5"));
   const orv::bgp_path_t path(orv::bgp_path_key_t(orv::ip_addr_t(7, nullptr), "", {}), attr);
   EXPECT_EQ(refusalOf([&] { convert(path); }), invalidArgument("Unknown address family: 7"));
}

}  // namespace
