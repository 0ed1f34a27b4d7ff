#include "OrvSdkRpc/types/EthLagIntf.h"

#include "Conversions.h"
#include "testing/values/GenerateStatus.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

TEST(EthLagIntfTest, everyFieldOfALagArrives) {
   for (std::uint64_t seed = 1; seed <= roundTripSeeds; ++seed) {
      SCOPED_TRACE(seed);
      orvtest::ValueSource source(seed);
      const auto lag = orvtest::generate<orv::eth_lag_intf_t>(source);
      const remote::EthLagIntf message = convert(lag);
      EXPECT_TRUE(message.has_intf());
      EXPECT_EQ(message.intf().name(), lag.intf().to_string());
      EXPECT_EQ(message.speed(), lag.speed());
      EXPECT_EQ(message.min_links(), lag.min_links());
      EXPECT_EQ(static_cast<int>(message.fallback_type()), static_cast<int>(lag.fallback_type()));
      EXPECT_EQ(message.fallback_timeout(), lag.fallback_timeout());
      EXPECT_EQ(message.fallback_timeout_default(), lag.fallback_timeout_default());
      EXPECT_EQ(message.min_speed(), lag.min_speed());
   }
}

TEST(EthLagIntfTest, everyFieldOfAMembershipArrives) {
   for (std::uint64_t seed = 1; seed <= roundTripSeeds; ++seed) {
      SCOPED_TRACE(seed);
      orvtest::ValueSource source(seed);
      const auto membership = orvtest::generate<orv::eth_lag_intf_membership_t>(source);
      const remote::EthLagIntfMembership message = convert(membership);
      EXPECT_TRUE(message.has_eth_lag_intf_id());
      EXPECT_EQ(message.eth_lag_intf_id().name(), membership.eth_lag_intf_id().to_string());
      EXPECT_EQ(message.active(), membership.active());
      EXPECT_EQ(message.reason(), membership.reason());
      EXPECT_EQ(message.member_time(), membership.member_time());
      EXPECT_EQ(static_cast<int>(message.mode()), static_cast<int>(membership.mode()));
   }
}

TEST(EthLagIntfTest, whatTheWireDoesNotKnowIsRefused) {
   orv::eth_lag_intf_t lag;
   lag.fallback_type_is(static_cast<orv::eth_lag_intf_fallback_type_t>(4));
   EXPECT_EQ(refusalOf([&] { convert(lag); }), unsupported("unknown fallback type 4"));
   orv::eth_lag_intf_membership_t membership;
   membership.mode_is(static_cast<orv::eth_lag_intf_member_lacp_mode_t>(4));
   EXPECT_EQ(refusalOf([&] { convert(membership); }), unsupported("unknown LACP member mode 4"));
}

}  // namespace
