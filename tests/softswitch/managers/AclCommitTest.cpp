// What a commit of ACLs applies, and what it reports.
#include <gmock/gmock.h>

#include <map>
#include <optional>
#include <random>
#include <set>

#include "AclFixture.h"

namespace softswitch {
namespace {

using orv::acl_action_t;
using orv::acl_direction_t;
using orv::acl_key_t;
using orv::acl_rule_eth_t;
using orv::intf_id_t;
using testing::ElementsAre;

class AclCommitTest : public AclFixture {};

TEST_F(AclCommitTest, commitIsToldFromTheLoop) {
   AclListener listener(mgr_.get()), deaf(mgr_.get());
   listener.watch_all_acls(true);
   mgr_->acl_commit();
   mgr_->acl_rule_set(edge_, 1, ipRule(acl_action_t::permit));
   mgr_->acl_commit();
   EXPECT_THAT(listener.heard, ElementsAre());
   runLoop();
   EXPECT_THAT(listener.heard, ElementsAre("sync", "sync"));
   EXPECT_THAT(deaf.heard, ElementsAre());
}

TEST_F(AclCommitTest, deletingAnAppliedListFailsAtTheCommitAndHoldsUpNoOther) {
   AclListener listener(mgr_.get());
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

TEST_F(AclCommitTest, aDeletedListThatIsAppliedIsToldWithItsFirstPlace) {
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

TEST_F(AclCommitTest, aListThatWasNeverCommittedIsDeletedWithoutAWord) {
   setRules(edge_, 1, 2, acl_action_t::permit);
   mgr_->acl_apply(edge_, ethernet1_, acl_direction_t::in, true);
   mgr_->acl_del(edge_);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   EXPECT_EQ(mgr_->pendingEdits(), 0u);
}

TEST_F(AclCommitTest, aFullTableIsReplacedInOneCommit) {
   startAgainWith(2);
   setRules(x1_, 1, 64, acl_action_t::permit);
   setRules(x2_, 1, 64, acl_action_t::permit);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   mgr_->acl_del(x1_);
   mgr_->acl_del(x2_);
   setRules(a1_, 1, 100, acl_action_t::permit);
   setRules(a2_, 1, 28, acl_action_t::permit);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   EXPECT_THAT(listOf(mgr_->acl_all_iter()), ElementsAre(a1_, a2_));
   EXPECT_EQ(mgr_->committedRules().size(), 128u);

   // The list that grows is the first by key.
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

TEST_F(AclCommitTest, aListWithoutRoomFailsAloneAndFollowsOnceThereIs) {
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
      EXPECT_THAT(listOf(mgr_->acl_all_iter()), ElementsAre(a1_, x1_));
      EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(a1_)), ElementsAre(1, 2, 3));
      EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(a2_)), ElementsAre());
      EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(x1_)), ElementsAre(1, 2));
      EXPECT_EQ(mgr_->committedRules().size(), 5u);
      // Pending are x1 with two rules and a2 with three.
      EXPECT_EQ(mgr_->pendingEdits(), 7u);
      startAgain();
      EXPECT_EQ(mgr_->pendingEdits(), 7u);
   }
   mgr_->acl_apply(x1_, ethernet1_, acl_direction_t::in, false);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   EXPECT_THAT(listOf(mgr_->acl_all_iter()), ElementsAre(a1_, a2_));
   EXPECT_THAT(seqs(mgr_->acl_all_rule_ip_iter(a2_)), ElementsAre(1, 2, 3));
   EXPECT_EQ(mgr_->pendingEdits(), 0u);
}

TEST_F(AclCommitTest, aListWhoseRulesDoNotFitStaysAsItWas) {
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

   // With one rule fewer it just fits.
   mgr_->acl_rule_del(a1_, 103);
   EXPECT_THAT(commit(), ElementsAre(applied));
   EXPECT_EQ(mgr_->committedRules().size(), 128u);
   EXPECT_TRUE(mgr_->committedLists().find(a1_)->countersEnabled);
   EXPECT_TRUE(committed(a1_).second == listOf(mgr_->acl_rule_ip_iter(a1_)));
}

TEST_F(AclCommitTest, aListThatTheStoreHasNoRoomForStaysAsItWas) {
   setRules(edge_, 1, 60, acl_action_t::permit);
   setRules(other_, 1, 1, acl_action_t::permit);
   EXPECT_THAT(commit(), ElementsAre("sync"));
   const auto before = committed(edge_);
   mgr_->acl_counters_enabled_set(edge_, true);
   mgr_->acl_rule_del(edge_, 1);
   setRules(edge_, 2, 61, acl_action_t::deny);
   mgr_->acl_del(other_);
   context().store.commit();

   // Fills the store until it has room for some writes, but not for the whole list.
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
   EXPECT_TRUE(committed(edge_).second == listOf(mgr_->acl_rule_ip_iter(edge_)));
}

// Random edits, commits and restarts. After each commit a list is either as it was last committed or as it is
// pending; a failure is reported for exactly those lists that the commit left unchanged.
TEST_F(AclCommitTest, everyCommitTakesEachListOverOrTellsThatItDidNot) {
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

}  // namespace
}  // namespace softswitch
