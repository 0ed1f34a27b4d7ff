#include "softswitch/lookup/traffic_policy_walk.h"

#include <gmock/gmock.h>

#include <initializer_list>
#include <string>
#include <utility>

namespace softswitch {
namespace {

using orv::traffic_policy_action_t;
using orv::traffic_policy_rule_t;
using testing::ElementsAre;
using Action = orv::traffic_policy_action_type_t;
using Answer = RuleFit::Answer;
using Kind = orv::traffic_policy_rule_type_t;

orv::ip_addr_mask_t mask(std::string_view address, std::uint8_t length) {
   return {orv::ip_addr_t(address), length};
}

traffic_policy_rule_t ruleOf(const orv::tp_rule_filter_t& filter, Kind kind = Kind::ipv4) {
   traffic_policy_rule_t rule(kind, "web");
   rule.raw_rule_is(filter);
   return rule;
}

orv::tp_rule_filter_t withPorts(const orv::protocol_range_t& protocols,
                                std::map<std::uint32_t, orv::port_field_t> ports) {
   orv::tp_rule_filter_t filter;
   filter.protocols_is({{protocols, orv::protocol_field_t(std::move(ports))}});
   return filter;
}

orv::port_field_t portsOf(std::set<orv::port_range_t> source, std::set<orv::port_range_t> destination) {
   orv::port_field_t ports;
   ports.src_ports_is(std::move(source));
   ports.dst_ports_is(std::move(destination));
   return ports;
}

PolicyPacket packetTo(std::string_view destination) {
   PolicyPacket packet;
   packet.destination = orv::ip_addr_t(destination);
   return packet;
}
PolicyPacket tcp(std::uint16_t sourcePort, std::uint16_t destinationPort) {
   auto packet = packetTo("10.0.0.1");
   packet.protocol = 6;
   packet.sourcePort = sourcePort;
   packet.destinationPort = destinationPort;
   return packet;
}

Answer answerOf(const traffic_policy_rule_t& rule, const PolicyPacket& packet) {
   return fit(rule, packet).answer;
}

TEST(TrafficPolicyFit, anEmptyFilterTakesEveryPacketOfItsKind) {
   EXPECT_EQ(answerOf(ruleOf({}), packetTo("10.0.0.1")), Answer::yes);
   EXPECT_EQ(answerOf(ruleOf({}), packetTo("2001:db8::1")), Answer::no);
   EXPECT_EQ(answerOf(ruleOf({}, Kind::ipv6), packetTo("10.0.0.1")), Answer::no);
   EXPECT_EQ(answerOf(ruleOf({}, Kind::ipv6), packetTo("2001:db8::1")), Answer::yes);
}

TEST(TrafficPolicyFit, oneOfTheAddressesIsEnough) {
   orv::tp_rule_filter_t filter;
   // Host bits do not matter.
   filter.dst_addrs_is({mask("10.1.2.3", 16), mask("192.0.2.1", 32)});
   const auto rule = ruleOf(filter);
   EXPECT_EQ(answerOf(rule, packetTo("10.1.255.255")), Answer::yes);
   EXPECT_EQ(answerOf(rule, packetTo("10.2.0.0")), Answer::no);
   EXPECT_EQ(answerOf(rule, packetTo("192.0.2.1")), Answer::yes);
   EXPECT_EQ(answerOf(rule, packetTo("192.0.2.2")), Answer::no);
   filter.dst_addrs_is({mask("10.1.2.3", 0)});
   EXPECT_EQ(answerOf(ruleOf(filter), packetTo("192.0.2.2")), Answer::yes);
}

TEST(TrafficPolicyFit, aSourceThatIsNotKnownLeavesItOpen) {
   orv::tp_rule_filter_t filter;
   filter.src_addrs_is({mask("10.0.0.0", 8)});
   filter.dst_addrs_is({mask("192.0.2.0", 24)});
   auto packet = packetTo("192.0.2.1");
   EXPECT_EQ(answerOf(ruleOf(filter), packet), Answer::open);
   EXPECT_EQ(fit(ruleOf(filter), packet).unknown, "source address");
   packet.source = orv::ip_addr_t("10.9.9.9");
   EXPECT_EQ(answerOf(ruleOf(filter), packet), Answer::yes);
   packet.source = orv::ip_addr_t("11.0.0.0");
   EXPECT_EQ(answerOf(ruleOf(filter), packet), Answer::no);
   // The destination decides alone.
   EXPECT_EQ(answerOf(ruleOf(filter), packetTo("192.0.3.1")), Answer::no);
}

TEST(TrafficPolicyFit, protocolsAreRanges) {
   const auto rule = ruleOf(withPorts({6, 17}, {}));
   auto packet = packetTo("10.0.0.1");
   EXPECT_EQ(fit(rule, packet).unknown, "protocol");
   for (const auto& [protocol, expected] : {std::pair(5, Answer::no), std::pair(6, Answer::yes),
                                            std::pair(17, Answer::yes), std::pair(18, Answer::no)}) {
      packet.protocol = static_cast<std::uint8_t>(protocol);
      EXPECT_EQ(answerOf(rule, packet), expected) << protocol;
   }
   // Every protocol is in this one.
   packet.protocol.reset();
   EXPECT_EQ(answerOf(ruleOf(withPorts({0, 255}, {})), packet), Answer::yes);
   EXPECT_EQ(answerOf(ruleOf(withPorts({1, 255}, {})), packet), Answer::open);
}

TEST(TrafficPolicyFit, portsAreAlternativesOfPairsOfRanges) {
   const auto rule = ruleOf(withPorts(
        {6, 6}, {{1, portsOf({}, {{80, 80}, {443, 444}})}, {2, portsOf({{1, 9}, {20, 29}}, {{53, 53}})}}));
   EXPECT_EQ(answerOf(rule, tcp(5000, 80)), Answer::yes);
   EXPECT_EQ(answerOf(rule, tcp(5000, 444)), Answer::yes);
   EXPECT_EQ(answerOf(rule, tcp(5000, 445)), Answer::no);
   EXPECT_EQ(answerOf(rule, tcp(9, 53)), Answer::yes);
   EXPECT_EQ(answerOf(rule, tcp(10, 53)), Answer::no);
   EXPECT_EQ(answerOf(rule, tcp(20, 53)), Answer::yes);
   auto udp = tcp(5000, 80);
   udp.protocol = 17;
   EXPECT_EQ(answerOf(rule, udp), Answer::no);
   auto packet = tcp(0, 53);
   packet.sourcePort.reset();
   EXPECT_EQ(fit(rule, packet).unknown, "source port");
   packet.destinationPort = 80;
   EXPECT_EQ(answerOf(rule, packet), Answer::yes);
   packet.destinationPort.reset();
   EXPECT_EQ(fit(rule, packet).unknown, "destination port");
}

TEST(TrafficPolicyFit, oneOfTheProtocolsIsEnough) {
   orv::tp_rule_filter_t filter;
   filter.protocols_is({{{1, 1}, {}}, {{6, 6}, orv::protocol_field_t({{1, portsOf({}, {{80, 80}})}})}});
   auto icmp = packetTo("10.0.0.1");
   icmp.protocol = 1;
   EXPECT_EQ(answerOf(ruleOf(filter), icmp), Answer::yes);
   EXPECT_EQ(answerOf(ruleOf(filter), tcp(1, 80)), Answer::yes);
   EXPECT_EQ(answerOf(ruleOf(filter), tcp(1, 81)), Answer::no);
}

// A policy of rules named a, b and so on, with sequence numbers 10, 20 and so on.
class Policy {
public:
   Policy& rule(std::initializer_list<traffic_policy_action_t> actions,
                const orv::tp_rule_filter_t& filter = {}) {
      const auto at = static_cast<std::uint32_t>(policy_.rules().size());
      traffic_policy_rule_t rule(Kind::ipv4, std::string(1, static_cast<char>('a' + at)));
      rule.raw_rule_is(filter);
      rule.actions_is(actions);
      policy_.rule_set(10 * (at + 1), rule);
      return *this;
   }
   PolicyOutcome walk(const PolicyPacket& packet = packetTo("10.0.0.1")) const {
      return walkPolicy("edge", policy_, packet);
   }

private:
   orv::traffic_policy_t policy_;
};

traffic_policy_action_t withDscp(std::uint8_t dscp) {
   traffic_policy_action_t action(Action::dscp);
   action.dscp_is(dscp);
   return action;
}
traffic_policy_action_t continueAt(const std::string& rule) {
   traffic_policy_action_t action(Action::goto_class);
   action.goto_class_name_is(rule);
   action.goto_next_is(rule.empty());
   return action;
}

const orv::tp_rule_filter_t onlyTcp = withPorts({6, 6}, {});

TEST(TrafficPolicyWalk, theFirstRuleThatMatchesDecides) {
   auto packet = packetTo("10.0.0.1");
   packet.protocol = 17;
   Policy policy;
   policy.rule({traffic_policy_action_t(Action::drop)}, onlyTcp)
        .rule({traffic_policy_action_t(Action::punt)})
        .rule({traffic_policy_action_t(Action::drop)});
   const auto outcome = policy.walk(packet);
   ASSERT_TRUE(outcome.rule);
   EXPECT_EQ(outcome.rule->policy, "edge");
   EXPECT_EQ(outcome.rule->sequence, 20u);
   EXPECT_EQ(outcome.rule->name, "b");
   ASSERT_NE(outcome.decision, nullptr);
   EXPECT_EQ(outcome.decision->action_type(), Action::punt);
   EXPECT_THAT(outcome.steps, ElementsAre("rule 20 (b) of traffic policy edge takes the packet"));
   EXPECT_EQ(outcome.unknown, "");
}

TEST(TrafficPolicyWalk, withoutARuleThatMatchesThePacketIsRouted) {
   auto packet = packetTo("10.0.0.1");
   packet.protocol = 17;
   Policy policy;
   policy.rule({traffic_policy_action_t(Action::drop)}, onlyTcp);
   const auto outcome = policy.walk(packet);
   EXPECT_FALSE(outcome.rule);
   EXPECT_EQ(outcome.decision, nullptr);
   EXPECT_THAT(outcome.steps, ElementsAre("no rule of traffic policy edge takes the packet"));
}

TEST(TrafficPolicyWalk, anOpenRuleEndsItBeforeALaterOneIsAsked) {
   Policy policy;
   policy.rule({traffic_policy_action_t(Action::drop)}, onlyTcp)
        .rule({traffic_policy_action_t(Action::punt)});
   const auto outcome = policy.walk();
   EXPECT_EQ(outcome.unknown,
             "rule 10 (a) of traffic policy edge depends on the packet's protocol, which is not given");
   EXPECT_FALSE(outcome.rule);
   EXPECT_EQ(outcome.decision, nullptr);
}

TEST(TrafficPolicyWalk, gotoContinuesWithWhatWasSetSoFar) {
   Policy policy;
   policy.rule({withDscp(10), continueAt("c")})
        .rule({traffic_policy_action_t(Action::drop)})
        .rule({continueAt("")}, onlyTcp)
        .rule({traffic_policy_action_t(Action::permit)});
   auto packet = packetTo("10.0.0.1");
   packet.protocol = 6;
   const auto outcome = policy.walk(packet);
   EXPECT_EQ(outcome.rule->sequence, 40u);
   EXPECT_EQ(outcome.dscp, 10);
   EXPECT_THAT(outcome.steps, ElementsAre("rule 10 (a) of traffic policy edge takes the packet",
                                          "rule 10 (a) of traffic policy edge sets DSCP 10",
                                          "rule 10 (a) of traffic policy edge continues at rule c",
                                          "rule 30 (c) of traffic policy edge takes the packet",
                                          "rule 30 (c) of traffic policy edge continues at the next rule",
                                          "rule 40 (d) of traffic policy edge takes the packet"));
   // Where the target does not match, the rules behind it are asked.
   packet.protocol = 17;
   EXPECT_EQ(policy.walk(packet).rule->sequence, 40u);
}

TEST(TrafficPolicyWalk, gotoWithNothingLeftRoutesThePacket) {
   Policy policy;
   policy.rule({withDscp(10), continueAt("")});
   const auto outcome = policy.walk();
   EXPECT_EQ(outcome.rule->sequence, 10u);
   EXPECT_EQ(outcome.decision, nullptr);
   EXPECT_EQ(outcome.dscp, 10);
   EXPECT_EQ(outcome.steps.back(), "no further rule of traffic policy edge takes the packet");
}

TEST(TrafficPolicyWalk, theStepsNameWhatTheViewDoesNotShow) {
   traffic_policy_action_t count(Action::count), police(Action::police), mirror(Action::mirror),
        trafficClass(Action::traffic_class);
   count.counter_name_is("hits");
   police.police_rate_is(10);
   police.police_rate_unit_is(orv::police_rate_unit_t::mbps);
   mirror.mirror_session_is("tap");
   trafficClass.traffic_class_is(5);
   Policy policy;
   policy.rule({count, police, mirror, trafficClass, traffic_policy_action_t(Action::log),
                traffic_policy_action_t(Action::none)});
   const auto outcome = policy.walk();
   EXPECT_EQ(outcome.decision, nullptr);
   EXPECT_THAT(outcome.steps,
               ElementsAre("rule 10 (a) of traffic policy edge takes the packet",
                           "rule 10 (a) of traffic policy edge has actions that do not show in this view: "
                           "count hits, log, traffic-class 5, mirror tap, police 10 mbps"));
}

TEST(TrafficPolicyText, matchesNameWhatTheyLookAt) {
   EXPECT_EQ(matchText({}), "any");
   orv::tp_rule_filter_t filter;
   filter.src_addrs_is({mask("10.0.0.0", 8), mask("172.16.0.1", 12)});
   filter.dst_addrs_is({mask("192.0.2.1", 32)});
   filter.protocols_is(
        {{{1, 1}, {}},
         {{6, 6},
          orv::protocol_field_t({{1, portsOf({}, {{80, 80}, {443, 444}})}, {2, portsOf({{1, 9}}, {})}})},
         {{17, 17}, orv::protocol_field_t({{1, portsOf({}, {})}})}});
   EXPECT_EQ(
        matchText(filter),
        "source 10.0.0.0/8,172.16.0.1/12 destination 192.0.2.1/32 protocol 1 protocol 6 (port 80,443-444 "
        "or source-port 1-9) protocol 17 any port");
}

TEST(TrafficPolicyText, actionsNameWhatTheyUse) {
   traffic_policy_action_t action(Action::drop);
   action.counter_name_is("hits");
   action.goto_class_name_is("web");
   action.dscp_is(46);
   action.traffic_class_is(5);
   action.vrf_is("red");
   action.mirror_session_is("tap");
   action.police_rate_is(10);
   action.police_rate_unit_is(orv::police_rate_unit_t::pps);
   action.police_burst_size_is(3);
   action.police_burst_unit_is(orv::police_burst_unit_t::kbytes);
   action.nexthop_groups_is({"low", "gold"});
   action.nexthops_is({orv::ip_addr_t("10.0.0.2"), orv::ip_addr_t("10.0.0.1")});
   std::vector<std::string> texts;
   for (std::uint8_t type = 0; type <= 13; ++type) {
      action.action_type_is(static_cast<Action>(type));
      texts.push_back(actionText(action));
   }
   EXPECT_THAT(texts,
               ElementsAre("none", "drop", "count hits", "log", "goto-class web", "dscp 46",
                           "traffic-class 5", "vrf red", "mirror tap", "police 10 pps burst 3 kbytes",
                           "nexthop-group gold,low", "nexthop 10.0.0.1,10.0.0.2 vrf red", "punt", "permit"));
   EXPECT_EQ(actionText(continueAt("")), "goto-class next");
}

}  // namespace
}  // namespace softswitch
