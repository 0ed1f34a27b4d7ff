#include <gmock/gmock.h>

#include "CommandsFixture.h"
#include "orv/mpls_vrf_label.h"
#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"

namespace softswitch::console {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using Json = nlohmann::json;

class ShowLookupTest : public CommandsFixture {
protected:
   void SetUp() override {
      CommandsFixture::SetUp();
      run("configure nexthop-group gold entry 0 nexthop 10.0.0.1 interface Ethernet1 push 100 200");
      run("configure nexthop-group low entry 0 nexthop 10.0.0.2 interface Ethernet2");
      run("configure ip route 10.1.0.0/16 nexthop-group gold");
      run("configure ip route 10.2.0.0/16 drop");
      settle();
   }
   // Redirects gold's IPv4 traffic with DSCP 46 to low.
   void redirectGold() {
      const orv::sdk_scoped_lock lock;
      const orv::acl_key_t list("gold-low_IPv4", orv::acl_type_t::ipv4);
      const orv::policy_map_key_t classKey("gold-low", orv::policy_feature_t::pbr);
      orv::acl_rule_ip_t rule;
      rule.action_is(orv::acl_action_t::permit);
      rule.nexthop_group_is("gold");
      rule.priority_value_is(46);
      rule.priority_mask_is(0x3f);
      rule.match_ip_priority_is(true);
      target().acls().acl_rule_set(list, 1, rule);
      target().acls().acl_commit();
      orv::class_map_t classMap(classKey);
      classMap.rule_set(1, orv::class_map_rule_t(list));
      target().classMaps().class_map_is(classMap);
      orv::policy_map_action_t action(orv::policy_action_type_t::nexthop_group);
      action.nexthop_group_name_is("low");
      orv::policy_map_rule_t policyRule(classKey);
      policyRule.action_set(action);
      orv::policy_map_t policy({"cbf", orv::policy_feature_t::pbr});
      policy.rule_set(1, policyRule);
      target().policyMaps().policy_map_is(policy);
   }
};

TEST_F(ShowLookupTest, tellsTheWayOfAPacket) {
   const auto answer = json("show forwarding lookup 10.1.2.3");
   EXPECT_EQ(answer["lookup"], Json({{"vrf", "default"},
                                     {"destination", "10.1.2.3"},
                                     {"dscp", 0},
                                     {"result", "forward"},
                                     {"route", "10.1.0.0/16 preference 1"},
                                     {"nexthop_group_of_route", "gold"},
                                     {"nexthop_group", "gold"},
                                     {"version", 1},
                                     {"entry", 0},
                                     {"nexthop", "10.0.0.1"},
                                     {"interface", "Ethernet1"},
                                     {"action", "push"},
                                     {"labels", {100, 200}}}));
   EXPECT_EQ(answer["ways_out"], Json::array({{{"nexthop_group", "gold"},
                                               {"entry", 0},
                                               {"weight", 1},
                                               {"resolves", true},
                                               {"taken", true},
                                               {"nexthop", "10.0.0.1"},
                                               {"interface", "Ethernet1"},
                                               {"action", "push"},
                                               {"labels", {100, 200}}}}));
   EXPECT_EQ(answer["steps"].size(), 2u);
   EXPECT_EQ(answer["steps"][0]["step"], 1);
   const auto text = run("show forwarding lookup 10.1.2.3");
   EXPECT_THAT(text, HasSubstr("destination: 10.1.2.3\ndscp: 0\nresult: forward\n"));
   EXPECT_THAT(text, ContainsRegex("gold +0 +1 +yes +yes +10.0.0.1 +Ethernet1 +push +100, 200 +- +-\n"));
   EXPECT_THAT(text, ContainsRegex("2 +nexthop group gold version 1: entry 0 is taken\n"));
}

TEST_F(ShowLookupTest, aRedirectIsSeenToWork) {
   redirectGold();
   EXPECT_EQ(json("show forwarding lookup 10.1.2.3 dscp 10")["lookup"]["nexthop_group"], "gold");
   const auto redirected = json("show forwarding lookup dscp 46 10.1.2.3")["lookup"];
   EXPECT_EQ(redirected["nexthop_group_of_route"], "gold");
   EXPECT_EQ(redirected["redirected_to"], "low");
   EXPECT_EQ(redirected["redirected_by"],
             "policy map cbf rule 1, class map gold-low, ACL gold-low_IPv4 rule 1");
   EXPECT_EQ(redirected["redirect_in_force"], true);
   EXPECT_EQ(redirected["nexthop_group"], "low");
   EXPECT_EQ(redirected["interface"], "Ethernet2");
   EXPECT_THAT(run("show forwarding lookup 10.1.2.3 dscp 46"), HasSubstr("redirected_to: low\n"));
}

TEST_F(ShowLookupTest, whatDoesNotForwardSaysWhy) {
   const auto dropped = json("show forwarding lookup 10.2.0.1")["lookup"];
   EXPECT_EQ(dropped["result"], "drop");
   EXPECT_EQ(dropped["reason"], "the route drops");
   EXPECT_FALSE(dropped.contains("nexthop_group"));
   const auto none = json("show forwarding lookup 2001:db8::1")["lookup"];
   EXPECT_EQ(none["result"], "no route");
   EXPECT_EQ(none["reason"], "no route to 2001:db8::1 in VRF default");
   EXPECT_THAT(run("show forwarding lookup 2001:db8::1"), HasSubstr("result: no route\n"));
}

TEST_F(ShowLookupTest, aLabelIsLookedUpAndSoIsWhatItLeadsTo) {
   {
      const orv::sdk_scoped_lock lock;
      target().get_mpls_vrf_label_mgr()->mpls_vrf_label_set({orv::mpls_label_t(900), "default"});
   }
   const auto popped = json("show forwarding lookup label 900 10.1.2.3 dscp 5")["lookup"];
   EXPECT_EQ(popped["label"], 900);
   EXPECT_EQ(popped["nexthop_group"], "gold");
   const auto untold = json("show forwarding lookup label 900")["lookup"];
   EXPECT_EQ(untold["result"], "unknown");
   EXPECT_FALSE(untold.contains("destination"));
   const auto unknown = json("show forwarding lookup label 0")["lookup"];
   EXPECT_EQ(unknown["label"], 0);
   EXPECT_EQ(unknown["reason"], "no MPLS route and no VRF for label 0");
   EXPECT_FALSE(unknown.contains("vrf"));
}

TEST_F(ShowLookupTest, aVrfIsLookedAt) {
   run("configure vrf red");
   run("configure ip route 10.1.0.0/16 10.9.9.9 vrf red");
   settle();
   EXPECT_EQ(json("show forwarding lookup 10.1.2.3 vrf red")["lookup"]["nexthop"], "10.9.9.9");
   EXPECT_EQ(json("show forwarding lookup vrf red 10.1.2.3")["lookup"]["vrf"], "red");
   EXPECT_EQ(refusal("show forwarding lookup 10.1.2.3 vrf blue"), "unknown VRF blue");
}

TEST_F(ShowLookupTest, everyBadWordIsNamedWithWhatWasExpected) {
   const std::string command = "show forwarding lookup";
   const std::string ip = "an IP address as in 10.0.0.1 or 2001:db8::1";
   const std::string fields = "interface, source, protocol, source-port";
   EXPECT_EQ(refusal(command), "missing word after 'show forwarding lookup', expected " + ip +
                                    ", label, vrf, dscp, " + fields + " or port");
   EXPECT_EQ(refusal(command + " dscp 46"), "missing word after 'show forwarding lookup dscp 46', expected " +
                                                 ip + ", label, vrf, " + fields + " or port");
   EXPECT_EQ(refusal(command + " vrf default"),
             "missing word after 'show forwarding lookup vrf default', expected " + ip + ", dscp, " + fields +
                  " or port");
   for (const std::string bad : {"10.1.2", "10.1.2.0/24", "gold", "\"\""}) {
      EXPECT_EQ(refusal(command + " " + bad), "'" + (bad == "\"\"" ? "" : bad) +
                                                   "' after 'show forwarding lookup', expected " + ip +
                                                   ", label, vrf, dscp, " + fields + " or port");
   }
   EXPECT_EQ(refusal(command + " 10.1.2.3 10.1.2.4"),
             "'10.1.2.4' after 'show forwarding lookup 10.1.2.3', expected label, vrf, dscp, " + fields +
                  ", port or the end of the line");
   EXPECT_EQ(refusal(command + " 10.1.2.3 dscp 64"),
             "'64' after 'show forwarding lookup 10.1.2.3 dscp', expected a DSCP (0 to 63)");
   EXPECT_EQ(refusal(command + " 10.1.2.3 dscp"),
             "missing word after 'show forwarding lookup 10.1.2.3 dscp', expected a DSCP (0 to 63)");
   EXPECT_EQ(refusal(command + " 10.1.2.3 dscp 1 dscp 2"),
             "'dscp' after 'show forwarding lookup 10.1.2.3 dscp 1', expected label, vrf, " + fields +
                  ", port or the end of the line");
   EXPECT_EQ(refusal(command + " label 1048576"),
             "'1048576' after 'show forwarding lookup label', expected a label (0 to 1048575)");
   EXPECT_EQ(refusal(command + " label -1"),
             "'-1' after 'show forwarding lookup label', expected a label (0 to 1048575)");
   EXPECT_EQ(
        refusal(command + " label 5 vrf red"),
        "'vrf' after 'show forwarding lookup label 5', expected " + ip + ", dscp or the end of the line");
   EXPECT_EQ(
        refusal(command + " vrf red label 5"),
        "'label' after 'show forwarding lookup vrf red', expected " + ip + ", dscp, " + fields + " or port");
   EXPECT_EQ(refusal(command + " 10.1.2.3 vrf"),
             "missing word after 'show forwarding lookup 10.1.2.3 vrf', expected a VRF's name");
   EXPECT_EQ(refusal(command + " 10.1.2.3 dscp 1 vrf default more"),
             "'more' after 'show forwarding lookup 10.1.2.3 dscp 1 vrf default', expected " + fields +
                  ", port or the end of the line");
   EXPECT_EQ(refusal(command + " 10.1.2.3 label 5 interface Ethernet1"),
             "'interface' after 'show forwarding lookup 10.1.2.3 label 5', expected dscp or the end of the "
             "line");
   for (const std::string word :
        {"interface Ethernet1", "source 10.0.0.1", "protocol 6", "source-port 1", "port 0"}) {
      EXPECT_THAT(refusal(command + " " + word + " label 5"), HasSubstr("'label' after")) << word;
      const auto name = word.substr(0, word.find(' '));
      EXPECT_THAT(refusal(command + " " + word + " " + word), HasSubstr("'" + name + "' after")) << word;
   }
   EXPECT_EQ(refusal(command + " 10.1.2.3 interface"),
             "missing word after 'show forwarding lookup 10.1.2.3 interface', expected an interface's name "
             "as in Ethernet1");
   EXPECT_EQ(refusal(command + " 10.1.2.3 interface Ethernet99"), "unknown interface Ethernet99");
   EXPECT_EQ(refusal(command + " 10.1.2.3 source web"),
             "'web' after 'show forwarding lookup 10.1.2.3 source', expected " + ip);
   EXPECT_EQ(refusal(command + " 10.1.2.3 source 2001:db8::1"),
             "source 2001:db8::1 and destination 10.1.2.3, expected two addresses of one family");
   EXPECT_EQ(refusal(command + " 10.1.2.3 protocol 256"),
             "'256' after 'show forwarding lookup 10.1.2.3 protocol', expected a protocol (0 to 255)");
   EXPECT_EQ(refusal(command + " 10.1.2.3 source-port 65536"),
             "'65536' after 'show forwarding lookup 10.1.2.3 source-port', expected a port (0 to 65535)");
   EXPECT_EQ(refusal(command + " 10.1.2.3 port x"),
             "'x' after 'show forwarding lookup 10.1.2.3 port', expected a port (0 to 65535)");
}

TEST_F(ShowLookupTest, aTrafficPolicyIsObeyedAtTheInterfaceWhereThePacketEnters) {
   {
      const orv::sdk_scoped_lock lock;
      orv::port_field_t ports;
      ports.src_ports_is({{1024, 65535}});
      ports.dst_ports_is({{80, 80}, {443, 443}});
      orv::tp_rule_filter_t web;
      web.src_addrs_is({{orv::ip_addr_t("192.0.2.0"), 24}});
      web.protocols_is({{{6, 6}, orv::protocol_field_t({{1, ports}})}});
      orv::traffic_policy_action_t toLow(orv::traffic_policy_action_type_t::nexthop_group),
           dscp(orv::traffic_policy_action_type_t::dscp);
      toLow.nexthop_groups_is({"low"});
      dscp.dscp_is(46);
      orv::traffic_policy_rule_t rule(orv::traffic_policy_rule_type_t::ipv4, "web");
      rule.raw_rule_is(web);
      rule.actions_is({toLow, dscp});
      orv::traffic_policy_rule_t rest(orv::traffic_policy_rule_type_t::ipv4, "rest");
      rest.action_set(orv::traffic_policy_action_t(orv::traffic_policy_action_type_t::drop));
      orv::traffic_policy_t policy("edge");
      policy.rule_set(10, rule);
      policy.rule_set(20, rest);
      target().policyMaps().traffic_policy_is(policy);
      target().policyMaps().traffic_policy_apply("edge", orv::intf_id_t("Ethernet5"),
                                                 orv::traffic_policy_direction_t::in, true);
   }
   const std::string web =
        "show forwarding lookup 10.1.2.3 interface Ethernet5 source 192.0.2.7 protocol 6 source-port 5000";
   EXPECT_EQ(json(web + " port 443")["lookup"], Json({{"destination", "10.1.2.3"},
                                                      {"dscp", 0},
                                                      {"ingress", "Ethernet5"},
                                                      {"source", "192.0.2.7"},
                                                      {"protocol", 6},
                                                      {"source_port", 5000},
                                                      {"port", 443},
                                                      {"result", "forward"},
                                                      {"traffic_policy", "edge"},
                                                      {"traffic_policy_seq", 10},
                                                      {"traffic_policy_rule", "web"},
                                                      {"dscp_set", 46},
                                                      {"nexthop_group", "low"},
                                                      {"version", 1},
                                                      {"entry", 0},
                                                      {"nexthop", "10.0.0.2"},
                                                      {"interface", "Ethernet2"}}));
   EXPECT_THAT(run(web + " port 443"), HasSubstr("traffic_policy_seq: 10\ntraffic_policy_rule: web\n"));
   const auto dropped = json(web + " port 22")["lookup"];
   EXPECT_EQ(dropped["result"], "drop");
   EXPECT_EQ(dropped["reason"], "rule 20 (rest) of traffic policy edge drops");
   EXPECT_EQ(dropped["traffic_policy_seq"], 20);
   const auto untold = json(web)["lookup"];
   EXPECT_EQ(untold["result"], "unknown");
   EXPECT_EQ(
        untold["reason"],
        "rule 10 (web) of traffic policy edge depends on the packet's destination port, which is not given");
   // Without an interface the packet does not enter anywhere.
   EXPECT_EQ(json("show forwarding lookup 10.1.2.3")["lookup"]["nexthop_group"], "gold");
   EXPECT_EQ(json("show forwarding lookup 10.1.2.3 interface Ethernet6")["lookup"]["nexthop_group"], "gold");
}

}  // namespace
}  // namespace softswitch::console
