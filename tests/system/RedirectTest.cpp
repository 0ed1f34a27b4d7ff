// Redirects, labels and tunnels over a switch that really exists: what its tables hold, what its override
// table holds, and which way packets take.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OrvSdkRpc/programming/BfdProgrammer.h"
#include "OrvSdkRpc/programming/CbfNhgMgr.h"
#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"
#include "OrvSdkRpc/programming/ClientInit.h"
#include "OrvSdkRpc/programming/IpRouteProgrammer.h"
#include "OrvSdkRpc/programming/MplsRouteProgrammer.h"
#include "OrvSdkRpc/programming/NexthopGroupProgrammer.h"
#include "OrvSdkRpc/programming/NhgTunnelProgrammer.h"
#include "RunningSwitch.h"
#include "fixture/Contract.h"
#include "fixture/Programmed.h"
#include "fixture/TempDir.h"
#include "orv/lock.h"
#include "orv/mpls_route.h"
#include "orv/mpls_vrf_label.h"
#include "orv/nexthop_group_tunnel.h"
#include "softswitch/console/commands.h"
#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/mount_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"

namespace systest {
namespace {

namespace pb = OrvSdkRpc::pb;
using Json = nlohmann::json;
using Overrides = CbfNhgExt::CbfNhgOverrideConfig;
using Phase = pb::rpc_server_resync_msg;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Dscps = std::vector<std::uint32_t>;

const std::string policyName = "cbf";

orv::policy_map_key_t pbr(const std::string& name) {
   return {name, orv::policy_feature_t::pbr};
}
orv::acl_key_t v4(const std::string& name) {
   return {name + "_IPv4", orv::acl_type_t::ipv4};
}
orv::acl_key_t v6(const std::string& name) {
   return {name + "_IPv6", orv::acl_type_t::ipv6};
}

// What an agent's process has of these programmers. Made anew, it knows what the switch tells it.
class Agent {
public:
   explicit Agent(softswitch::SoftSwitch& sw) : sw_(sw) {
      const orv::sdk_scoped_lock lock;
      watching_.emplace(*this);
      client_.programmersAre({.ipRoute = &ip_, .cbf = &watching_->cbf, .bfd = &watching_->bfd});
   }
   ~Agent() {
      const orv::sdk_scoped_lock lock;
      watching_.reset();
   }
   Agent(const Agent&) = delete;
   Agent& operator=(const Agent&) = delete;

   // Whether there are redirects.
   bool init() {
      pb::rpc_server_config_msg request;
      request.set_cbf_nexthop_group_redirect_policy_map_name(policyName);
      pb::rpc_server_init_status_msg response;
      client_.processInitRequest(request, response);
      EXPECT_EQ(response.status().status(), pb::RPC_STATUS_OK) << response.status().debug_string();
      return response.cbf_redirects_exist();
   }
   void resync(Phase::resync_phase_enum phase) {
      Phase request;
      request.set_resync_phase(phase);
      pb::rpc_status_msg response;
      client_.processResync(request, response);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_OK) << response.debug_string();
   }
   void group(const std::string& name, const std::string& intf) {
      pb::nexthop_group_msg request;
      request.set_name(name);
      fixture::addNexthop(request, 1, {100});
      request.mutable_nexthops(0)->set_intf(intf);
      pb::rpc_status_msg response;
      groups_.processNexthopGroupRequest(request, response);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_OK) << response.debug_string();
   }
   void route(int third, const std::string& group) {
      pb::rpc_status_msg response;
      ip_.processIpRouteRequest(fixture::ipRoute(third, group), response);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_OK) << response.debug_string();
   }
   static pb::cbf_nexthop_group_redirect_msg message(const std::string& match, const std::string& to,
                                                     const Dscps& ipv4, const Dscps& ipv6 = {}) {
      pb::cbf_nexthop_group_redirect_msg request;
      request.set_match_nexthop_group_name(match);
      request.set_redirect_nexthop_group_name(to);
      request.mutable_match_ipv4_dscp()->Add(ipv4.begin(), ipv4.end());
      request.mutable_match_ipv6_dscp()->Add(ipv6.begin(), ipv6.end());
      return request;
   }
   int add(const std::string& match, const std::string& to, const Dscps& ipv4, const Dscps& ipv6 = {}) {
      pb::rpc_status_msg response;
      watching_->cbf.processCbfNhgRedirectRequest(message(match, to, ipv4, ipv6), response);
      return response.status();
   }
   int remove(const std::string& match, const std::string& to) {
      auto request = message(match, to, {});
      request.set_delete_(true);
      pb::rpc_status_msg response;
      watching_->cbf.processCbfNhgRedirectRequest(request, response);
      return response.status();
   }
   int label(const pb::mpls_route_msg& request) {
      pb::rpc_status_msg response;
      mpls_.processMPLSRouteRequest(request, response);
      return response.status();
   }
   int tunnel(const pb::nexthop_group_tunnel_msg& request) {
      pb::rpc_status_msg response;
      tunnels_.processNhgTunnelRequest(request, response);
      return response.status();
   }

   // The override table has this agent as its writer.
   bool mounted() {
      const orv::sdk_scoped_lock lock;
      return watching_->overrides.initialized();
   }
   // Of the policy map's rule; nothing where the redirect is not known.
   std::optional<std::uint32_t> sequence(const std::string& match, const std::string& to) {
      const orv::sdk_scoped_lock lock;
      const auto& known = watching_->cbf.redirects();
      const auto found = known.find({match, to});
      return found == known.end() ? std::nullopt : std::optional(found->second.sequence);
   }
   std::size_t known() {
      const orv::sdk_scoped_lock lock;
      return watching_->cbf.redirects().size();
   }

private:
   struct Watching {
      explicit Watching(Agent& agent)
           : bfd(agent.client_, agent.sw_.get_bfd_session_mgr(), agent.sw_.get_intf_mgr(), agent.updates_),
             overrides(agent.sw_.get_mount_mgr()),
             cbf(agent.client_, agent.sw_.get_policy_map_mgr(), agent.sw_.get_class_map_mgr(),
                 agent.sw_.get_acl_mgr(), agent.sw_.get_agent_mgr(), &overrides) {}
      OrvSdkRpc::BfdProgrammer bfd;
      OrvSdkRpc::CbfNhgMgr overrides;
      OrvSdkRpc::CbfNhgRedirectProgrammer cbf;
   };

   softswitch::SoftSwitch& sw_;
   OrvSdkRpc::ClientInit client_{sw_.get_ip_route_mgr(), sw_.get_mpls_route_mgr(),
                                 sw_.get_mpls_vrf_label_mgr(), sw_.get_nexthop_group_mgr(),
                                 sw_.get_nexthop_group_tunnel_mgr()};
   fixture::SentUpdates updates_;
   std::optional<Watching> watching_;
   OrvSdkRpc::IpRouteProgrammer ip_{client_, sw_.get_ip_route_mgr()};
   OrvSdkRpc::NexthopGroupProgrammer groups_{client_, sw_.get_nexthop_group_mgr()};
   OrvSdkRpc::MplsRouteProgrammer mpls_{client_, sw_.get_mpls_route_mgr(), sw_.get_mpls_vrf_label_mgr()};
   OrvSdkRpc::NhgTunnelProgrammer tunnels_{client_, sw_.get_nexthop_group_tunnel_mgr()};
};

// A switch whose traffic for 10.0.1.0/24 leaves through gold, beside which there are other groups.
class Redirects : public testing::Test {
protected:
   void SetUp() override {
      startSwitch();
      agent_->init();
      for (const char* name : {"gold", "low", "other"})
         agent_->group(name, "Ethernet1");
      agent_->route(1, "gold");
      awaitGroup(0, "gold");
   }
   void TearDown() override { stopSwitch(); }

   void startSwitch() {
      softswitch::Options options;
      options.stateDirectory = directory_.file("state");
      switch_.emplace(std::move(options));
      startAgent();
   }
   void stopSwitch() {
      agent_.reset();
      switch_.reset();
   }
   // Without init.
   void startAgent() {
      agent_.reset();
      agent_.emplace(sw());
      while (!agent_->mounted())
         std::this_thread::yield();
   }

   softswitch::SoftSwitch& sw() { return **switch_; }
   template <class Read>
   static auto locked(Read read) {
      const orv::sdk_scoped_lock lock;
      return read();
   }

   Pavo::Ptr<Overrides> mounted() { return sw().mounts().state()->entity<Overrides>(Overrides::mountPath); }
   // "match>redirect" to its DSCPs, as the mount shows them.
   std::map<std::string, Dscps> overrides() {
      return locked([&] {
         std::map<std::string, Dscps> result;
         for (const auto& [key, bitmap] : mounted()->nhgOverride()) {
            auto& dscps = result[key.match.nhgName() + ">" + key.redirect.nhgName()];
            for (std::uint8_t dscp = 0; dscp < CbfNhgExt::DscpBitmap::invalid; ++dscp) {
               if (bitmap.dscp(dscp)) dscps.push_back(dscp);
            }
         }
         return result;
      });
   }
   Json look(const std::string& words) {
      softswitch::console::StringOutput out;
      softswitch::console::Commands(sw()).run("show forwarding lookup " + words + " | json", out);
      return Json::parse(out.text())["lookup"];
   }
   // Through which group traffic for 10.0.1.1 with a DSCP leaves.
   std::string groupOf(std::uint32_t dscp) {
      return look("10.0.1.1 dscp " + std::to_string(dscp)).value("nexthop_group", "");
   }
   void awaitGroup(std::uint32_t dscp, const std::string& group) {
      while (groupOf(dscp) != group)
         std::this_thread::yield();
   }

   orv::policy_map_t policy() {
      return locked([&] { return sw().policyMaps().policy_map(pbr(policyName)); });
   }
   std::vector<std::uint32_t> sequences() {
      std::vector<std::uint32_t> result;
      const auto map = policy();
      for (const auto& [sequence, rule] : map.rules())
         result.push_back(sequence);
      return result;
   }
   bool hasClassMap(const std::string& name) {
      return locked([&] { return sw().classMaps().exists(pbr(name)); });
   }
   // Pending or committed.
   bool hasList(const orv::acl_key_t& key) {
      return locked([&] { return sw().acls().acl_exists(key) || sw().acls().acl_all_exists(key); });
   }
   // DSCPs of a list's committed rules.
   Dscps list(const orv::acl_key_t& key) {
      return locked([&] {
         Dscps result;
         for (auto rule = sw().acls().acl_all_rule_ip_iter(key); rule; ++rule) {
            const unsigned value = rule->second.priority_value();
            result.push_back(key.acl_type() == orv::acl_type_t::ipv6 ? value >> 2 : value);
         }
         return result;
      });
   }
   std::size_t pendingEdits() {
      return locked([&] { return sw().acls().pendingEdits(); });
   }

   const fixture::TempDir directory_;
   std::optional<softswitch::RunningSwitch> switch_;
   std::optional<Agent> agent_;
};

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

   // Other values: the lists change, the rule stays, and no old rule is left.
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
   // Removed twice, and added again only after the first removal.
   EXPECT_EQ(agent_->add("low", "gold", {6}), pb::RPC_STATUS_OK);
   EXPECT_EQ(agent_->remove("low", "gold"), pb::RPC_STATUS_OK);
   EXPECT_EQ(policy(), before);
   EXPECT_EQ(overrides().size(), 4u);

   // The timer fires for the two that are still to go.
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
   // And added once more behind it, it is a new one.
   EXPECT_EQ(agent_->add("gold", "other", {3}), pb::RPC_STATUS_OK);
   EXPECT_EQ(agent_->sequence("gold", "other"), 5u);
   EXPECT_EQ(groupOf(3), "other");
}

// Redirects that are removed and added again without a pause. Whenever the timer fires, those that it meets
// between the two go, and come back as new ones.
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
         // It is not pending, so no firing can take it from here on.
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
   // The policy map alone redirects: nobody has sent anything yet.
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
   // What is redirected behind the label is what would leave through gold.
   EXPECT_EQ(agent_->add("gold", "other", {9}), pb::RPC_STATUS_OK);
   EXPECT_EQ(look("label 100 10.0.1.1 dscp 9")["nexthop_group"], "other");
   EXPECT_EQ(agent_->label(removal), pb::RPC_STATUS_OK);
   EXPECT_EQ(vrf(), "");
   EXPECT_EQ(look("label 100 10.0.1.1")["result"], "no route");
   EXPECT_EQ(agent_->label(removal), pb::RPC_STATUS_NOT_FOUND);

   // A group that comes later.
   toGroup.mutable_nexthop_group_msg()->set_name("late");
   EXPECT_EQ(agent_->label(toGroup), pb::RPC_STATUS_OK);
   EXPECT_TRUE(hasRoute());
   EXPECT_EQ(look("label 100")["result"], "drop");
   agent_->group("late", "Ethernet3");
   awaitResult("label 100", "interface", "Ethernet3");
   // Refused with nothing written.
   auto tooMany = toGroup;
   tooMany.mutable_nexthop_msg()->set_mpls_operation(pb::MPLS_OPERATION_SWAP);
   tooMany.mutable_nexthop_msg()->mutable_address()->set_address(fixture::ipv4({192, 0, 2, 7}));
   tooMany.mutable_nexthop_msg()->add_mpls_labels(1);
   tooMany.mutable_nexthop_msg()->add_mpls_labels(2);
   EXPECT_EQ(agent_->label(tooMany), pb::RPC_STATUS_ERROR);
   tooMany.mutable_nexthop_msg()->mutable_mpls_labels()->RemoveLast();
   auto unknownIntf = tooMany;
   unknownIntf.mutable_nexthop_msg()->set_intf("Ethernet99");
   EXPECT_EQ(agent_->label(unknownIntf), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(look("label 100")["interface"], "Ethernet3");
   // Written anew with a hop: the via to the group is gone with the route.
   EXPECT_EQ(agent_->label(tooMany), pb::RPC_STATUS_OK);
   awaitResult("label 100", "nexthop", "192.0.2.7");
   EXPECT_EQ(look("label 100")["labels"], Json::array({1}));
   EXPECT_EQ(agent_->label(removal), pb::RPC_STATUS_OK);
   EXPECT_FALSE(hasRoute());
}

TEST_F(Redirects, aTunnelMayNameAGroupThatIsNotThere) {
   pb::nexthop_group_tunnel_msg request;
   *request.mutable_prefix() = fixture::ipRoute(9, "").prefix();
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

// A kind of rule that stands for no redirect.
struct Kind {
   const char* name;
   // A list is left of it that nothing leads to.
   bool listStays;
};
constexpr std::array kinds{
     Kind{"two-redirects", false},       Kind{"no-redirect", false},         Kind{"no-class-map", true},
     Kind{"two-lists", false},           Kind{"two-matches", false},         Kind{"no-match", false},
     Kind{"matches-of-families", false}, Kind{"class-without-lists", false}, Kind{"lists-missing", false}};

// The rules of a policy map that stand for no redirect, one of each kind, in any order, with redirects
// between them.
class BadRules : public Redirects {
protected:
   static constexpr std::uint32_t dscpOfKind(std::size_t kind) {
      return 10 + static_cast<std::uint32_t>(kind);
   }

   static orv::acl_rule_ip_t aclRule(const std::string& group, unsigned value) {
      orv::acl_rule_ip_t rule;
      rule.action_is(orv::acl_action_t::permit);
      rule.nexthop_group_is(group);
      rule.priority_value_is(static_cast<std::uint8_t>(value));
      rule.priority_mask_is(0xff);
      rule.match_ip_priority_is(true);
      return rule;
   }
   void classMap(const std::string& name, const std::vector<orv::acl_key_t>& lists) {
      orv::class_map_t map(pbr(name));
      std::uint32_t sequence = 0;
      for (const auto& each : lists)
         map.rule_set(++sequence, orv::class_map_rule_t(each));
      sw().classMaps().class_map_is(map);
   }
   static orv::policy_map_rule_t policyRule(const std::string& name, const std::vector<std::string>& groups) {
      orv::policy_map_rule_t rule(pbr(name));
      for (const auto& group : groups) {
         orv::policy_map_action_t action(orv::policy_action_type_t::nexthop_group);
         action.nexthop_group_name_is(group);
         rule.action_set(action);
      }
      return rule;
   }
   // Under the lock.
   orv::policy_map_rule_t bad(std::size_t kind) {
      const std::string name = kinds[kind].name;
      const unsigned dscp = dscpOfKind(kind);
      auto& acls = sw().acls();
      const auto sound = [&] { acls.acl_rule_set(v4(name), 1, aclRule("gold", dscp)); };
      switch (kind) {
         case 0:
            sound();
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {"low", "other"});
         case 1:
            sound();
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {});
         case 2:
            sound();
            return policyRule(name, {"low"});
         case 3:
            sound();
            acls.acl_rule_set(v4("second"), 1, aclRule("gold", dscp));
            classMap(name, {v4(name), v4("second")});
            return policyRule(name, {"low"});
         case 4:
            sound();
            acls.acl_rule_set(v4(name), 2, aclRule("other", dscp));
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {"low"});
         case 5:
            acls.acl_rule_set(v4(name), 1, aclRule("", dscp));
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {"low"});
         case 6:
            sound();
            acls.acl_rule_set(v6(name), 1, aclRule("other", dscp << 2));
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {"low"});
         case 7:
            classMap(name, {});
            return policyRule(name, {"low"});
         default:
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {"low"});
      }
   }
   // Under the lock: the redirect of gold to `to`.
   orv::policy_map_rule_t good(const std::string& to, unsigned dscp) {
      const std::string name = OrvSdkRpc::getCbfUniqueName("gold", to);
      sw().acls().acl_rule_set(v4(name), 1, aclRule("gold", dscp));
      sw().acls().acl_rule_set(v6(name), 1, aclRule("gold", dscp << 2));
      classMap(name, {v4(name), v6(name)});
      return policyRule(name, {to});
   }

   // A policy map with these kinds in their order at sequences 10, 20 and so on, a redirect to low of DSCP 1
   // in front and one to other of DSCP 2 at `at` among them.
   void write(const std::vector<std::size_t>& order, std::size_t at) {
      const orv::sdk_scoped_lock lock;
      orv::policy_map_t map(pbr(policyName));
      map.rule_set(5, good("low", 1));
      map.rule_set(static_cast<std::uint32_t>(10 * at + 15), good("other", 2));
      std::uint32_t sequence = 0;
      for (const auto kind : order)
         map.rule_set(sequence += 10, bad(kind));
      sw().acls().acl_commit();
      sw().policyMaps().policy_map_is(map);
   }
   void wipe() {
      const orv::sdk_scoped_lock lock;
      sw().policyMaps().policy_map_del(pbr(policyName));
      for (auto map = sw().classMaps().class_map_iter(orv::policy_feature_t::pbr); map; ++map)
         sw().classMaps().class_map_del(*map);
      for (auto each = sw().acls().acl_iter(); each; ++each)
         sw().acls().acl_del(*each);
      sw().acls().acl_commit();
   }

   // After the init of an agent that is new to the switch.
   void expectRestored(const std::vector<std::size_t>& order, std::size_t at) {
      const auto second = static_cast<std::uint32_t>(10 * at + 15);
      const auto last = std::max(second, static_cast<std::uint32_t>(10 * order.size()));
      EXPECT_EQ(agent_->known(), 2u);
      EXPECT_EQ(agent_->sequence("gold", "low"), 5u);
      EXPECT_EQ(agent_->sequence("gold", "other"), second);
      for (const auto kind : order) {
         const std::string name = kinds[kind].name;
         EXPECT_FALSE(hasClassMap(name)) << name;
         EXPECT_EQ(hasList(v4(name)), kinds[kind].listStays) << name;
         EXPECT_FALSE(hasList(v6(name))) << name;
         EXPECT_EQ(groupOf(dscpOfKind(kind)), "gold") << name;
      }
      EXPECT_FALSE(hasList(v4("second")));
      EXPECT_EQ(pendingEdits(), 0u);
      for (const auto& [to, dscp] : {std::pair("low", 1u), std::pair("other", 2u)}) {
         const std::string name = OrvSdkRpc::getCbfUniqueName("gold", to);
         EXPECT_TRUE(hasClassMap(name));
         EXPECT_THAT(list(v4(name)), ElementsAre(dscp));
         EXPECT_THAT(list(v6(name)), ElementsAre(dscp));
         EXPECT_EQ(groupOf(dscp), to);
      }
      // The rules themselves go with the next push of the policy map, not before.
      EXPECT_EQ(policy().rules().size(), order.size() + 2);
      EXPECT_EQ(agent_->add("gold", "third", {3}), pb::RPC_STATUS_OK);
      EXPECT_EQ(agent_->sequence("gold", "third"), last + 1);
      EXPECT_THAT(sequences(), ElementsAre(5u, second, last + 1));
      // The override table is not restored; what is sent again enters it.
      EXPECT_EQ(agent_->add("gold", "low", {1}, {1}), pb::RPC_STATUS_OK);
      EXPECT_THAT(overrides(), ElementsAre(Pair("gold>low", Dscps{1}), Pair("gold>third", Dscps{3})));
      EXPECT_THAT(sequences(), ElementsAre(5u, second, last + 1));
   }
   void clearOverrides() {
      const orv::sdk_scoped_lock lock;
      const auto all = mounted()->nhgOverride();
      for (const auto& [key, dscps] : all)
         mounted()->nhgOverrideDel(key);
   }
};

TEST_F(BadRules, goAloneInEveryOrderOfTheSixComplaints) {
   std::vector<std::size_t> order{0, 1, 2, 3, 4, 5};
   std::size_t count = 0;
   do {
      SCOPED_TRACE(testing::PrintToString(order));
      const std::size_t at = count++ % (order.size() + 1);
      write(order, at);
      startAgent();
      EXPECT_TRUE(agent_->init());
      expectRestored(order, at);
      wipe();
      clearOverrides();
   } while (!HasFailure() && std::next_permutation(order.begin(), order.end()));
   EXPECT_EQ(count, 720u);
}

TEST_F(BadRules, goAloneInAnyOrderOfAllKindsAfterARestartOfTheSwitch) {
   for (unsigned seed = 0; seed < 6; ++seed) {
      SCOPED_TRACE(seed);
      std::mt19937 random(seed);
      std::vector<std::size_t> order(kinds.size());
      std::iota(order.begin(), order.end(), std::size_t{0});
      std::shuffle(order.begin(), order.end(), random);
      const std::size_t at = random() % (order.size() + 1);
      write(order, at);
      stopSwitch();
      startSwitch();
      EXPECT_THAT(overrides(), IsEmpty());
      EXPECT_TRUE(agent_->init());
      awaitGroup(0, "gold");
      awaitGroup(1, "low");
      awaitGroup(2, "other");
      expectRestored(order, at);
      wipe();
   }
}

TEST_F(BadRules, aPolicyMapOfBadRulesAloneIsLeftEmptyByTheNextPush) {
   {
      const orv::sdk_scoped_lock lock;
      orv::policy_map_t map(pbr(policyName));
      for (std::size_t kind = 0; kind < kinds.size(); ++kind)
         map.rule_set(static_cast<std::uint32_t>(kind + 1), bad(kind));
      sw().acls().acl_commit();
      sw().policyMaps().policy_map_is(map);
   }
   startAgent();
   // There were rules, though none is left.
   EXPECT_TRUE(agent_->init());
   EXPECT_EQ(agent_->known(), 0u);
   agent_->resync(Phase::RESYNC_START);
   agent_->resync(Phase::RESYNC_END);
   EXPECT_EQ(policy().rules().size(), kinds.size());
   agent_->route(1, "gold");
   EXPECT_EQ(agent_->add("gold", "low", {1}), pb::RPC_STATUS_OK);
   EXPECT_THAT(sequences(), ElementsAre(static_cast<std::uint32_t>(kinds.size() + 1)));
}

using BadRulesDeathTest = BadRules;

TEST_F(BadRulesDeathTest, aListOfAnotherKindEndsTheProcessAndLosesNothing) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   write({}, 0);
   {
      const orv::sdk_scoped_lock lock;
      classMap("odd", {v4("odd"), orv::acl_key_t("odd", orv::acl_type_t::mpls)});
      auto map = sw().policyMaps().policy_map(pbr(policyName));
      map.rule_set(10, policyRule("odd", {"low"}));
      sw().policyMaps().policy_map_is(map);
   }
   startAgent();
   EXPECT_DEATH(agent_->init(), "unexpected acl-type");
   EXPECT_THAT(sequences(), ElementsAre(5u, 10u, 15u));
   EXPECT_TRUE(hasClassMap("odd"));
   EXPECT_EQ(groupOf(1), "low");
}

}  // namespace
}  // namespace systest
