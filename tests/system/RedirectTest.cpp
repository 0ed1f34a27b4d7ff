// Redirects, labels and tunnels from their first request to their last.
#include "RedirectSwitch.h"

namespace orvtest {
namespace {

TEST_F(Redirects, theThreeLayersAndTheTableFollowARedirectThroughItsLife) {
   EXPECT_EQ(agent_->add("gold", "low", {46, 10}, {46}), pb::RPC_STATUS_OK);
   EXPECT_THAT(list(v4("gold-low")), ElementsAre(10u, 46u));
   EXPECT_THAT(list(v6("gold-low")), ElementsAre(46u));
   EXPECT_TRUE(hasClassMap("gold-low"));
   EXPECT_THAT(sequences(), ElementsAre(1u));
   EXPECT_THAT(overrides(), ElementsAre(Pair("gold>low", Dscps{10, 46})));
   EXPECT_EQ(groupOf(46), "low");
   EXPECT_EQ(groupOf(10), "low");
   EXPECT_EQ(groupOf(11), "gold");
   const auto seen = look("10.0.1.1 dscp 46");
   EXPECT_EQ(seen["nexthop_group_of_route"], "gold");
   EXPECT_EQ(seen["redirected_by"], "policy map cbf rule 1, class map gold-low, ACL gold-low_IPv4 rule 2");

   // With other values the lists change, the rule stays, and no old rule is left.
   EXPECT_EQ(agent_->add("gold", "low", {11}), pb::RPC_STATUS_OK);
   EXPECT_THAT(list(v4("gold-low")), ElementsAre(11u));
   EXPECT_THAT(list(v6("gold-low")), IsEmpty());
   EXPECT_EQ(groupOf(46), "gold");
   EXPECT_EQ(groupOf(11), "low");
   EXPECT_THAT(overrides(), ElementsAre(Pair("gold>low", Dscps{11})));
   EXPECT_THAT(sequences(), ElementsAre(1u));

   EXPECT_EQ(agent_->remove("gold", "low"), pb::RPC_STATUS_OK);
   EXPECT_EQ(groupOf(11), "low");
   awaitGroup(11, "gold");
   EXPECT_THAT(sequences(), IsEmpty());
   EXPECT_FALSE(hasClassMap("gold-low") || hasList(v4("gold-low")) || hasList(v6("gold-low")));
   EXPECT_THAT(overrides(), IsEmpty());
   EXPECT_EQ(agent_->remove("gold", "low"), pb::RPC_STATUS_NOT_FOUND);
}

TEST_F(Redirects, oneThatIsAddedAgainWithinTheSecondStaysAsItIs) {
   ASSERT_EQ(agent_->add("gold", "low", {1}, {2}), pb::RPC_STATUS_OK);
   ASSERT_EQ(agent_->add("gold", "other", {3}), pb::RPC_STATUS_OK);
   ASSERT_EQ(agent_->add("gold", "changed", {4, 5}), pb::RPC_STATUS_OK);
   ASSERT_EQ(agent_->add("low", "gold", {6}), pb::RPC_STATUS_OK);
   const auto before = policy();
   for (const auto& [match, to] : {std::pair("gold", "low"), std::pair("gold", "other"),
                                   std::pair("gold", "changed"), std::pair("low", "gold")})
      EXPECT_EQ(agent_->remove(match, to), pb::RPC_STATUS_OK);
   EXPECT_EQ(policy(), before);
   EXPECT_EQ(agent_->add("gold", "low", {1}, {2}), pb::RPC_STATUS_OK);
   EXPECT_EQ(agent_->add("gold", "changed", {7}), pb::RPC_STATUS_OK);
   // This one is removed twice, and added again only after the first removal.
   EXPECT_EQ(agent_->add("low", "gold", {6}), pb::RPC_STATUS_OK);
   EXPECT_EQ(agent_->remove("low", "gold"), pb::RPC_STATUS_OK);
   EXPECT_EQ(policy(), before);
   EXPECT_EQ(overrides().size(), 4u);

   // The timer fires for the two removals that are still pending.
   awaitGroup(3, "gold");
   EXPECT_THAT(sequences(), ElementsAre(1u, 3u));
   EXPECT_EQ(agent_->sequence("gold", "low"), 1u);
   EXPECT_EQ(agent_->sequence("gold", "changed"), 3u);
   EXPECT_FALSE(agent_->sequence("low", "gold"));
   EXPECT_THAT(overrides(), ElementsAre(Pair("gold>changed", Dscps{7}), Pair("gold>low", Dscps{1, 2})));
   EXPECT_EQ(groupOf(1), "low");
   EXPECT_THAT(list(v6("gold-low")), ElementsAre(2u));
   EXPECT_THAT(list(v4("gold-changed")), ElementsAre(7u));
   EXPECT_FALSE(hasClassMap("gold-other") || hasClassMap("low-gold"));
   // Added again after that, the redirect is a new one.
   EXPECT_EQ(agent_->add("gold", "other", {3}), pb::RPC_STATUS_OK);
   EXPECT_EQ(agent_->sequence("gold", "other"), 5u);
   EXPECT_EQ(groupOf(3), "other");
}

// Redirects that are removed and added again without a pause. A redirect that is removed when the timer fires
// comes back as a new one.
TEST_F(Redirects, addedAgainWhileTheTimerFiresEachIsThereAsAWhole) {
   constexpr std::uint32_t count = 12;
   const auto name = [](std::uint32_t at) { return "r" + std::to_string(at); };
   std::vector<std::uint32_t> sequenceOf(count);
   for (std::uint32_t at = 0; at < count; ++at) {
      agent_->group(name(at), "Ethernet2");
      ASSERT_EQ(agent_->add("gold", name(at), {at}, {at}), pb::RPC_STATUS_OK);
      sequenceOf[at] = at + 1;
   }
   awaitGroup(count - 1, name(count - 1));
   ASSERT_EQ(agent_->add("gold", "low", {60}), pb::RPC_STATUS_OK);
   ASSERT_EQ(agent_->remove("gold", "low"), pb::RPC_STATUS_OK);
   int firings = 0;
   std::set<std::uint32_t> renewed;
   while (firings < 2 || renewed.empty()) {
      for (std::uint32_t at = 0; at < count; ++at)
         ASSERT_EQ(agent_->remove("gold", name(at)), pb::RPC_STATUS_OK);
      for (std::uint32_t at = 0; at < count; ++at) {
         ASSERT_EQ(agent_->add("gold", name(at), {at}, {at}), pb::RPC_STATUS_OK);
         // The redirect is not pending, so from here on the timer cannot remove it.
         const auto now = agent_->sequence("gold", name(at));
         ASSERT_TRUE(now);
         if (*now != sequenceOf[at]) {
            ASSERT_GT(*now, sequenceOf[at]);
            renewed.insert(at);
         }
         sequenceOf[at] = *now;
         ASSERT_EQ(groupOf(at), name(at));
      }
      if (!agent_->sequence("gold", "low")) {
         ++firings;
         ASSERT_EQ(agent_->add("gold", "low", {60}), pb::RPC_STATUS_OK);
         ASSERT_EQ(agent_->remove("gold", "low"), pb::RPC_STATUS_OK);
      }
   }
   awaitGroup(60, "gold");
   EXPECT_EQ(agent_->known(), count);
   auto expected = sequenceOf;
   std::sort(expected.begin(), expected.end());
   EXPECT_EQ(sequences(), expected);
   EXPECT_EQ(pendingEdits(), 0u);
   const auto table = overrides();
   EXPECT_EQ(table.size(), count);
   for (std::uint32_t at = 0; at < count; ++at) {
      const std::string unique = "gold-" + name(at);
      EXPECT_EQ(table.at("gold>" + name(at)), Dscps{at});
      EXPECT_TRUE(hasClassMap(unique));
      EXPECT_THAT(list(v4(unique)), ElementsAre(at));
      EXPECT_THAT(list(v6(unique)), ElementsAre(at));
      EXPECT_EQ(policy().rules().at(sequenceOf[at]).class_map_key(), pbr(unique));
      EXPECT_EQ(groupOf(at), name(at));
   }
}

TEST_F(Redirects, aRemovalThatARestartOvertakesIsMadeGoodByTheResync) {
   ASSERT_EQ(agent_->add("gold", "low", {1}), pb::RPC_STATUS_OK);
   ASSERT_EQ(agent_->add("gold", "other", {2}), pb::RPC_STATUS_OK);
   ASSERT_EQ(agent_->remove("gold", "low"), pb::RPC_STATUS_OK);
   stopSwitch();
   startSwitch();
   EXPECT_TRUE(agent_->init());
   // Only the policy map redirects, since no controller has sent anything yet.
   EXPECT_THAT(overrides(), IsEmpty());
   awaitGroup(1, "low");
   awaitGroup(2, "other");
   agent_->resync(Phase::RESYNC_START);
   for (const char* group : {"gold", "low", "other"})
      agent_->group(group, "Ethernet1");
   agent_->route(1, "gold");
   EXPECT_EQ(agent_->add("gold", "other", {2}), pb::RPC_STATUS_OK);
   agent_->resync(Phase::RESYNC_END);
   awaitGroup(1, "gold");
   EXPECT_EQ(groupOf(2), "other");
   EXPECT_THAT(sequences(), ElementsAre(2u));
   EXPECT_THAT(overrides(), ElementsAre(Pair("gold>other", Dscps{2})));
}

TEST_F(Redirects, aLabelHasOneForwardingWhicheverManagerHasIt) {
   pb::mpls_route_msg intoVrf;
   intoVrf.set_label(100);
   intoVrf.set_popandforward("default");
   pb::mpls_route_msg toGroup;
   toGroup.set_label(100);
   toGroup.mutable_nexthop_group_msg()->set_name("low");
   pb::mpls_route_msg removal;
   removal.set_label(100);
   removal.set_delete_(true);
   const orv::mpls_route_key_t key(orv::mpls_label_t(100), 0);
   const auto hasRoute = [&] { return locked([&] { return sw().get_mpls_route_mgr()->exists(key); }); };
   const auto vrf = [&] {
      return locked(
           [&] { return sw().get_mpls_vrf_label_mgr()->mpls_vrf_label(key.labels().front()).vrf_name(); });
   };
   const auto awaitResult = [&](const std::string& words, const std::string& member, const Json& value) {
      while (look(words).value(member, Json()) != value)
         std::this_thread::yield();
   };

   EXPECT_EQ(agent_->label(intoVrf), pb::RPC_STATUS_OK);
   EXPECT_EQ(look("label 100 10.0.1.1")["nexthop_group"], "gold");
   EXPECT_EQ(agent_->label(toGroup), pb::RPC_STATUS_OK);
   EXPECT_EQ(vrf(), "");
   awaitResult("label 100", "nexthop_group", "low");
   EXPECT_EQ(agent_->label(intoVrf), pb::RPC_STATUS_OK);
   EXPECT_FALSE(hasRoute());
   EXPECT_EQ(vrf(), "default");
   awaitResult("label 100 10.0.1.1", "nexthop_group", "gold");
   // Behind the label, a redirect applies to what would leave through gold.
   EXPECT_EQ(agent_->add("gold", "other", {9}), pb::RPC_STATUS_OK);
   EXPECT_EQ(look("label 100 10.0.1.1 dscp 9")["nexthop_group"], "other");
   EXPECT_EQ(agent_->label(removal), pb::RPC_STATUS_OK);
   EXPECT_EQ(vrf(), "");
   EXPECT_EQ(look("label 100 10.0.1.1")["result"], "no route");
   EXPECT_EQ(agent_->label(removal), pb::RPC_STATUS_NOT_FOUND);

   // A group that is created later.
   toGroup.mutable_nexthop_group_msg()->set_name("late");
   EXPECT_EQ(agent_->label(toGroup), pb::RPC_STATUS_OK);
   EXPECT_TRUE(hasRoute());
   EXPECT_EQ(look("label 100")["result"], "drop");
   agent_->group("late", "Ethernet3");
   awaitResult("label 100", "interface", "Ethernet3");
   // These are refused, and nothing is written.
   auto tooMany = toGroup;
   tooMany.mutable_nexthop_msg()->set_mpls_operation(pb::MPLS_OPERATION_SWAP);
   tooMany.mutable_nexthop_msg()->mutable_address()->set_address(orvtest::ipv4({192, 0, 2, 7}));
   tooMany.mutable_nexthop_msg()->add_mpls_labels(1);
   tooMany.mutable_nexthop_msg()->add_mpls_labels(2);
   EXPECT_EQ(agent_->label(tooMany), pb::RPC_STATUS_ERROR);
   tooMany.mutable_nexthop_msg()->mutable_mpls_labels()->RemoveLast();
   auto unknownIntf = tooMany;
   unknownIntf.mutable_nexthop_msg()->set_intf("Ethernet99");
   EXPECT_EQ(agent_->label(unknownIntf), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(look("label 100")["interface"], "Ethernet3");
   // The route is written anew with a hop, so its via to the group is gone.
   EXPECT_EQ(agent_->label(tooMany), pb::RPC_STATUS_OK);
   awaitResult("label 100", "nexthop", "192.0.2.7");
   EXPECT_EQ(look("label 100")["labels"], Json::array({1}));
   EXPECT_EQ(agent_->label(removal), pb::RPC_STATUS_OK);
   EXPECT_FALSE(hasRoute());
}

TEST_F(Redirects, aTunnelMayNameAGroupThatIsNotThere) {
   pb::nexthop_group_tunnel_msg request;
   *request.mutable_prefix() = orvtest::ipRoute(9, "").prefix();
   EXPECT_EQ(agent_->tunnel(request), pb::RPC_STATUS_NOT_FOUND);
   request.set_nexthop_group_name("nowhere");
   request.set_igp_metric(7);
   EXPECT_EQ(agent_->tunnel(request), pb::RPC_STATUS_OK);
   const auto tunnels = [&] {
      return locked([&] {
         std::vector<orv::nexthop_group_tunnel_t> all;
         for (auto each = sw().get_nexthop_group_tunnel_mgr()->nexthop_group_tunnel_iter(); each; ++each)
            all.push_back(*each);
         return all;
      });
   };
   orv::nexthop_group_tunnel_t tunnel(orv::ip_prefix_t("10.0.9.0/24"), "nowhere");
   tunnel.igp_metric_is(7);
   EXPECT_THAT(tunnels(), ElementsAre(tunnel));
   request.mutable_prefix()->set_prefix_length(8);
   EXPECT_EQ(agent_->tunnel(request), pb::RPC_STATUS_ERROR);
   request.mutable_prefix()->set_prefix_length(24);
   request.clear_nexthop_group_name();
   EXPECT_EQ(agent_->tunnel(request), pb::RPC_STATUS_OK);
   EXPECT_THAT(tunnels(), IsEmpty());
}

}  // namespace
}  // namespace orvtest
