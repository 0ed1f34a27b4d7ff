#include "orv/sbfd_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using Key = orv::sbfd_echo_session_key_t;
using orv::intf_id_t;
using orv::ip_addr_t;
using orv::mpls_label_t;

TEST(SbfdTypesTest, everyPartOfAKeyCounts) {
   const Key key(ip_addr_t("10.0.0.1"), intf_id_t("Ethernet1"), {mpls_label_t(1), mpls_label_t(2)}, 255, 7);
   EXPECT_EQ(key.dscp(), 255);
   EXPECT_EQ(key.mpls_exp(), 7);
   sdk_test::expectText(
        key,
        "sbfd_echo_session_key_t(nexthop=10.0.0.1, nexthop_intf=Ethernet1, label_stack=[1, 2], "
        "dscp=255, mpls_exp=7)");
   const auto with = [](const char* hop, const char* intf, std::vector<mpls_label_t> stack, std::uint8_t dscp,
                        std::uint8_t exp) {
      return [=](Key& k) { k = Key(ip_addr_t(hop), intf_id_t(intf), stack, dscp, exp); };
   };
   const std::vector<mpls_label_t> both{mpls_label_t(1), mpls_label_t(2)};
   sdk_test::expectEveryFieldCounts<Key>(
        key, {with("10.0.0.2", "Ethernet1", both, 255, 7), with("10.0.0.1", "Ethernet2", both, 255, 7),
              with("10.0.0.1", "Ethernet1", {mpls_label_t(2), mpls_label_t(1)}, 255, 7),
              with("10.0.0.1", "Ethernet1", {}, 255, 7), with("10.0.0.1", "Ethernet1", both, 254, 7),
              with("10.0.0.1", "Ethernet1", both, 255, 6)});
   sdk_test::expectRising<Key>({Key(), Key(ip_addr_t("10.0.0.1"), intf_id_t("Ethernet2"), {}, 0, 0),
                                Key(ip_addr_t("10.0.0.1"), intf_id_t("Ethernet10"), {}, 0, 0),
                                Key(ip_addr_t("10.0.0.1"), intf_id_t("Ethernet10"), both, 0, 0),
                                Key(ip_addr_t("10.0.0.1"), intf_id_t("Ethernet10"), both, 0, 1),
                                Key(ip_addr_t("10.0.0.1"), intf_id_t("Ethernet10"), both, 1, 0)});
}

TEST(SbfdTypesTest, intervalAndRoundTripTimes) {
   sdk_test::expectEveryFieldCounts<orv::sbfd_interval_t>(
        {300, 3}, {[](auto& i) { i.min_tx_is(65535); }, [](auto& i) { i.multiplier_is(255); }});
   sdk_test::expectEveryFieldCounts<orv::sbfd_echo_session_rtt_stats_t>(
        {}, {[](auto& s) { s.last_rtt_is(1); }, [](auto& s) { s.min_rtt_is(1); },
             [](auto& s) { s.avg_rtt_is(1); }, [](auto& s) { s.max_rtt_is(1); },
             [](auto& s) { s.snapshot_min_rtt_is(1); }, [](auto& s) { s.snapshot_avg_rtt_is(1); },
             [](auto& s) { s.snapshot_max_rtt_is(1); }});
}

}  // namespace
