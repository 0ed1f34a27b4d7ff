#include "orv/mpls_route_types.h"

#include <gtest/gtest.h>

#include "Regular.h"
#include "orv/error.h"
#include "orv/mpls_vrf_label_types.h"

namespace {

using orv::mpls_label_t;
using orv::mpls_route_key_t;

mpls_route_key_t key(std::vector<std::uint32_t> labels, std::uint8_t metric = 0) {
   std::vector<mpls_label_t> out;
   for (const std::uint32_t l : labels)
      out.emplace_back(l);
   return {out, metric};
}

TEST(MplsRouteTypesTest, aKeyIsItsLabelsInOrderAndTheMetric) {
   EXPECT_EQ(mpls_route_key_t(mpls_label_t(100), 0), key({100}));
   EXPECT_EQ(mpls_route_key_t(mpls_label_t(100)), key({100}));
   EXPECT_TRUE(mpls_route_key_t().labels().empty());
   EXPECT_TRUE(!mpls_route_key_t().top_label());
   EXPECT_EQ(key({100, 200}).top_label(), mpls_label_t(100));
   EXPECT_EQ(key({100, 200}).labels()[1], mpls_label_t(200));
   EXPECT_NE(key({100, 200}), key({200, 100}));
   EXPECT_NE(key({100, 1048576}), key({100})) << "a null label in the stack is a label";
   sdk_test::expectText(key({100}), "100");
   sdk_test::expectText(key({100, 200}, 5), "100,200 metric 5");
   sdk_test::expectRising<mpls_route_key_t>({mpls_route_key_t(), key({0}), key({100}), key({100}, 1),
                                             key({100, 0}), key({100, 200}), key({100, 200}, 255), key({101}),
                                             key({1048576})});
   sdk_test::expectEveryFieldCounts<mpls_route_key_t>(
        key({100}), {[](auto& k) { k.metric_is(1); }, [](auto& k) { k = key({101}); },
                     [](auto& k) {
                        k = key({100, 100});
                     },
                     [](auto& k) {
                        k = key({100, 1048576});
                     }});
}

TEST(MplsRouteTypesTest, aKeyHoldsFourteenLabels) {
   const std::vector<std::uint32_t> most(mpls_route_key_t::labels_max, 7);
   EXPECT_EQ(most.size(), 14U);
   EXPECT_EQ(key(most).labels().size(), 14U);
   EXPECT_EQ(sdk_test::errorText<orv::invalid_range_error>([] { key(std::vector<std::uint32_t>(15, 7)); }),
             "number of labels of an MPLS route 15 is out of range, expected 0 to 14");
}

TEST(MplsRouteTypesTest, routes) {
   const orv::mpls_route_t route(key({100}));
   EXPECT_EQ(route.version_id(), 0);
   EXPECT_EQ(orv::mpls_route_t(key({100}), 9).version_id(), 9);
   sdk_test::expectText(route, "mpls_route_t(key=100, version_id=0)");
   sdk_test::expectEveryFieldCounts<orv::mpls_route_t>(
        route, {[](auto& r) { r.key_is(key({101})); }, [](auto& r) { r.version_id_is(1); }});
   sdk_test::expectEveryFieldCounts<orv::mpls_route_status_t>(
        orv::mpls_route_status_t(key({100})),
        {[](auto& r) { r.key_is(key({101})); }, [](auto& r) { r.fec_id_is(orv::mpls_fec_id_t(1)); },
         [](auto& r) { r.hw_version_id_is(1); }});
}

TEST(MplsRouteTypesTest, vias) {
   const orv::mpls_route_via_t via(key({100}));
   EXPECT_EQ(via.label_action(), orv::mpls_action_t::none);
   EXPECT_EQ(orv::mpls_route_via_t(key({100}), orv::mpls_action_t::pop).label_action(),
             orv::mpls_action_t::pop);
   EXPECT_TRUE(!via.pushswap_label());
   sdk_test::expectEveryFieldCounts<orv::mpls_route_via_t>(
        via,
        {[](auto& v) { v.route_key_is(key({101})); }, [](auto& v) { v.hop_is(orv::ip_addr_t("10.0.0.1")); },
         [](auto& v) { v.intf_is(orv::intf_id_t("Ethernet1")); },
         [](auto& v) { v.pushswap_label_is(mpls_label_t(5)); },
         [](auto& v) { v.label_action_is(orv::mpls_action_t::pop); },
         [](auto& v) { v.ttl_mode_is(orv::mpls_ttl_mode_t::pipe); },
         [](auto& v) { v.payload_type_is(orv::mpls_payload_type_t::autodecide); },
         [](auto& v) { v.skip_egress_acl_is(true); }, [](auto& v) { v.nexthop_group_is("g"); }});
}

TEST(MplsRouteTypesTest, vrfLabels) {
   const orv::mpls_vrf_label_t entry(mpls_label_t(100), "red");
   sdk_test::expectText(entry, "mpls_vrf_label_t(label=100, vrf_name='red')");
   EXPECT_TRUE(orv::mpls_vrf_label_t().vrf_name().empty());
   sdk_test::expectEveryFieldCounts<orv::mpls_vrf_label_t>(
        entry, {[](auto& e) { e.label_is(mpls_label_t(101)); }, [](auto& e) { e.vrf_name_is("blue"); }});
}

}  // namespace
