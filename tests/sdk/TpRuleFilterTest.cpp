#include "orv/tp_rule_filter.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using orv::ip_addr_mask_t;
using orv::ip_addr_t;
using orv::port_field_t;
using orv::port_range_t;
using orv::protocol_field_t;
using orv::protocol_range_t;
using orv::tp_rule_filter_t;
using orv::traffic_policy_rule_type_t;

TEST(TpRuleFilterTest, ruleTypesHaveNames) {
   sdk_test::expectNamed<traffic_policy_rule_type_t>(2);
}

TEST(TpRuleFilterTest, ports) {
   sdk_test::expectEveryFieldCounts<port_field_t>({}, {[](auto& f) {
                                                          f.src_ports_is({{1, 2}});
                                                       },
                                                       [](auto& f) {
                                                          f.src_ports_is({{1, 2}, {3, 4}});
                                                       },
                                                       [](auto& f) {
                                                          f.dst_ports_is({{1, 2}});
                                                       },
                                                       [](auto& f) { f.src_port_field_sets_is({"a"}); },
                                                       [](auto& f) { f.dst_port_field_sets_is({"a"}); }});
   port_field_t web;
   web.dst_ports_is({{443, 443}, {80, 81}});
   web.src_port_field_sets_is({"b", "a"});
   sdk_test::expectText(web,
                        "port_field_t(src_ports=[], dst_ports=[80-81, 443-443], src_port_field_sets=['a', "
                        "'b'], dst_port_field_sets=[])");
   sdk_test::expectEveryFieldCounts<protocol_field_t>({}, {[&](auto& f) {
                                                              f.ports_is({{1, web}});
                                                           },
                                                           [&](auto& f) {
                                                              f.ports_is({{2, web}});
                                                           }});
   EXPECT_EQ(protocol_field_t({{1, web}}).ports().at(1), web);
}

TEST(TpRuleFilterTest, rangesOfAnyNumbersAreTaken) {
   port_field_t field;
   field.src_ports_is({{5, 1}, {0, 4294967295U}});
   EXPECT_EQ(field.src_ports().size(), 2U);
}

TEST(TpRuleFilterTest, everyFieldOfAFilterCounts) {
   const ip_addr_mask_t addr(ip_addr_t("10.0.0.1"), 8);
   const protocol_range_t tcp(6, 6);
   port_field_t port;
   port.src_ports_is({{1, 2}});
   EXPECT_EQ(tp_rule_filter_t(traffic_policy_rule_type_t::ipv6).filter_type(),
             traffic_policy_rule_type_t::ipv6);
   sdk_test::expectEveryFieldCounts<tp_rule_filter_t>(
        {}, {[](auto& f) { f.filter_type_is(traffic_policy_rule_type_t::ipv4); },
             [&](auto& f) { f.src_addrs_is({addr}); }, [](auto& f) { f.src_addr_field_sets_is({"a"}); },
             [&](auto& f) { f.dst_addrs_is({addr}); }, [](auto& f) { f.dst_addr_field_sets_is({"a"}); },
             [&](auto& f) {
                f.protocols_is({{tcp, protocol_field_t()}});
             },
             [&](auto& f) {
                f.protocols_is({{tcp, protocol_field_t({{1, port}})}});
             }});
}

}  // namespace
