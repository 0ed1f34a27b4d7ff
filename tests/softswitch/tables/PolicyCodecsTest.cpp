#include "softswitch/tables/policy_codecs.h"

#include <gtest/gtest.h>

#include <string>

namespace softswitch {
namespace {

using store::Reader;
using store::StoreError;
using store::Writer;

template <typename Write>
std::string written(Write write) {
   std::string bytes;
   Writer out(bytes);
   write(out);
   return bytes;
}

orv::acl_rule_ip_t someIpRule() {
   orv::acl_rule_ip_t rule;
   rule.action_is(orv::acl_action_t::deny);
   rule.source_addr_is({orv::ip_addr_t("2001:db8::1"), 64});
   rule.destination_port_is({orv::acl_range_operator_t::eq, {22, 443}});
   rule.nexthop_group_is("group");
   return rule;
}

orv::policy_map_t somePolicyMap() {
   orv::policy_map_action_t nexthops(orv::policy_action_type_t::nexthop);
   nexthops.nexthops_is({orv::ip_addr_t("10.0.0.1"), orv::ip_addr_t("2001:db8::1")});
   orv::policy_map_rule_t classRule(orv::policy_map_key_t("class", orv::policy_feature_t::qos));
   classRule.action_set(nexthops);
   orv::policy_map_rule_t rawRule;
   rawRule.policy_map_rule_type_is(orv::policy_map_rule_type_t::raw);
   rawRule.raw_rule_is(someIpRule());
   orv::policy_map_t map;
   map.rule_set(1, classRule);
   map.rule_set(4'000'000'000u, rawRule);
   return map;
}

// A row that is truncated anywhere, or is followed by extra bytes, is refused.
template <typename Read>
void expectDamageIsNoticed(const std::string& bytes, Read read) {
   for (std::size_t length = 0; length < bytes.size(); ++length) {
      Reader in(std::string_view(bytes).substr(0, length));
      EXPECT_THROW(read(in), StoreError) << "cut to " << length << " of " << bytes.size();
   }
   const auto longer = bytes + '\0';
   Reader in(longer);
   read(in);
   EXPECT_THROW(in.end(), StoreError);
}

TEST(PolicyCodecs, keysComeBack) {
   const orv::acl_key_t acl("edge", orv::acl_type_t::mpls);
   const auto aclBytes = written([&](Writer& out) { write(out, acl); });
   Reader aclIn(aclBytes);
   EXPECT_EQ(readAclKey(aclIn), acl);
   expectDamageIsNoticed(aclBytes, [](Reader& in) { readAclKey(in); });

   const orv::policy_map_key_t policy("p", orv::policy_feature_t::control_plane);
   const auto policyBytes = written([&](Writer& out) { write(out, policy); });
   Reader policyIn(policyBytes);
   EXPECT_EQ(readPolicyMapKey(policyIn), policy);
   expectDamageIsNoticed(policyBytes, [](Reader& in) { readPolicyMapKey(in); });
}

TEST(PolicyCodecs, rulesComeBack) {
   const auto ipBytes = written([](Writer& out) { write(out, someIpRule()); });
   Reader ipIn(ipBytes);
   EXPECT_EQ(readAclRuleIp(ipIn), someIpRule());
   ipIn.end();
   expectDamageIsNoticed(ipBytes, [](Reader& in) { readAclRuleIp(in); });

   orv::acl_rule_eth_t eth;
   eth.source_addr_is(orv::eth_addr_t("02:00:00:00:00:01"));
   eth.eth_protocol_is(0x86dd);
   const auto ethBytes = written([&](Writer& out) { write(out, eth); });
   Reader ethIn(ethBytes);
   EXPECT_EQ(readAclRuleEth(ethIn), eth);
   ethIn.end();
   expectDamageIsNoticed(ethBytes, [](Reader& in) { readAclRuleEth(in); });
}

TEST(PolicyCodecs, mapsComeBack) {
   const auto bytes = written([](Writer& out) { writeRules(out, somePolicyMap()); });
   orv::policy_map_t map;
   Reader in(bytes);
   readRules(in, map);
   in.end();
   EXPECT_EQ(map, somePolicyMap());
   expectDamageIsNoticed(bytes, [](Reader& reader) {
      orv::policy_map_t into;
      readRules(reader, into);
   });

   orv::class_map_t classMap;
   classMap.rule_set(7, orv::class_map_rule_t(orv::acl_key_t("a", orv::acl_type_t::ipv6)));
   const auto classBytes = written([&](Writer& out) { writeRules(out, classMap); });
   orv::class_map_t classAgain;
   Reader classIn(classBytes);
   readRules(classIn, classAgain);
   EXPECT_EQ(classAgain, classMap);
}

TEST(PolicyCodecs, unknownEnumeratorsAreDamage) {
   std::string bytes =
        written([](Writer& out) { write(out, orv::acl_key_t("edge", orv::acl_type_t::ipv4)); });
   bytes[0] = 5;
   Reader in(bytes);
   EXPECT_THROW(readAclKey(in), StoreError);
}

}  // namespace
}  // namespace softswitch
