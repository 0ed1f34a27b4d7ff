#include "orv/nexthop_group_types.h"

#include <gtest/gtest.h>

#include "Regular.h"
#include "orv/nexthop_group_tunnel_types.h"

namespace {

using orv::ip_addr_t;
using orv::mpls_label_t;
using orv::nexthop_group_encap_t;
using orv::nexthop_group_entry_t;
using orv::nexthop_group_t;

orv::sbfd_echo_session_key_t session() {
   return {ip_addr_t("10.0.0.1"), orv::intf_id_t("Ethernet1"), {mpls_label_t(5)}, 1, 2};
}

TEST(NexthopGroupTypesTest, anActionKeepsTheOrderOfItsLabels) {
   orv::nexthop_group_mpls_action_t action(orv::mpls_action_t::push, {mpls_label_t(200), mpls_label_t(100)});
   sdk_test::expectText(action, "nexthop_group_mpls_action_t(action_type=push, label_stack=[200, 100])");
   sdk_test::expectEveryFieldCounts<orv::nexthop_group_mpls_action_t>(
        action,
        {[](auto& a) { a.action_type_is(orv::mpls_action_t::swap); },
         [](auto& a) {
            a.label_stack_is({mpls_label_t(100), mpls_label_t(200)});
         },
         [](auto& a) { a.label_stack_is({mpls_label_t(200)}); }, [](auto& a) { a.label_stack_is({}); }});
}

TEST(NexthopGroupTypesTest, anEntry) {
   const nexthop_group_entry_t entry(ip_addr_t("10.0.0.9"));
   EXPECT_EQ(entry.sbfd_session_key(), orv::sbfd_echo_session_key_t());
   sdk_test::expectEveryFieldCounts<nexthop_group_entry_t>(
        entry,
        {[](auto& e) { e.nexthop_is(ip_addr_t()); }, [](auto& e) { e.intf_is(orv::intf_id_t("Ethernet1")); },
         [](auto& e) {
            e.mpls_action_is({orv::mpls_action_t::pop, {}});
         },
         [](auto& e) { e.child_nexthop_group_is("g"); }, [](auto& e) { e.sbfd_session_key_is(session()); }});
}

TEST(NexthopGroupTypesTest, entriesWithEqualSessionsAreEqual) {
   nexthop_group_entry_t a(ip_addr_t("10.0.0.9"));
   nexthop_group_entry_t b = a;
   a.sbfd_session_key_is(session());
   EXPECT_NE(a, b);
   b.sbfd_session_key_is(session());
   EXPECT_EQ(a, b);
   EXPECT_EQ(a.hash(), b.hash());
   const nexthop_group_entry_t copy = a;
   a.sbfd_session_key_is({});
   EXPECT_EQ(a, nexthop_group_entry_t(ip_addr_t("10.0.0.9")));
   EXPECT_EQ(copy, b) << "a copy keeps its session";
}

TEST(NexthopGroupTypesTest, aGroup) {
   nexthop_group_t group("g", nexthop_group_encap_t::mpls);
   EXPECT_EQ(group.gre_key_type(), orv::nexthop_group_gre_key_t::none);
   EXPECT_EQ(group.ttl(), 64);
   EXPECT_TRUE(nexthop_group_t().name().empty());
   group.nexthop_set(0, nexthop_group_entry_t(ip_addr_t("10.0.0.1")));
   group.nexthop_set(0, nexthop_group_entry_t(ip_addr_t("10.0.0.2")));
   ASSERT_EQ(group.nexthops().size(), 1U);
   EXPECT_EQ(group.nexthops().find(0)->nexthop(), ip_addr_t("10.0.0.2"));
   const nexthop_group_entry_t entry(ip_addr_t("10.0.0.3"));
   sdk_test::expectEveryFieldCounts<nexthop_group_t>(
        group,
        {[](auto& g) { g = nexthop_group_t("h", nexthop_group_encap_t::mpls); },
         [](auto& g) { g.type_is(nexthop_group_encap_t::ip); },
         [](auto& g) { g.gre_key_type_is(orv::nexthop_group_gre_key_t::ingress_intf); },
         [](auto& g) { g.ttl_is(65); }, [](auto& g) { g.source_ip_is(ip_addr_t("10.0.0.1")); },
         [](auto& g) { g.source_intf_is(orv::intf_id_t("Loopback0")); }, [](auto& g) { g.autosize_is(true); },
         [&](auto& g) { g.nexthop_set(1, entry); }, [](auto& g) { g.nexthops_is({}); },
         [&](auto& g) { g.backup_nexthop_set(1, entry); },
         [](auto& g) { g.destination_ip_set(1, ip_addr_t("10.0.0.1")); },
         [](auto& g) { g.counters_unshared_is(true); }, [](auto& g) { g.counters_persistent_is(true); },
         [](auto& g) { g.hierarchical_fecs_enabled_is(true); }, [](auto& g) { g.version_id_is(1); }});
}

TEST(NexthopGroupTypesTest, countersAndStatus) {
   sdk_test::expectEveryFieldCounts<orv::nexthop_group_entry_counter_t>(
        {1, 1, true}, {[](auto& c) { c.packets_is(2); }, [](auto& c) { c.bytes_is(2); },
                       [](auto& c) { c.valid_is(false); }});
   EXPECT_FALSE(orv::nexthop_group_entry_counter_t().valid());
   using Hw = orv::nexthop_group_programmed_hw_state_t;
   using Counter = orv::nexthop_group_counter_state_t;
   sdk_test::expectEveryFieldCounts<orv::nexthop_group_programmed_status_t>(
        {Hw::success, Counter::success},
        {[](auto& s) { s.hw_state_is(Hw::failure); }, [](auto& s) { s.counter_state_is(Counter::failure); }});
}

TEST(NexthopGroupTypesTest, aTunnel) {
   sdk_test::expectEveryFieldCounts<orv::nexthop_group_tunnel_t>(
        {orv::ip_prefix_t("10.0.0.0/8"), "g"},
        {[](auto& t) { t.tunnel_endpoint_is(orv::ip_prefix_t("11.0.0.0/8")); },
         [](auto& t) { t.nhg_name_is("h"); }, [](auto& t) { t.igp_metric_is(1); }});
}

}  // namespace
