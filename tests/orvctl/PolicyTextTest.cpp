#include "orvctl/PolicyText.h"

#include <gtest/gtest.h>

#include "orvctl/JsonText.h"

namespace orvctl {
namespace {

namespace rpc = orv::remote;

template <typename Rule>
std::string textOf(const std::string& json) {
   Rule rule;
   messageFromJson("RULE", json, rule);
   return ruleText(rule);
}

TEST(PolicyText, aRuleOfAClassMap) {
   EXPECT_EQ(textOf<rpc::ClassMapRule>(R"({"acl_key":{"acl_name":"web","acl_type":"ACL_TYPE_IPV6"}})"),
             "ipv6 list web");
}

TEST(PolicyText, actionsOfAPolicyMap) {
   EXPECT_EQ(
        textOf<rpc::PolicyMapRule>(
             R"({"class_map_key":{"name":"web"},"actions":[)"
             R"({"action_type":"POLICY_ACTION_TYPE_NEXTHOP","nexthops":["10.0.0.1","2001:db8::1"],"vrf":"red"},)"
             R"({"action_type":"POLICY_ACTION_TYPE_NEXTHOP_GROUP","nexthop_group_name":"core"},)"
             R"({"action_type":"POLICY_ACTION_TYPE_DSCP","dscp":0},)"
             R"({"action_type":"POLICY_ACTION_TYPE_TRAFFIC_CLASS","traffic_class":3},)"
             R"({"action_type":"POLICY_ACTION_TYPE_VRF","vrf":"blue"},)"
             R"({"action_type":"POLICY_ACTION_TYPE_DROP"}]})"),
        "class-map web: nexthop 10.0.0.1 2001:db8::1 vrf red, nexthop_group core, dscp 0, traffic_class 3, "
        "vrf blue, drop");
}

TEST(PolicyText, matchesOfAPolicyMap) {
   EXPECT_EQ(textOf<rpc::PolicyMapRule>(R"({"policy_map_rule_type":"POLICY_MAP_RULE_TYPE_CLASS_DEFAULT"})"),
             "class-default: no action");
   const std::string raw = textOf<rpc::PolicyMapRule>(
        R"({"policy_map_rule_type":"POLICY_MAP_RULE_TYPE_RAW","raw_rule":{"ip_protocol":6}})");
   EXPECT_EQ(raw.find("raw {"), 0U) << raw;
   EXPECT_NE(raw.find(R"("ip_protocol":6)"), std::string::npos) << raw;
}

TEST(PolicyText, actionsOfATrafficPolicy) {
   EXPECT_EQ(
        textOf<rpc::TrafficPolicyRule>(
             R"({"match_rule_name":"web","traffic_policy_rule_type":"TRAFFIC_POLICY_RULE_TYPE_IPV4","actions":[)"
             R"({"action_type":"TRAFFIC_POLICY_ACTION_TYPE_COUNT","counter_name":"hits"},)"
             R"({"action_type":"TRAFFIC_POLICY_ACTION_TYPE_GOTO","goto_class_name":"rest"},)"
             R"({"action_type":"TRAFFIC_POLICY_ACTION_TYPE_GOTO","goto_next":true},)"
             R"({"action_type":"TRAFFIC_POLICY_ACTION_TYPE_DSCP","dscp":46},)"
             R"({"action_type":"TRAFFIC_POLICY_ACTION_TYPE_TRAFFIC_CLASS","traffic_class":0},)"
             R"({"action_type":"TRAFFIC_POLICY_ACTION_TYPE_VRF","vrf":"red"},)"
             R"({"action_type":"TRAFFIC_POLICY_ACTION_TYPE_MIRROR","mirror_session":"m1"},)"
             R"({"action_type":"TRAFFIC_POLICY_ACTION_TYPE_POLICE","police_rate":10,)"
             R"("police_rate_unit":"POLICE_RATE_UNIT_MBPS","police_burst_size":5,)"
             R"("police_burst_unit":"POLICE_BURST_UNIT_KBYTES"},)"
             R"({"action_type":"TRAFFIC_POLICY_ACTION_TYPE_NEXTHOP_GROUP","nexthop_groups":["a","b"]},)"
             R"({"action_type":"TRAFFIC_POLICY_ACTION_TYPE_NEXTHOP","nexthops":["10.0.0.1"],"vrf":"red"},)"
             R"({"action_type":"TRAFFIC_POLICY_ACTION_TYPE_PERMIT"}]})"),
        "web ipv4: count hits, goto rest, goto next, dscp 46, traffic_class 0, vrf red, mirror m1, "
        "police 10 mbps burst 5 kbytes, nexthop_group a b, nexthop 10.0.0.1 vrf red, permit");
}

TEST(PolicyText, theFilterOfATrafficPolicy) {
   const std::string text = textOf<rpc::TrafficPolicyRule>(
        R"({"match_rule_name":"web","raw_rule":{"src_addrs":[{"addr":"10.0.0.0","mask_length":8}]}})");
   EXPECT_EQ(text, R"(web none {"src_addrs":[{"addr":"10.0.0.0","mask_length":8}]}: no action)");
}

}  // namespace
}  // namespace orvctl
