#include "softswitch/managers/acl_mgr.h"

#include <gmock/gmock.h>

#include <map>
#include <optional>
#include <random>
#include <set>

#include "ManagerTest.h"
#include "softswitch/managers/intf_mgr.h"

namespace softswitch {
namespace {

using orv::acl_action_t;
using orv::acl_direction_t;
using orv::acl_key_t;
using orv::acl_rule_eth_t;
using orv::acl_rule_ip_t;
using orv::acl_type_t;
using orv::intf_id_t;
using orv::ip_addr_t;
using testing::ElementsAre;
using testing::Pair;

class Listener final : public orv::acl_handler {
public:
   using orv::acl_handler::acl_handler;
   void on_acl_sync() override { heard.push_back("sync"); }
   void on_acl_sync_fail(const std::string& source, const std::string& message) override {
      heard.push_back("fail " + source + ": " + message);
   }
   std::vector<std::string> heard;
};

acl_rule_ip_t ipRule(acl_action_t action, const std::string& group = "") {
   acl_rule_ip_t rule;
   rule.action_is(action);
   rule.nexthop_group_is(group);
   return rule;
}

class AclMgrTest : public ManagerTest {
protected:
   void SetUp() override {
      ManagerTest::SetUp();
      make();
   }
   void TearDown() override {
      forget();
      ManagerTest::TearDown();
   }
   void make() {
      intfs_ = std::make_unique<IntfMgr>(context(), topology_);
      mgr_ = std::make_unique<AclMgr>(context(), *intfs_);
   }
   void forget() {
      mgr_.reset();
      intfs_.reset();
   }
   void startAgain() {
      restart([&] { forget(); });
      make();
   }
   void startAgainWith(std::size_t acls) {
      limits_.acls = acls;
      startAgain();
   }
   void setRules(const acl_key_t& key, unsigned from, unsigned to, acl_action_t action) {
      for (unsigned seq = from; seq <= to; ++seq)
         mgr_->acl_rule_set(key, seq, ipRule(action));
   }
   // A list's own row and its rules as they are committed.
   std::pair<std::optional<AclRow>, std::vector<orv::acl_rule_ip_entry_t>> committed(const acl_key_t& key) {
      const auto* row = mgr_->committedLists().find(key);
      return {row == nullptr ? std::nullopt : std::optional(*row), all(mgr_->acl_all_rule_ip_iter(key))};
   }
   // Commits, and what `listener` hears of it.
   std::vector<std::string> commit(Listener& listener) {
      listener.heard.clear();
      mgr_->acl_commit();
      runLoop();
      return listener.heard;
   }
   std::vector<std::string> commit() {
      Listener listener(mgr_.get());
      listener.watch_all_acls(true);
      return commit(listener);
   }
   std::vector<unsigned> seqs(orv::acl_rule_ip_iter_t rules) {
      std::vector<unsigned> result;
      for (; rules; ++rules)
         result.push_back(rules->first);
      return result;
   }

   const Topology topology_ = Topology::builtIn();
   const acl_key_t edge_{"edge", acl_type_t::ipv4}, other_{"other", acl_type_t::ipv4},
        eth_{"edge", acl_type_t::eth};
   const acl_key_t a1_{"a1", acl_type_t::ipv4}, a2_{"a2", acl_type_t::ipv4}, x1_{"x1", acl_type_t::ipv4},
        x2_{"x2", acl_type_t::ipv4};
   const intf_id_t ethernet1_{"Ethernet1"}, loopback_{"Loopback0"};
   std::unique_ptr<IntfMgr> intfs_;
   std::unique_ptr<AclMgr> mgr_;
};

TEST_F(AclMgrTest, editsArePendingUntilTheCommit) {
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
   EXPECT_EQ(all(mgr_->acl_all_rule_ip_iter(edge_)).front().second.action(), acl_action_t::permit);
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(10));
   mgr_->acl_commit();
   EXPECT_EQ(all(mgr_->acl_all_rule_ip_iter(edge_)).front().second.action(), acl_action_t::deny);
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(5, 10));
}

TEST_F(AclMgrTest, deletesArePendingToo) {
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

TEST_F(AclMgrTest, aListWithoutRulesStaysUntilItIsDeleted) {
   mgr_->acl_rule_set(edge_, 1, ipRule(acl_action_t::permit));
   mgr_->acl_rule_del(edge_, 1);
   EXPECT_TRUE(mgr_->acl_exists(edge_));
   mgr_->acl_del(edge_);
   EXPECT_FALSE(mgr_->acl_exists(edge_));
}

TEST_F(AclMgrTest, aListDeletedAndMadeAnewHasOnlyTheNewRules) {
   for (unsigned seq : {1, 2})
      mgr_->acl_rule_set(edge_, seq, ipRule(acl_action_t::permit));
   mgr_->acl_commit();
   mgr_->acl_del(edge_);
   mgr_->acl_rule_set(edge_, 7, ipRule(acl_action_t::deny));
   mgr_->acl_commit();
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(7));
}

TEST_F(AclMgrTest, deletingWhatIsAbsentIsNoError) {
   EXPECT_EQ(refusal([&] { mgr_->acl_del(edge_); }), "");
   EXPECT_EQ(refusal([&] { mgr_->acl_rule_del(edge_, 4); }), "");
   EXPECT_FALSE(mgr_->acl_rule_ip_iter(edge_));
   EXPECT_EQ(mgr_->pendingEdits(), 0u);
}

TEST_F(AclMgrTest, listsComeByKeyAndRulesByKindAndSequence) {
   mgr_->acl_rule_set(other_, 1, ipRule(acl_action_t::permit));
   mgr_->acl_rule_set(eth_, 3, acl_rule_eth_t());
   mgr_->acl_rule_set(edge_, 300, ipRule(acl_action_t::permit));
   mgr_->acl_rule_set(edge_, 4000000000u, ipRule(acl_action_t::permit));
   mgr_->acl_rule_set(edge_, 0, ipRule(acl_action_t::permit));
   EXPECT_THAT(all(mgr_->acl_iter()), ElementsAre(edge_, eth_, other_));
   EXPECT_THAT(seqs(mgr_->acl_rule_ip_iter(edge_)), ElementsAre(0, 300, 4000000000u));
   EXPECT_THAT(seqs(mgr_->acl_rule_ip_iter(eth_)), ElementsAre());
   EXPECT_THAT(all(mgr_->acl_rule_eth_iter(eth_)), ElementsAre(Pair(3u, acl_rule_eth_t())));
   EXPECT_FALSE(mgr_->acl_all_iter());
   mgr_->acl_commit();
   EXPECT_THAT(all(mgr_->acl_all_iter()), ElementsAre(edge_, eth_, other_));
   EXPECT_THAT(all(mgr_->acl_all_rule_eth_iter(eth_)), ElementsAre(Pair(3u, acl_rule_eth_t())));
}

TEST_F(AclMgrTest, aWalkMayDeleteWhatItStandsOn) {
   for (unsigned seq = 1; seq <= 5; ++seq)
      mgr_->acl_rule_set(edge_, seq, ipRule(acl_action_t::permit));
   for (auto rules = mgr_->acl_rule_ip_iter(edge_); rules; ++rules) {
      if (rules->first > 1) mgr_->acl_rule_del(edge_, rules->first);
   }
   EXPECT_THAT(seqs(mgr_->acl_rule_ip_iter(edge_)), ElementsAre(1));
}

TEST_F(AclMgrTest, commitIsToldFromTheLoop) {
   Listener listener(mgr_.get()), deaf(mgr_.get());
   listener.watch_all_acls(true);
   mgr_->acl_commit();
   mgr_->acl_rule_set(edge_, 1, ipRule(acl_action_t::permit));
   mgr_->acl_commit();
   EXPECT_THAT(listener.heard, ElementsAre());
   runLoop();
   EXPECT_THAT(listener.heard, ElementsAre("sync", "sync"));
   EXPECT_THAT(deaf.heard, ElementsAre());
}

TEST_F(AclMgrTest, deletingAnAppliedListFailsAtTheCommitAndHoldsUpNoOther) {
   Listener listener(mgr_.get());
   listener.watch_all_acls(true);
   mgr_->acl_rule_set(edge_, 1, ipRule(acl_action_t::permit));
   mgr_->acl_commit();
   mgr_->acl_apply(edge_, ethernet1_, acl_direction_t::in, true);
   mgr_->acl_del(edge_);
   mgr_->acl_rule_set(other_, 1, ipRule(acl_action_t::permit));
   mgr_->acl_commit();
   EXPECT_TRUE(mgr_->acl_all_exists(edge_));
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(1));
   EXPECT_TRUE(mgr_->acl_all_exists(other_));
   runLoop();
   ASSERT_EQ(listener.heard.size(), 2u);
   EXPECT_NE(listener.heard[1].find("is deleted but applied to interface Ethernet1 in"), std::string::npos)
        << listener.heard[1];

   mgr_->acl_apply(edge_, ethernet1_, acl_direction_t::in, false);
   mgr_->acl_commit();
   EXPECT_FALSE(mgr_->acl_all_exists(edge_));
   runLoop();
   EXPECT_EQ(listener.heard.back(), "sync");
}

TEST_F(AclMgrTest, aDeletedListThatIsAppliedIsToldWithItsFirstPlace) {
   for (const auto& key : {edge_, other_}) {
      setRules(key, 1, 1, acl_action_t::permit);
   }
   mgr_->acl_rule_set(eth_, 1, acl_rule_eth_t());
   mgr_->acl_commit();
   runLoop();
   mgr_->acl_apply(eth_, ethernet1_, acl_direction_t::in, true);
   mgr_->acl_apply(edge_, intf_id_t("Ethernet3"), acl_direction_t::in, true);
   mgr_->acl_apply(edge_, intf_id_t("Ethernet2"), acl_direction_t::out, true);
   mgr_->acl_apply(edge_, intf_id_t("Ethernet2"), acl_direction_t::in, true);
   mgr_->acl_apply(other_, loopback_, acl_direction_t::out, true);
   mgr_->acl_del(other_);
   mgr_->acl_del(edge_);
   const auto edge = "fail edge (ipv4): ACL edge (ipv4) is deleted but applied to interface Ethernet2 ";
   const auto other = "fail other (ipv4): ACL other (ipv4) is deleted but applied to interface Loopback0 out";
   EXPECT_THAT(commit(), ElementsAre(edge + std::string("in"), other));
   mgr_->acl_apply(edge_, intf_id_t("Ethernet2"), acl_direction_t::in, false);
   EXPECT_THAT(commit(), ElementsAre(edge + std::string("out"), other));
   EXPECT_EQ(mgr_->pendingEdits(), 4u);
}

TEST_F(AclMgrTest, aListThatWasNeverCommittedIsDeletedWithoutAWord) {
   setRules(edge_, 1, 2, acl_action_t::permit);
   mgr_->acl_apply(edge_, ethernet1_, acl_direction_t::in, true);
   mgr_->acl_del(edge_);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   EXPECT_EQ(mgr_->pendingEdits(), 0u);
}

TEST_F(AclMgrTest, aFullTableIsReplacedInOneCommit) {
   startAgainWith(2);
   setRules(x1_, 1, 64, acl_action_t::permit);
   setRules(x2_, 1, 64, acl_action_t::permit);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   mgr_->acl_del(x1_);
   mgr_->acl_del(x2_);
   setRules(a1_, 1, 100, acl_action_t::permit);
   setRules(a2_, 1, 28, acl_action_t::permit);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   EXPECT_THAT(all(mgr_->acl_all_iter()), ElementsAre(a1_, a2_));
   EXPECT_EQ(mgr_->committedRules().size(), 128u);

   // The one that grows comes first by key.
   for (unsigned seq = 73; seq <= 100; ++seq)
      mgr_->acl_rule_del(a1_, seq);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   setRules(a2_, 29, 56, acl_action_t::permit);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   for (unsigned seq = 1; seq <= 28; ++seq)
      mgr_->acl_rule_del(a2_, seq);
   setRules(a1_, 73, 100, acl_action_t::deny);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   EXPECT_EQ(seqs(mgr_->acl_all_rule_ip_iter(a1_)).size(), 100u);
   EXPECT_EQ(seqs(mgr_->acl_all_rule_ip_iter(a2_)).size(), 28u);
}

TEST_F(AclMgrTest, aListWithoutRoomFailsAloneAndFollowsOnceThereIs) {
   startAgainWith(2);
   setRules(x1_, 1, 2, acl_action_t::permit);
   setRules(x2_, 1, 2, acl_action_t::permit);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   mgr_->acl_apply(x1_, ethernet1_, acl_direction_t::in, true);
   mgr_->acl_del(x1_);
   mgr_->acl_del(x2_);
   setRules(a1_, 1, 3, acl_action_t::permit);
   setRules(a2_, 1, 3, acl_action_t::permit);
   const auto full = "fail a2 (ipv4): acl table is full, it holds 2 rows";
   const auto applied = "fail x1 (ipv4): ACL x1 (ipv4) is deleted but applied to interface Ethernet1 in";
   for (const bool again : {false, true}) {
      SCOPED_TRACE(again);
      EXPECT_THAT(commit(), ElementsAre(full, applied));
      EXPECT_THAT(all(mgr_->acl_all_iter()), ElementsAre(a1_, x1_));
      EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(a1_)), ElementsAre(1, 2, 3));
      EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(a2_)), ElementsAre());
      EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(x1_)), ElementsAre(1, 2));
      EXPECT_EQ(mgr_->committedRules().size(), 5u);
      // x1 and two rules, a2 and three.
      EXPECT_EQ(mgr_->pendingEdits(), 7u);
      startAgain();
      EXPECT_EQ(mgr_->pendingEdits(), 7u);
   }
   mgr_->acl_apply(x1_, ethernet1_, acl_direction_t::in, false);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   EXPECT_THAT(all(mgr_->acl_all_iter()), ElementsAre(a1_, a2_));
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(a2_)), ElementsAre(1, 2, 3));
   EXPECT_EQ(mgr_->pendingEdits(), 0u);
}

TEST_F(AclMgrTest, aListWhoseRulesDoNotFitStaysAsItWas) {
   startAgainWith(2);
   setRules(x1_, 1, 100, acl_action_t::permit);
   setRules(a1_, 1, 27, acl_action_t::permit);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   mgr_->acl_apply(x1_, ethernet1_, acl_direction_t::in, true);
   mgr_->acl_del(x1_);
   const auto before = committed(a1_);
   mgr_->acl_counters_enabled_set(a1_, true);
   mgr_->acl_rule_del(a1_, 1);
   setRules(a1_, 2, 3, acl_action_t::deny);
   setRules(a1_, 101, 103, acl_action_t::deny);
   const auto applied = "fail x1 (ipv4): ACL x1 (ipv4) is deleted but applied to interface Ethernet1 in";
   EXPECT_THAT(commit(), ElementsAre("fail a1 (ipv4): acl rule table is full, it holds 128 rows", applied));
   EXPECT_TRUE(committed(a1_) == before);
   startAgain();
   EXPECT_TRUE(committed(a1_) == before);

   // With one rule less it just fits.
   mgr_->acl_rule_del(a1_, 103);
   EXPECT_THAT(commit(), ElementsAre(applied));
   EXPECT_EQ(mgr_->committedRules().size(), 128u);
   EXPECT_TRUE(mgr_->committedLists().find(a1_)->countersEnabled);
   EXPECT_TRUE(committed(a1_).second == all(mgr_->acl_rule_ip_iter(a1_)));
}

TEST_F(AclMgrTest, aListThatTheStoreHasNoRoomForStaysAsItWas) {
   setRules(edge_, 1, 60, acl_action_t::permit);
   setRules(other_, 1, 1, acl_action_t::permit);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   const auto before = committed(edge_);
   mgr_->acl_counters_enabled_set(edge_, true);
   mgr_->acl_rule_del(edge_, 1);
   setRules(edge_, 2, 61, acl_action_t::deny);
   mgr_->acl_del(other_);
   context().store.commit();

   // Leaves room for some writes, but not for all of the list.
   const auto ballast = context().store.open("ballast");
   int loads = 0;
   EXPECT_THROW(
        for (;; ++loads) {
           context().store.put(ballast, std::to_string(loads), std::string(1 << 20, 'x'));
           context().store.commit();
        },
        store::StoreError);
   const auto refused = commit();
   ASSERT_EQ(refused.size(), 1u);
   EXPECT_EQ(refused[0].rfind("fail edge (ipv4): no space left in state directory", 0), 0u) << refused[0];
   EXPECT_TRUE(committed(edge_) == before);
   EXPECT_FALSE(mgr_->acl_all_exists(other_)) << "a deletion needs no room";
   EXPECT_NE(refusal([&] { mgr_->acl_del(edge_); }), "");
   EXPECT_EQ(seqs(mgr_->acl_rule_ip_iter(edge_)).size(), 60u);
   EXPECT_TRUE(mgr_->acl_exists(edge_));

   startAgain();
   EXPECT_TRUE(committed(edge_) == before);
   const auto again = context().store.open("ballast");
   while (--loads >= 0) {
      context().store.del(again, std::to_string(loads));
      context().store.commit();
   }
   EXPECT_THAT(commit(), ElementsAre("sync"));
   EXPECT_TRUE(mgr_->committedLists().find(edge_)->countersEnabled);
   EXPECT_TRUE(committed(edge_).second == all(mgr_->acl_rule_ip_iter(edge_)));
}

// Whatever is edited and committed, restarts in between: each list is committed as it was last committed or
// as it is pending, and a failure is told for exactly those that did not follow.
TEST_F(AclMgrTest, everyCommitTakesEachListOverOrTellsThatItDidNot) {
   startAgainWith(3);
   using Rules = std::map<unsigned, acl_action_t>;
   std::map<acl_key_t, Rules> pending, counting;
   std::map<acl_direction_t, acl_key_t> applied;
   const std::vector<acl_key_t> keys{a1_, a2_, edge_, other_, x1_, x2_};
   std::mt19937 random(20);
   const auto pick = [&](std::size_t n) { return random() % n; };
   std::size_t fails = 0, syncs = 0;
   for (int round = 0; round < 3000; ++round) {
      const auto& key = keys[pick(keys.size())];
      const auto direction = pick(2) == 0 ? acl_direction_t::in : acl_direction_t::out;
      switch (pick(10)) {
         default: {
            if (pending.size() == 3 && !pending.contains(key)) break;
            const auto seq = static_cast<unsigned>(pick(4));
            const auto action = pick(2) == 0 ? acl_action_t::permit : acl_action_t::deny;
            mgr_->acl_rule_set(key, seq, ipRule(action));
            pending[key][seq] = action;
            break;
         }
         case 5: {
            const auto seq = static_cast<unsigned>(pick(4));
            mgr_->acl_rule_del(key, seq);
            if (pending.contains(key)) pending[key].erase(seq);
            break;
         }
         case 6:
            mgr_->acl_del(key);
            pending.erase(key);
            break;
         case 7:
            if (pending.contains(key) || counting.contains(key)) {
               mgr_->acl_apply(key, ethernet1_, direction, true);
               applied[direction] = key;
            }
            break;
         case 8:
            if (applied.contains(direction)) {
               mgr_->acl_apply(applied[direction], ethernet1_, direction, false);
               applied.erase(direction);
            }
            break;
         case 9: {
            if (pick(4) == 0) startAgain();
            const auto heard = commit();
            std::set<std::string> failed;
            for (const auto& line : heard)
               failed.insert(line.substr(0, line.find(':')));
            ASSERT_EQ(failed.size(), heard.size());
            std::map<acl_key_t, Rules> now;
            for (auto list = mgr_->acl_all_iter(); list; ++list) {
               auto& rules = now[*list];
               for (auto rule = mgr_->acl_all_rule_ip_iter(*list); rule; ++rule)
                  rules[rule->first] = rule->second.action();
            }
            bool anyKept = false;
            std::set<std::string> expected;
            const auto in = [](const auto& lists, const auto& list) {
               const auto it = lists.find(list);
               return it == lists.end() ? std::nullopt : std::optional(it->second);
            };
            for (const auto& list : keys) {
               if (in(now, list) == in(pending, list)) continue;
               ASSERT_EQ(in(now, list), in(counting, list)) << list.to_string();
               expected.insert("fail " + list.to_string());
               const bool kept = !pending.contains(list);
               if (kept) {
                  anyKept = true;
                  ASSERT_TRUE(in(applied, acl_direction_t::in) == list ||
                              in(applied, acl_direction_t::out) == list);
               } else {
                  ASSERT_EQ(now.size(), 3u);
               }
            }
            if (expected.empty()) expected.insert("sync");
            ASSERT_EQ(failed, expected);
            ASSERT_TRUE(anyKept || failed.contains("sync")) << "nothing stood in the way";
            ASSERT_LE(now.size(), 3u);
            ++(failed.contains("sync") ? syncs : fails);
            counting = std::move(now);
            break;
         }
      }
   }
   EXPECT_GT(syncs, 20u);
   EXPECT_GT(fails, 20u);
}

TEST_F(AclMgrTest, everythingSurvivesARestartPendingEditsIncluded) {
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

   EXPECT_THAT(all(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(Pair(1u, full)));
   EXPECT_THAT(all(mgr_->acl_all_rule_eth_iter(eth_)), ElementsAre(Pair(2u, fullEth)));
   EXPECT_TRUE(mgr_->committedLists().find(edge_)->countersEnabled);
   EXPECT_THAT(seqs(mgr_->acl_rule_ip_iter(edge_)), ElementsAre(1, 5));
   EXPECT_FALSE(mgr_->acl_exists(eth_));
   EXPECT_EQ(mgr_->places().size(), 1u);

   mgr_->acl_commit();
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(edge_)), ElementsAre(1, 5));
   EXPECT_FALSE(mgr_->acl_all_exists(eth_));
}

TEST_F(AclMgrTest, refusesAKeyThatNamesNoList) {
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

TEST_F(AclMgrTest, refusesToApplyWhatIsNotThere) {
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

TEST_F(AclMgrTest, refusesSettingsOfAListThatIsNotThere) {
   EXPECT_NE(refusal([&] { mgr_->acl_counters_enabled_set(edge_, true); }).find("does not exist"),
             std::string::npos);
   EXPECT_NE(refusal([&] { mgr_->acl_fragments_enabled_set(edge_, true); }).find("does not exist"),
             std::string::npos);
}

TEST_F(AclMgrTest, aRefusedRuleLeavesNoList) {
   acl_rule_ip_t bad;
   bad.vlan_is(5000);
   EXPECT_THROW(mgr_->acl_rule_set(edge_, 1, bad), orv::error);
   EXPECT_THROW(mgr_->acl_rule_set(acl_key_t(), 1, acl_rule_ip_t()), orv::invalid_argument_error);
   EXPECT_FALSE(mgr_->acl_exists(edge_));
   EXPECT_EQ(mgr_->pendingEdits(), 0u);
}

TEST_F(AclMgrTest, controlPlaneTrafficPassesWithoutAList) {
   EXPECT_TRUE(mgr_->stream_allowed(ip_addr_t("10.0.0.1"), ip_addr_t("10.0.0.2"), 6, 1000, 22));
   EXPECT_TRUE(
        mgr_->dgram_allowed(ip_addr_t("10.0.0.1"), ip_addr_t("10.0.0.2"), ethernet1_, 100, 17, 1000, 53));
}

TEST_F(AclMgrTest, controlPlaneListsDecideByTheirFirstMatch) {
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
