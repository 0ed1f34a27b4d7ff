#include "orv/eth_lag_intf_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using orv::eth_lag_intf_fallback_type_t;
using orv::eth_lag_intf_member_lacp_mode_t;
using orv::eth_lag_intf_member_lacp_timeout_t;
using orv::eth_lag_intf_membership_t;
using orv::eth_lag_intf_t;
using orv::intf_id_t;

TEST(EthLagIntfTypesTest, enumeratorsHaveNames) {
   sdk_test::expectNamed<eth_lag_intf_fallback_type_t>(3);
   sdk_test::expectNamed<eth_lag_intf_member_lacp_mode_t>(3);
   sdk_test::expectNamed<eth_lag_intf_member_lacp_timeout_t>(2);
   sdk_test::expectText(eth_lag_intf_fallback_type_t::static_member, "static-member");
   sdk_test::expectText(eth_lag_intf_member_lacp_timeout_t::short_timeout, "short-timeout");
}

TEST(EthLagIntfTypesTest, everyFieldCounts) {
   const intf_id_t lag("Port-Channel1");
   sdk_test::expectEveryFieldCounts<eth_lag_intf_t>(
        {},
        {[&](auto& l) { l.intf_is(lag); }, [](auto& l) { l.speed_is(1); }, [](auto& l) { l.min_links_is(1); },
         [](auto& l) { l.fallback_type_is(eth_lag_intf_fallback_type_t::individual); },
         [](auto& l) { l.fallback_timeout_is(1); }, [](auto& l) { l.fallback_timeout_default_is(1); },
         [](auto& l) { l.min_speed_is(1); }});
   sdk_test::expectEveryFieldCounts<eth_lag_intf_membership_t>(
        {}, {[&](auto& m) { m.eth_lag_intf_id_is(lag); }, [](auto& m) { m.active_is(true); },
             [](auto& m) { m.reason_is("a"); }, [](auto& m) { m.member_time_is(0.5); },
             [](auto& m) { m.mode_is(eth_lag_intf_member_lacp_mode_t::active); }});
   EXPECT_EQ(eth_lag_intf_t(lag).intf(), lag);
   sdk_test::expectText(eth_lag_intf_membership_t(lag),
                        "eth_lag_intf_membership_t(eth_lag_intf_id=Port-Channel1, active=false, reason='', "
                        "member_time=0, mode=undefined)");
}

}  // namespace
