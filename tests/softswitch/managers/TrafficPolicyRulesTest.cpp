#include "softswitch/managers/traffic_policy_rules.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <unordered_set>
#include <utility>

#include "orv/error.h"

namespace softswitch {
namespace {

using orv::ip_addr_t;
using orv::port_range_t;
using orv::protocol_range_t;
using orv::traffic_policy_action_t;
using orv::traffic_policy_action_type_t;
using orv::traffic_policy_rule_t;
using orv::traffic_policy_rule_type_t;
using orv::traffic_policy_t;

// The refusal of `policy`, "" if it is accepted.
std::string wordsOf(const traffic_policy_t& policy) {
   try {
      checkTrafficPolicy(policy);
   } catch (const orv::invalid_argument_error& e) {
      return e.what();
   }
   return "";
}

// The refusal of a rule 10 of policy p, without its beginning.
std::string wordsOf(const traffic_policy_rule_t& rule) {
   traffic_policy_t policy("p");
   policy.named_counters_is({"hits"});
   policy.rule_set(10, rule);
   policy.rule_set(20, traffic_policy_rule_t(traffic_policy_rule_type_t::ipv6, "last"));
   const auto words = wordsOf(policy);
   const std::string where = "traffic policy 'p' rule 10: ";
   EXPECT_TRUE(words.empty() || words.starts_with(where)) << words;
   return words.substr(std::min(where.size(), words.size()));
}

template <typename Change>
std::string filterWords(Change change, traffic_policy_rule_type_t type = traffic_policy_rule_type_t::ipv4) {
   orv::tp_rule_filter_t filter(type);
   change(filter);
   traffic_policy_rule_t rule(type, "web");
   rule.raw_rule_is(filter);
   return wordsOf(rule);
}

std::string portWords(const protocol_range_t& protocols, const orv::port_field_t& ports) {
   return filterWords([&](auto& filter) {
      filter.protocols_is({{protocols, orv::protocol_field_t({{1, orv::port_field_t()}, {2, ports}})}});
   });
}

template <typename Change>
std::string actionWords(traffic_policy_action_type_t type, Change change) {
   traffic_policy_action_t action(type);
   change(action);
   traffic_policy_rule_t rule(traffic_policy_rule_type_t::ipv4, "web");
   rule.action_set(action);
   return wordsOf(rule);
}
std::string actionWords(traffic_policy_action_type_t type) {
   return actionWords(type, [](auto&) {});
}

std::string policeWords(std::uint64_t rate, orv::police_rate_unit_t unit, std::uint64_t burst = 0,
                        orv::police_burst_unit_t burstUnit = orv::police_burst_unit_t::bytes) {
   return actionWords(traffic_policy_action_type_t::police, [&](auto& action) {
      action.police_rate_is(rate);
      action.police_rate_unit_is(unit);
      action.police_burst_size_is(burst);
      action.police_burst_unit_is(burstUnit);
   });
}

TEST(TrafficPolicyRules, aPolicyHasAName) {
   EXPECT_EQ(wordsOf(traffic_policy_t()), "traffic policy name is empty, expected a name");
   EXPECT_EQ(wordsOf(traffic_policy_t(std::string(400, 'n'))), "");
   EXPECT_EQ(wordsOf(traffic_policy_t(std::string(401, 'n'))),
             "traffic policy name of 401 bytes, expected at most 400");
   EXPECT_EQ(wordsOf(traffic_policy_t("\xff")), "traffic policy name '\\xff' is not UTF-8");
}

TEST(TrafficPolicyRules, soHasEachOfItsCounters) {
   traffic_policy_t policy("p");
   policy.named_counters_is({std::string(400, 'n'), "hits"});
   EXPECT_EQ(wordsOf(policy), "");
   policy.named_counters_is({""});
   EXPECT_EQ(wordsOf(policy), "traffic policy 'p': counter name is empty, expected a name");
   policy.named_counters_is({std::string(401, 'n')});
   EXPECT_EQ(wordsOf(policy), "traffic policy 'p': counter name of 401 bytes, expected at most 400");
   policy.named_counters_is({"\xff"});
   EXPECT_EQ(wordsOf(policy), "traffic policy 'p': counter name '\\xff' is not UTF-8");
}

TEST(TrafficPolicyRules, aRuleHasANameOfItsOwn) {
   const auto named = [](const std::string& name) {
      return wordsOf(traffic_policy_rule_t(traffic_policy_rule_type_t::ipv4, name));
   };
   EXPECT_EQ(named(std::string(400, 'n')), "");
   EXPECT_EQ(named(""), "match rule name is empty, expected a name");
   EXPECT_EQ(named(std::string(401, 'n')), "match rule name of 401 bytes, expected at most 400");
   EXPECT_EQ(named("\xff"), "match rule name '\\xff' is not UTF-8");
   traffic_policy_t policy("p");
   for (const auto sequence : {10, 20})
      policy.rule_set(sequence, traffic_policy_rule_t(traffic_policy_rule_type_t::ipv4, "web"));
   EXPECT_EQ(
        wordsOf(policy),
        "traffic policy 'p' rule 20: match rule name 'web' is that of rule 10, expected a name of its own");
}

TEST(TrafficPolicyRules, aRuleIsOfOneKindAndSoIsItsFilter) {
   using Type = traffic_policy_rule_type_t;
   const auto words = [](Type type, Type filter) {
      traffic_policy_rule_t rule(type, "web");
      rule.raw_rule_is(orv::tp_rule_filter_t(filter));
      return wordsOf(rule);
   };
   EXPECT_EQ(words(Type::none, Type::none), "type none, expected ipv4 or ipv6");
   EXPECT_EQ(words(Type::none, Type::ipv4), "type none, expected ipv4 or ipv6");
   EXPECT_EQ(words(Type::ipv4, Type::ipv6), "raw rule has type ipv6, expected ipv4");
   EXPECT_EQ(words(Type::ipv6, Type::ipv4), "raw rule has type ipv4, expected ipv6");
   EXPECT_EQ(words(Type::ipv4, Type::ipv4), "");
   EXPECT_EQ(words(Type::ipv6, Type::ipv6), "");
   EXPECT_EQ(words(Type::ipv6, Type::none), "");
}

TEST(TrafficPolicyRules, addressesFitTheKindOfTheRule) {
   const ip_addr_t one("10.0.0.1"), six("2001:db8::1");
   EXPECT_EQ(filterWords([&](auto& f) { f.src_addrs_is({{one, 0}, {one, 8}, {one, 32}}); }), "");
   EXPECT_EQ(filterWords(
                  [&](auto& f) {
                     f.dst_addrs_is({{six, 128}});
                  },
                  traffic_policy_rule_type_t::ipv6),
             "");
   EXPECT_EQ(filterWords([&](auto& f) {
                f.src_addrs_is({{one, 33}});
             }),
             "raw rule: source 10.0.0.1 has mask length 33, expected 0 to 32");
   EXPECT_EQ(filterWords(
                  [&](auto& f) {
                     f.dst_addrs_is({{six, 129}});
                  },
                  traffic_policy_rule_type_t::ipv6),
             "raw rule: destination 2001:db8::1 has mask length 129, expected 0 to 128");
   EXPECT_EQ(filterWords([&](auto& f) {
                f.src_addrs_is({{six, 64}});
             }),
             "raw rule: source 2001:db8::1/64 has family 6, expected 4");
   EXPECT_EQ(filterWords(
                  [&](auto& f) {
                     f.dst_addrs_is({{one, 8}});
                  },
                  traffic_policy_rule_type_t::ipv6),
             "raw rule: destination 10.0.0.1/8 has family 4, expected 6");
   EXPECT_EQ(filterWords([&](auto& f) { f.src_addrs_is({orv::ip_addr_mask_t()}); }),
             "raw rule: source is a null address, expected one of ipv4");
   EXPECT_EQ(filterWords([&](auto& f) { f.dst_addrs_is({orv::ip_addr_mask_t()}); }),
             "raw rule: destination is a null address, expected one of ipv4");
}

TEST(TrafficPolicyRules, thereAreNoFieldSets) {
   const std::string reason = " does not exist, expected none, since this switch has no field sets";
   EXPECT_EQ(filterWords([&](auto& f) {
                f.src_addr_field_sets_is({"b", "a"});
             }),
             "raw rule: source address field set 'a'" + reason);
   EXPECT_EQ(filterWords([&](auto& f) { f.dst_addr_field_sets_is({"\xff"}); }),
             "raw rule: destination address field set '\\xff'" + reason);
   orv::port_field_t source, destination;
   source.src_port_field_sets_is({"web"});
   destination.dst_port_field_sets_is({"web"});
   EXPECT_EQ(portWords({6, 6}, source), "raw rule: source port field set 'web'" + reason);
   EXPECT_EQ(portWords({6, 6}, destination), "raw rule: destination port field set 'web'" + reason);
}

TEST(TrafficPolicyRules, protocolsAreARangeWithin255) {
   const auto words = [](const protocol_range_t& range) { return portWords(range, {}); };
   EXPECT_EQ(words({0, 255}), "");
   EXPECT_EQ(words({1, 1}), "");
   EXPECT_EQ(words({9, 3}), "raw rule: protocols from 9 to 3, expected an ascending range");
   EXPECT_EQ(words({9, 256}), "raw rule: protocols up to 256, expected 0 to 255");
   EXPECT_EQ(words({4'000'000'000, 4'000'000'000}),
             "raw rule: protocols up to 4000000000, expected 0 to 255");
}

TEST(TrafficPolicyRules, portsAreRangesOfProtocolsThatHaveThem) {
   const auto source = [](const protocol_range_t& protocols, const port_range_t& range) {
      orv::port_field_t ports;
      ports.src_ports_is({{80, 80}, range});
      return portWords(protocols, ports);
   };
   const auto destination = [](const protocol_range_t& protocols, const port_range_t& range) {
      orv::port_field_t ports;
      ports.dst_ports_is({range});
      return portWords(protocols, ports);
   };
   for (const std::uint32_t protocol : {6, 17, 33, 132, 136}) {
      EXPECT_EQ(source({protocol, protocol}, {0, 65535}), "") << protocol;
      EXPECT_EQ(destination({protocol, protocol}, {80, 90}), "") << protocol;
   }
   EXPECT_EQ(source({6, 6}, {9, 3}), "raw rule: source ports from 9 to 3, expected an ascending range");
   EXPECT_EQ(destination({6, 6}, {9, 3}),
             "raw rule: destination ports from 9 to 3, expected an ascending range");
   EXPECT_EQ(source({6, 6}, {9, 65536}), "raw rule: source ports up to 65536, expected 0 to 65535");
   EXPECT_EQ(destination({6, 6}, {65536, 65536}),
             "raw rule: destination ports up to 65536, expected 0 to 65535");
   const std::string words = " with ports, expected only 6, 17, 33, 132 and 136, which have ports";
   EXPECT_EQ(source({1, 1}, {9, 9}), "raw rule: protocols 1-1" + words);
   EXPECT_EQ(destination({6, 17}, {9, 9}), "raw rule: protocols 6-17" + words);
}

TEST(TrafficPolicyRules, actionsNeedWhatTheyActOn) {
   using Type = traffic_policy_action_type_t;
   for (const auto type :
        {Type::none, Type::drop, Type::log, Type::dscp, Type::traffic_class, Type::punt, Type::permit}) {
      EXPECT_EQ(actionWords(type), "") << orv::to_string(type);
   }
   EXPECT_EQ(actionWords(Type::count), "action count has no counter, expected a name");
   EXPECT_EQ(actionWords(Type::count, [](auto& a) { a.counter_name_is("misses"); }),
             "action count: counter 'misses', expected one of the policy's named counters");
   EXPECT_EQ(actionWords(Type::count, [](auto& a) { a.counter_name_is("hits"); }), "");
   EXPECT_EQ(actionWords(Type::vrf), "action vrf has no VRF, expected a name");
   EXPECT_EQ(actionWords(Type::vrf, [](auto& a) { a.vrf_is("red"); }), "");
   EXPECT_EQ(actionWords(Type::mirror), "action mirror has no session, expected a name");
   EXPECT_EQ(actionWords(Type::mirror, [](auto& a) { a.mirror_session_is("tap"); }), "");
   EXPECT_EQ(actionWords(Type::nexthop_group), "action nexthop-group has no group, expected at least one");
   EXPECT_EQ(actionWords(Type::nexthop_group,
                         [](auto& a) {
                            a.nexthop_groups_is({"gold", ""});
                         }),
             "action nexthop-group has a group without a name, expected a name");
   EXPECT_EQ(actionWords(Type::nexthop_group, [](auto& a) { a.nexthop_groups_is({"gold"}); }), "");
   EXPECT_EQ(actionWords(Type::nexthop), "action nexthop has no nexthops, expected at least one");
   const auto manyHops = [](std::uint32_t count) {
      return [count](auto& a) {
         std::unordered_set<ip_addr_t> hops;
         for (std::uint32_t i = 1; i <= count; ++i)
            hops.insert(ip_addr_t(fmt::format("10.0.{}.{}", i >> 8, i & 255)));
         a.nexthops_is(std::move(hops));
      };
   };
   EXPECT_EQ(actionWords(Type::nexthop, manyHops(1024)), "");
   EXPECT_EQ(actionWords(Type::nexthop, manyHops(1025)),
             "action nexthop has 1025 ways, expected at most 1024");
   const auto manyGroups = [](int count) {
      return [count](auto& a) {
         std::unordered_set<std::string> groups;
         for (int i = 0; i < count; ++i)
            groups.insert(fmt::format("g{}", i));
         a.nexthop_groups_is(std::move(groups));
      };
   };
   EXPECT_EQ(actionWords(Type::nexthop_group, manyGroups(1024)), "");
   EXPECT_EQ(actionWords(Type::nexthop_group, manyGroups(1025)),
             "action nexthop-group has 1025 ways, expected at most 1024");
   EXPECT_EQ(actionWords(Type::nexthop, [](auto& a) { a.nexthops_is({ip_addr_t()}); }),
             "action nexthop has a null nexthop, expected IPv4 or IPv6 addresses");
   EXPECT_EQ(actionWords(Type::nexthop,
                         [](auto& a) {
                            a.nexthops_is({ip_addr_t("10.0.0.1"), ip_addr_t("2001:db8::1")});
                         }),
             "");
}

TEST(TrafficPolicyRules, namesAndNumbersAreBoundedForEveryTypeOfAction) {
   const auto words = [](auto change) { return actionWords(traffic_policy_action_type_t::drop, change); };
   const std::string n400(400, 'n'), n401(401, 'n'), n255(255, 'n'), n256(256, 'n');
   EXPECT_EQ(words([&](auto& a) {
                a.counter_name_is(n400);
                a.goto_class_name_is(n400);
                a.mirror_session_is(n400);
                a.vrf_is(n255);
                a.nexthop_groups_is({n255});
                a.dscp_is(63);
                a.traffic_class_is(7);
             }),
             "");
   EXPECT_EQ(words([&](auto& a) { a.counter_name_is(n401); }),
             "action count: counter name of 401 bytes, expected at most 400");
   EXPECT_EQ(words([&](auto& a) { a.goto_class_name_is(n401); }),
             "action goto-class: rule name of 401 bytes, expected at most 400");
   EXPECT_EQ(words([&](auto& a) { a.mirror_session_is(n401); }),
             "action mirror: session name of 401 bytes, expected at most 400");
   EXPECT_EQ(words([&](auto& a) { a.mirror_session_is("\xff"); }),
             "action mirror: session name '\\xff' is not UTF-8");
   EXPECT_EQ(words([&](auto& a) { a.vrf_is(n256); }),
             "action vrf: VRF name of 256 bytes, expected at most 255");
   EXPECT_EQ(words([&](auto& a) { a.nexthop_groups_is({n256}); }),
             "action nexthop-group: group name of 256 bytes, expected at most 255");
   EXPECT_EQ(words([&](auto& a) { a.dscp_is(64); }), "dscp 64 is out of range, expected 0 to 63");
   EXPECT_EQ(words([&](auto& a) { a.traffic_class_is(8); }),
             "traffic-class 8 is out of range, expected 0 to 7");
}

TEST(TrafficPolicyRules, gotoLeadsToALaterRule) {
   const auto words = [](const std::string& target, bool next) {
      return actionWords(traffic_policy_action_type_t::goto_class, [&](auto& action) {
         action.goto_class_name_is(target);
         action.goto_next_is(next);
      });
   };
   EXPECT_EQ(words("last", false), "");
   EXPECT_EQ(words("", true), "");
   EXPECT_EQ(words("", false), "action goto-class has no rule, expected a name or the next rule");
   EXPECT_EQ(words("last", true),
             "action goto-class has rule 'last' and the next rule, expected one of them");
   EXPECT_EQ(words("other", false),
             "action goto-class: rule 'other' does not exist, expected a rule of the policy");
   EXPECT_EQ(words("web", false),
             "action goto-class: rule 'web' has sequence number 10, expected a rule that follows");
   traffic_policy_action_t back(traffic_policy_action_type_t::goto_class);
   back.goto_class_name_is("web");
   traffic_policy_rule_t last(traffic_policy_rule_type_t::ipv4, "last");
   last.action_set(back);
   traffic_policy_t policy("p");
   policy.rule_set(10, traffic_policy_rule_t(traffic_policy_rule_type_t::ipv4, "web"));
   policy.rule_set(20, last);
   EXPECT_THAT(wordsOf(policy),
               testing::HasSubstr("rule 'web' has sequence number 10, expected a rule that follows"));
}

TEST(TrafficPolicyRules, aPoliceRateIsWithinWhatHardwareMeasures) {
   using Rate = orv::police_rate_unit_t;
   using Burst = orv::police_burst_unit_t;
   const std::string words = "action police: ";
   EXPECT_EQ(policeWords(1, Rate::bps), "");
   EXPECT_EQ(policeWords(0, Rate::bps), words + "rate 0 bps is out of range, expected 1 to 1000000000000000");
   EXPECT_EQ(policeWords(1'000'000'000'000'000, Rate::bps), "");
   EXPECT_EQ(policeWords(1'000'000'000'000'001, Rate::bps),
             words + "rate 1000000000000001 bps is out of range, expected 1 to 1000000000000000");
   EXPECT_EQ(policeWords(1'000'000'000'000, Rate::kbps), "");
   EXPECT_EQ(policeWords(1'000'000'000'001, Rate::kbps),
             words + "rate 1000000000001 kbps is out of range, expected 1 to 1000000000000");
   EXPECT_EQ(policeWords(1'000'000'000, Rate::mbps), "");
   EXPECT_EQ(policeWords(1'000'000'001, Rate::mbps),
             words + "rate 1000000001 mbps is out of range, expected 1 to 1000000000");
   EXPECT_EQ(policeWords(1'000'000'000'000, Rate::pps), "");
   EXPECT_EQ(policeWords(1'000'000'000'001, Rate::pps),
             words + "rate 1000000000001 pps is out of range, expected 1 to 1000000000000");
   EXPECT_EQ(policeWords(1, Rate::mbps, 1'000'000'000, Burst::bytes), "");
   EXPECT_EQ(policeWords(1, Rate::mbps, 1'000'000'001, Burst::bytes),
             words + "burst size 1000000001 bytes is out of range, expected 0 to 1000000000");
   EXPECT_EQ(policeWords(1, Rate::mbps, 1'000'001, Burst::kbytes),
             words + "burst size 1000001 kbytes is out of range, expected 0 to 1000000");
   EXPECT_EQ(policeWords(1, Rate::mbps, 1'001, Burst::mbytes),
             words + "burst size 1001 mbytes is out of range, expected 0 to 1000");
}

TEST(TrafficPolicyRules, actionsDoNotContradictEachOther) {
   using Type = traffic_policy_action_type_t;
   const auto words = [](std::initializer_list<Type> types) {
      traffic_policy_rule_t rule(traffic_policy_rule_type_t::ipv4, "web");
      for (const auto type : types) {
         traffic_policy_action_t action(type);
         action.goto_next_is(type == Type::goto_class);
         action.vrf_is("red");
         rule.action_set(action);
      }
      return wordsOf(rule);
   };
   EXPECT_EQ(words({Type::drop, Type::log, Type::dscp, Type::traffic_class}), "");
   const std::string reason = ", expected at most one that decides where the packet goes";
   EXPECT_EQ(words({Type::permit, Type::log, Type::drop}), "actions drop and permit" + reason);
   EXPECT_EQ(words({Type::punt, Type::vrf}), "actions vrf and punt" + reason);
   EXPECT_EQ(words({Type::goto_class, Type::permit}), "actions goto-class and permit" + reason);
   traffic_policy_rule_t rule(traffic_policy_rule_type_t::ipv4, "web");
   for (const auto dscp : {10, 20}) {
      traffic_policy_action_t action(Type::dscp);
      action.dscp_is(static_cast<std::uint8_t>(dscp));
      rule.action_set(action);
   }
   EXPECT_EQ(wordsOf(rule), "two actions dscp, expected at most one");
}

}  // namespace
}  // namespace softswitch
