#include "AclFixture.h"

#include <gmock/gmock.h>

namespace softswitch {
namespace {

using orv::acl_action_t;
using orv::acl_direction_t;
using orv::acl_key_t;
using orv::acl_rule_eth_t;
using orv::acl_rule_ip_t;
using orv::intf_id_t;
using orv::ip_addr_t;
using testing::ElementsAre;
using testing::Pair;

TEST_F(AclFixture, editsArePendingUntilTheCommit) {
   mgr_->acl_rule_set(edge_, 10, ipRule(acl_action_t::permit));
   EXPECT_TRUE(mgr_->acl_exists(edge_));
   EXPECT_FALSE(mgr_->acl_all_exists(edge_));
   EXPECT_THAT(seqs(mgr_->acl_rule_ip_iter(edge_)), ElementsAre(10));
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre());
   EXPECT_EQ(mgr_->pendingEdits(), 2u);

   mgr_->acl_commit();
   EXPECT_TRUE(mgr_->acl_all_exists(edge_));
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(10));
   EXPECT_EQ(mgr_->pendingEdits(), 0u);

   mgr_->acl_rule_set(edge_, 10, ipRule(acl_action_t::deny));
   mgr_->acl_rule_set(edge_, 5, ipRule(acl_action_t::deny));
   EXPECT_EQ(listOf(mgr_->acl_all_rule_ip_iter(edge_)).front().second.action(), acl_action_t::permit);
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(10));
   mgr_->acl_commit();
   EXPECT_EQ(listOf(mgr_->acl_all_rule_ip_iter(edge_)).front().second.action(), acl_action_t::deny);
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(5, 10));
}

TEST_F(AclFixture, deletesArePendingToo) {
   for (unsigned seq : {1, 2, 3})
      mgr_->acl_rule_set(edge_, seq, ipRule(acl_action_t::permit));
   mgr_->acl_commit();
   mgr_->acl_rule_del(edge_, 2);
   EXPECT_THAT(seqs(mgr_->acl_rule_ip_iter(edge_)), ElementsAre(1, 3));
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(1, 2, 3));
   mgr_->acl_del(edge_);
   EXPECT_FALSE(mgr_->acl_exists(edge_));
   EXPECT_TRUE(mgr_->acl_all_exists(edge_));
   mgr_->acl_commit();
   EXPECT_FALSE(mgr_->acl_all_exists(edge_));
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre());
   EXPECT_TRUE(mgr_->committedRules().empty());
}

TEST_F(AclFixture, aListWithoutRulesStaysUntilItIsDeleted) {
   mgr_->acl_rule_set(edge_, 1, ipRule(acl_action_t::permit));
   mgr_->acl_rule_del(edge_, 1);
   EXPECT_TRUE(mgr_->acl_exists(edge_));
   mgr_->acl_del(edge_);
   EXPECT_FALSE(mgr_->acl_exists(edge_));
}

TEST_F(AclFixture, aListDeletedAndMadeAnewHasOnlyTheNewRules) {
   for (unsigned seq : {1, 2})
      mgr_->acl_rule_set(edge_, seq, ipRule(acl_action_t::permit));
   mgr_->acl_commit();
   mgr_->acl_del(edge_);
   mgr_->acl_rule_set(edge_, 7, ipRule(acl_action_t::deny));
   mgr_->acl_commit();
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(7));
}

TEST_F(AclFixture, deletingWhatIsAbsentIsNoError) {
   EXPECT_EQ(refusal([&] { mgr_->acl_del(edge_); }), "");
   EXPECT_EQ(refusal([&] { mgr_->acl_rule_del(edge_, 4); }), "");
   EXPECT_FALSE(mgr_->acl_rule_ip_iter(edge_));
   EXPECT_EQ(mgr_->pendingEdits(), 0u);
}

TEST_F(AclFixture, listsComeByKeyAndRulesByKindAndSequence) {
   mgr_->acl_rule_set(other_, 1, ipRule(acl_action_t::permit));
   mgr_->acl_rule_set(eth_, 3, acl_rule_eth_t());
   mgr_->acl_rule_set(edge_, 300, ipRule(acl_action_t::permit));
   mgr_->acl_rule_set(edge_, 4000000000u, ipRule(acl_action_t::permit));
   mgr_->acl_rule_set(edge_, 0, ipRule(acl_action_t::permit));
   EXPECT_THAT(listOf(mgr_->acl_iter()), ElementsAre(edge_, eth_, other_));
   EXPECT_THAT(seqs(mgr_->acl_rule_ip_iter(edge_)), ElementsAre(0, 300, 4000000000u));
   EXPECT_THAT(seqs(mgr_->acl_rule_ip_iter(eth_)), ElementsAre());
   EXPECT_THAT(listOf(mgr_->acl_rule_eth_iter(eth_)), ElementsAre(Pair(3u, acl_rule_eth_t())));
   EXPECT_FALSE(mgr_->acl_all_iter());
   mgr_->acl_commit();
   EXPECT_THAT(listOf(mgr_->acl_all_iter()), ElementsAre(edge_, eth_, other_));
   EXPECT_THAT(listOf(mgr_->acl_all_rule_eth_iter(eth_)), ElementsAre(Pair(3u, acl_rule_eth_t())));
}

TEST_F(AclFixture, aWalkMayDeleteWhatItStandsOn) {
   for (unsigned seq = 1; seq <= 5; ++seq)
      mgr_->acl_rule_set(edge_, seq, ipRule(acl_action_t::permit));
   for (auto rules = mgr_->acl_rule_ip_iter(edge_); rules; ++rules) {
      if (rules->first > 1) mgr_->acl_rule_del(edge_, rules->first);
   }
   EXPECT_THAT(seqs(mgr_->acl_rule_ip_iter(edge_)), ElementsAre(1));
}

TEST_F(AclFixture, everythingSurvivesARestartPendingEditsIncluded) {
   acl_rule_ip_t full = ipRule(acl_action_t::deny, "group");
   full.log_is(true);
   full.vlan_is(7);
   full.vlan_mask_is(0xf);
   full.inner_vlan_is(8);
   full.inner_vlan_mask_is(0xff);
   full.ip_protocol_is(6);
   full.ttl_is({orv::acl_range_operator_t::gt, 3});
   full.source_addr_is({ip_addr_t("10.0.0.1"), 8});
   full.destination_addr_is({ip_addr_t("192.0.2.0"), 24});
   full.source_port_is({orv::acl_range_operator_t::range, {1, 2}});
   full.destination_port_is({orv::acl_range_operator_t::eq, {80, 443}});
   full.tcp_flags_is(0x12);
   full.ip_type_is(orv::acl_ip_type_t::ipv4);
   full.established_is(true);
   full.icmp_type_is(8);
   full.icmp_code_is(0);
   full.priority_value_is(184);
   full.priority_mask_is(0xfc);
   full.match_fragments_is(true);
   full.match_ip_priority_is(true);
   acl_rule_eth_t fullEth;
   fullEth.action_is(acl_action_t::permit);
   fullEth.vlan_is(9);
   fullEth.source_addr_is(orv::eth_addr_t("02:00:00:00:00:01"));
   fullEth.destination_addr_is(orv::eth_addr_t("02:00:00:00:00:02"));
   fullEth.source_mask_is(orv::eth_addr_t("ff:ff:ff:00:00:00"));
   fullEth.destination_mask_is(orv::eth_addr_t("ff:ff:ff:ff:ff:ff"));
   fullEth.eth_protocol_is(0x800);

   mgr_->acl_rule_set(edge_, 1, full);
   mgr_->acl_rule_set(eth_, 2, fullEth);
   mgr_->acl_counters_enabled_set(edge_, true);
   mgr_->acl_commit();
   mgr_->acl_apply(edge_, ethernet1_, acl_direction_t::out, true);
   mgr_->acl_rule_set(edge_, 5, ipRule(acl_action_t::permit));
   mgr_->acl_del(eth_);
   restart([&] { forget(); });
   make();

   EXPECT_THAT(listOf(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(Pair(1u, full)));
   EXPECT_THAT(listOf(mgr_->acl_all_rule_eth_iter(eth_)), ElementsAre(Pair(2u, fullEth)));
   EXPECT_TRUE(mgr_->committedLists().find(edge_)->countersEnabled);
   EXPECT_THAT(seqs(mgr_->acl_rule_ip_iter(edge_)), ElementsAre(1, 5));
   EXPECT_FALSE(mgr_->acl_exists(eth_));
   EXPECT_EQ(mgr_->places().size(), 1u);

   mgr_->acl_commit();
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(1, 5));
   EXPECT_FALSE(mgr_->acl_all_exists(eth_));
}

TEST_F(AclFixture, refusesAKeyThatNamesNoList) {
   for (const orv::acl_key_t& key : {orv::acl_key_t(), orv::acl_key_t("", orv::acl_type_t::ipv4),
                                     orv::acl_key_t("edge", orv::acl_type_t::none)}) {
      SCOPED_TRACE(key.to_string());
      EXPECT_NE(refusal([&] { mgr_->acl_exists(key); }), "");
      EXPECT_NE(refusal([&] { mgr_->acl_all_exists(key); }), "");
      EXPECT_NE(refusal([&] { mgr_->acl_rule_ip_iter(key); }), "");
      EXPECT_NE(refusal([&] { mgr_->acl_all_rule_ip_iter(key); }), "");
      EXPECT_NE(refusal([&] { mgr_->acl_rule_eth_iter(key); }), "");
      EXPECT_NE(refusal([&] { mgr_->acl_all_rule_eth_iter(key); }), "");
      EXPECT_NE(refusal([&] { mgr_->acl_rule_set(key, 1, orv::acl_rule_ip_t()); }), "");
      EXPECT_NE(refusal([&] { mgr_->acl_rule_del(key, 1); }), "");
      EXPECT_NE(refusal([&] { mgr_->acl_del(key); }), "");
      EXPECT_NE(refusal([&] { mgr_->acl_apply(key, ethernet1_, acl_direction_t::in, true); }), "");
      EXPECT_NE(refusal([&] { mgr_->acl_counters_enabled_set(key, true); }), "");
      EXPECT_NE(refusal([&] { mgr_->acl_fragments_enabled_set(key, true); }), "");
      EXPECT_THROW(mgr_->acl_exists(key), orv::invalid_argument_error);
   }
}

TEST_F(AclFixture, refusesANameThatIsTooLongOrNotUtf8) {
   const orv::acl_key_t tooLong(std::string(401, 'n'), orv::acl_type_t::ipv4);
   EXPECT_EQ(refusal([&] { mgr_->acl_rule_set(tooLong, 1, orv::acl_rule_ip_t()); }),
             "ACL name of 401 bytes, expected at most 400");
   EXPECT_FALSE(mgr_->acl_all_exists(tooLong));
   EXPECT_EQ(refusal([&] {
                mgr_->acl_rule_set({"Z\xfcrich", orv::acl_type_t::ipv4}, 1, orv::acl_rule_ip_t());
             }),
             "ACL name 'Z\\xfcrich' is not UTF-8");
   // Every table of the store accepts the longest name.
   const orv::acl_key_t longest(std::string(400, 'n'), orv::acl_type_t::ipv4);
   mgr_->acl_rule_set(longest, 1, orv::acl_rule_ip_t());
   mgr_->acl_apply(longest, ethernet1_, acl_direction_t::in, true);
   mgr_->acl_commit();
   EXPECT_TRUE(mgr_->acl_exists(longest));
}

TEST_F(AclFixture, refusesToApplyWhatIsNotThere) {
   EXPECT_NE(refusal([&] {
                mgr_->acl_apply(edge_, ethernet1_, acl_direction_t::in, true);
             }).find("cannot be applied to interface Ethernet1, it does not exist"),
             std::string::npos);
   mgr_->acl_rule_set(edge_, 1, ipRule(acl_action_t::permit));
   EXPECT_EQ(refusal([&] { mgr_->acl_apply(edge_, intf_id_t("Ethernet99"), acl_direction_t::in, true); }),
             "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr_->acl_apply(edge_, ethernet1_, acl_direction_t::none, true); }),
             "direction none, expected in or out");
   EXPECT_EQ(refusal([&] { mgr_->acl_apply(edge_, ethernet1_, acl_direction_t::in, true); }), "");
   EXPECT_EQ(refusal([&] { mgr_->acl_apply(other_, ethernet1_, acl_direction_t::in, false); }), "");
   EXPECT_EQ(mgr_->places().size(), 1u);
}

TEST_F(AclFixture, refusesSettingsOfAListThatIsNotThere) {
   EXPECT_NE(refusal([&] { mgr_->acl_counters_enabled_set(edge_, true); }).find("does not exist"),
             std::string::npos);
   EXPECT_NE(refusal([&] { mgr_->acl_fragments_enabled_set(edge_, true); }).find("does not exist"),
             std::string::npos);
}

TEST_F(AclFixture, aRefusedRuleLeavesNoList) {
   acl_rule_ip_t bad;
   bad.vlan_is(5000);
   EXPECT_THROW(mgr_->acl_rule_set(edge_, 1, bad), orv::error);
   EXPECT_THROW(mgr_->acl_rule_set(acl_key_t(), 1, acl_rule_ip_t()), orv::invalid_argument_error);
   EXPECT_FALSE(mgr_->acl_exists(edge_));
   EXPECT_EQ(mgr_->pendingEdits(), 0u);
}

TEST_F(AclFixture, controlPlaneTrafficPassesWithoutAList) {
   EXPECT_TRUE(mgr_->stream_allowed(ip_addr_t("10.0.0.1"), ip_addr_t("10.0.0.2"), 6, 1000, 22));
   EXPECT_TRUE(
        mgr_->dgram_allowed(ip_addr_t("10.0.0.1"), ip_addr_t("10.0.0.2"), ethernet1_, 100, 17, 1000, 53));
}

TEST_F(AclFixture, controlPlaneListsDecideByTheirFirstMatch) {
   auto ssh = ipRule(acl_action_t::permit);
   ssh.destination_port_is({orv::acl_range_operator_t::eq, {22}});
   auto badHost = ipRule(acl_action_t::deny);
   badHost.source_addr_is({ip_addr_t("10.0.0.66"), 32});
   mgr_->acl_rule_set(edge_, 1, badHost);
   mgr_->acl_rule_set(edge_, 2, ssh);
   mgr_->acl_apply(edge_, loopback_, acl_direction_t::in, true);
   const ip_addr_t good("10.0.0.1"), bad("10.0.0.66"), self("10.0.0.2");
   EXPECT_TRUE(mgr_->stream_allowed(bad, self, 6, 1000, 22)) << "a list counts once it is committed";
   mgr_->acl_commit();
   EXPECT_TRUE(mgr_->stream_allowed(good, self, 6, 1000, 22));
   EXPECT_FALSE(mgr_->stream_allowed(good, self, 6, 1000, 23));
   EXPECT_FALSE(mgr_->stream_allowed(bad, self, 6, 1000, 22));
   EXPECT_TRUE(mgr_->stream_allowed(ip_addr_t("2001:db8::1"), ip_addr_t("2001:db8::2"), 6, 1000, 23));

   mgr_->acl_apply(edge_, loopback_, acl_direction_t::in, false);
   mgr_->acl_apply(edge_, ethernet1_, acl_direction_t::in, true);
   EXPECT_TRUE(mgr_->stream_allowed(bad, self, 6, 1000, 22));
   EXPECT_FALSE(mgr_->dgram_allowed(bad, self, ethernet1_, 100, 17, 1000, 22));
   EXPECT_TRUE(mgr_->dgram_allowed(bad, self, intf_id_t("Ethernet2"), 100, 17, 1000, 22));
   EXPECT_THROW(mgr_->dgram_allowed(bad, self, intf_id_t("Ethernet99"), 100, 17, 1, 1),
                orv::invalid_argument_error);
}

}  // namespace
}  // namespace softswitch
