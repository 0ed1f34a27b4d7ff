#include "softswitch/console/show.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <thread>

#include "CommandsFixture.h"
#include "orv/agent.h"
#include "orv/mpls_route.h"
#include "orv/mpls_vrf_label.h"
#include "orv/nexthop_group_tunnel.h"
#include "platform/zelt/ActivityLock.h"
#include "softswitch/console/command_table.h"
#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"

namespace softswitch::console {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using Json = nlohmann::json;

class ShowTest : public CommandsFixture {};

TEST_F(ShowTest, version) {
   const auto version = json("show version")["version"];
   EXPECT_EQ(version["agent"], "OrvSdkRpc");
   EXPECT_THAT(version["version"].get<std::string>(), ContainsRegex("^[0-9]+\\.[0-9]+"));
   EXPECT_THAT(run("show version"), HasSubstr("agent: OrvSdkRpc\nversion: "));
}

TEST_F(ShowTest, interfaces) {
   EXPECT_EQ(json("show interfaces")["interfaces"].size(), 81u);
   const auto one = json("show interfaces Ethernet1")["interfaces"];
   EXPECT_EQ(one, Json::array({{{"name", "Ethernet1"},
                                {"type", "ethernet"},
                                {"admin", "up"},
                                {"link", "up"},
                                {"oper", "up"},
                                {"speed", "100G"},
                                {"mac", "02:00:00:00:00:01"},
                                {"kernel_name", "eth1"},
                                {"description", ""}}}));
   EXPECT_THAT(run("show interfaces Loopback0"), ContainsRegex("Loopback0 +loopback +up +up +up +- +02:"));
   EXPECT_EQ(refusal("show interfaces Ethernet99"), "unknown interface Ethernet99");
   EXPECT_EQ(refusal("show interfaces \"a b\""),
             "'a b' after 'show interfaces', expected an interface's name as in Ethernet1");
}

TEST_F(ShowTest, nexthopGroups) {
   run("configure nexthop-group spine entry 0 nexthop 10.0.0.1 interface Ethernet1 push 100 200");
   run("configure nexthop-group spine entry 1 nexthop 10.0.0.2");
   settle();
   const auto groups = json("show nexthop-group")["nexthop_groups"];
   ASSERT_EQ(groups.size(), 1u);
   EXPECT_EQ(groups[0]["name"], "spine");
   EXPECT_EQ(groups[0]["type"], "mpls");
   EXPECT_EQ(groups[0]["entries"], 2);
   EXPECT_EQ(groups[0]["active"], true);
   EXPECT_EQ(groups[0]["hardware"], "success");
   EXPECT_EQ(groups[0]["programmed_version"], groups[0]["version"]);
   const auto entries = json("show nexthop-group spine")["entries"];
   ASSERT_EQ(entries.size(), 2u);
   EXPECT_EQ(entries[0]["nexthop"], "10.0.0.1");
   EXPECT_EQ(entries[0]["interface"], "Ethernet1");
   EXPECT_EQ(entries[0]["labels"], Json::array({100, 200}));
   EXPECT_FALSE(entries[1].contains("interface"));
   EXPECT_THAT(run("show nexthop-group spine"), ContainsRegex("0 +10.0.0.1 +Ethernet1 +push +100, 200"));
   EXPECT_THAT(run("show nexthop-group"), ContainsRegex("spine +mpls +2 +0 +[0-9]+ +[0-9]+ +yes +success"));
   EXPECT_EQ(refusal("show nexthop-group leaf"), "nexthop group 'leaf' does not exist");
}

TEST_F(ShowTest, ipRoutes) {
   run("configure vrf red");
   run("configure ip route 10.1.0.0/16 10.0.0.1 interface Ethernet1 weight 2 tag 7");
   run("configure ip route 10.1.0.0/16 10.0.0.2 label 500");
   run("configure ip route 10.1.0.0/16 10.0.0.3 preference 200");
   run("configure ip route 10.2.0.0/16 nexthop-group spine");
   run("configure ip route 10.3.0.0/16 drop");
   run("configure ip route 2001:db8::/32 interface Ethernet2 vrf red");
   const auto routes = json("show ip route")["ip_routes"];
   ASSERT_EQ(routes.size(), 4u);
   EXPECT_EQ(routes[0], Json({{"prefix", "10.1.0.0/16"},
                              {"preference", 1},
                              {"action", "forward"},
                              {"tag", 7},
                              {"vias",
                               {{{"hop", "10.0.0.1"}, {"interface", "Ethernet1"}, {"weight", 2}},
                                {{"hop", "10.0.0.2"}, {"label", 500}}}}}));
   EXPECT_EQ(routes[1]["preference"], 200);
   EXPECT_EQ(routes[2]["action"], "nexthop-group");
   EXPECT_EQ(routes[2]["vias"], Json::array({{{"nexthop_group", "spine"}}}));
   EXPECT_EQ(routes[3]["action"], "drop");
   EXPECT_TRUE(routes[3]["vias"].empty());
   EXPECT_EQ(json("show ip route vrf red")["ip_routes"][0]["prefix"], "2001:db8::/32");
   EXPECT_EQ(json("show ip route 10.1.0.0/16")["ip_routes"].size(), 2u);
   EXPECT_EQ(json("show ip route 2001:db8::/32 vrf red")["ip_routes"].size(), 1u);

   const auto table = run("show ip route");
   EXPECT_THAT(table, ContainsRegex(
                           "10.1.0.0/16 +1 +forward +7 +10.0.0.1 Ethernet1 weight 2, 10.0.0.2 label 500\n"));
   EXPECT_THAT(table, ContainsRegex("10.2.0.0/16 +1 +nexthop-group +0 +nexthop-group spine\n"));
   EXPECT_THAT(table, ContainsRegex("10.3.0.0/16 +1 +drop +0 +-\n"));

   EXPECT_EQ(refusal("show ip route 10.9.0.0/16"), "route 10.9.0.0/16 does not exist in VRF 'default'");
   EXPECT_EQ(refusal("show ip route vrf blue"), "unknown VRF blue");
   EXPECT_EQ(refusal("show ip route vrf"), "missing word after 'show ip route vrf', expected a VRF's name");
   for (const auto* bad : {"10.1.0.0", "10.1.0.1/16", "10.1.0.0/33", "ten/8"}) {
      EXPECT_EQ(refusal(std::string("show ip route ") + bad),
                std::string("'") + bad +
                     "' after 'show ip route', expected a prefix with no bit set behind its length, as in "
                     "10.0.0.0/8 "
                     "or 2001:db8::/32");
   }
}

TEST_F(ShowTest, mplsRoutesAndTunnels) {
   {
      const orv::sdk_scoped_lock lock;
      auto& routes = *target().get_mpls_route_mgr();
      const orv::mpls_route_key_t key(orv::mpls_label_t(300), 5);
      routes.mpls_route_set(orv::mpls_route_t(key));
      orv::mpls_route_via_t via(key, orv::mpls_action_t::swap);
      via.pushswap_label_is(orv::mpls_label_t(301));
      via.hop_is(orv::ip_addr_t("10.0.0.1"));
      via.intf_is(orv::intf_id_t("Ethernet1"));
      via.payload_type_is(orv::mpls_payload_type_t::autodecide);
      via.ttl_mode_is(orv::mpls_ttl_mode_t::uniform);
      routes.mpls_route_via_set(via);
      target().get_mpls_vrf_label_mgr()->mpls_vrf_label_set({orv::mpls_label_t(900), "default"});
      target().get_nexthop_group_tunnel_mgr()->nexthop_group_tunnel_set(
           {orv::ip_prefix_t("10.9.9.9/32"), "spine"});
   }
   const auto mpls = json("show mpls route");
   EXPECT_EQ(mpls["mpls_routes"][0]["labels"], Json::array({300}));
   EXPECT_EQ(mpls["mpls_routes"][0]["metric"], 5);
   EXPECT_EQ(mpls["mpls_routes"][0]["vias"][0]["action"], "swap");
   EXPECT_EQ(mpls["mpls_routes"][0]["vias"][0]["label"], 301);
   EXPECT_EQ(mpls["mpls_vrf_labels"], Json::array({{{"label", 900}, {"vrf", "default"}}}));
   EXPECT_THAT(run("show mpls route"), ContainsRegex("300 +5 +.*swap label 301 10.0.0.1 Ethernet1"));
   EXPECT_EQ(json("show tunnel")["tunnels"],
             Json::array({{{"endpoint", "10.9.9.9/32"}, {"nexthop_group", "spine"}, {"igp_metric", 0}}}));
   EXPECT_THAT(run("show tunnel"), ContainsRegex("10.9.9.9/32 +spine"));
}

TEST_F(ShowTest, fibHasWhatWasProgrammed) {
   EXPECT_TRUE(json("show fib route")["fib_routes"].empty());
   run("configure nexthop-group spine entry 0 nexthop 10.0.0.1 interface Ethernet1");
   run("configure ip route 10.2.0.0/16 nexthop-group spine");
   Json routes;
   while (routes.empty()) {
      settle();
      routes = json("show fib route")["fib_routes"];
   }
   EXPECT_EQ(routes[0]["prefix"], "10.2.0.0/16");
   Json fecs;
   while (fecs.empty()) {
      settle();
      fecs = json("show fib fec")["fib_fecs"];
   }
   EXPECT_EQ(fecs[0]["fec"], routes[0]["fec"]);
   EXPECT_EQ(fecs[0]["type"], "nexthop-group");
   EXPECT_EQ(fecs[0]["nexthop_group"], "spine");
   EXPECT_THAT(run("show fib route"), HasSubstr("10.2.0.0/16"));
   EXPECT_THAT(run("show fib fec"), HasSubstr("spine"));
}

TEST_F(ShowTest, agentStatus) {
   {
      const orv::sdk_scoped_lock lock;
      target().get_agent_mgr()->status_set("left by the controller", "a value");
   }
   const auto agent = json("show agent status");
   EXPECT_EQ(agent["agent"]["enabled"], true);
   EXPECT_EQ(agent["status"], Json::array({{{"name", "left by the controller"}, {"value", "a value"}}}));
   EXPECT_EQ(agent["options"], Json::array({{{"name", "colour"}, {"value", "green"}}}));
   EXPECT_THAT(run("show agent status"), ContainsRegex("left by the controller +a value\n"));
}

TEST_F(ShowTest, policyChain) {
   const orv::acl_key_t list("r_IPv4", orv::acl_type_t::ipv4), gone("old", orv::acl_type_t::ipv4);
   const orv::policy_map_key_t classKey("r", orv::policy_feature_t::pbr),
        policyKey("p", orv::policy_feature_t::pbr);
   {
      const orv::sdk_scoped_lock lock;
      orv::acl_rule_ip_t rule;
      rule.action_is(orv::acl_action_t::permit);
      rule.nexthop_group_is("spine");
      auto& acls = target().acls();
      acls.acl_rule_set(list, 1, rule);
      acls.acl_rule_set(gone, 1, rule);
      acls.acl_commit();
      acls.acl_rule_set(list, 2, rule);
      acls.acl_del(gone);
      acls.acl_apply(list, orv::intf_id_t("Ethernet1"), orv::acl_direction_t::in, true);
      orv::class_map_t classMap(classKey);
      classMap.rule_set(1, orv::class_map_rule_t(list));
      target().classMaps().class_map_is(classMap);
      orv::policy_map_action_t action(orv::policy_action_type_t::nexthop_group);
      action.nexthop_group_name_is("leaf");
      orv::policy_map_rule_t policyRule(classKey);
      policyRule.action_set(action);
      orv::policy_map_t policy(policyKey);
      policy.rule_set(5, policyRule);
      target().policyMaps().policy_map_is(policy);
      target().policyMaps().policy_map_is(orv::policy_map_t({"idle", orv::policy_feature_t::qos}));
      target().policyMaps().policy_map_apply(policyKey, orv::intf_id_t("Ethernet1"), orv::acl_direction_t::in,
                                             true);
   }
   const auto acl = json("show acl");
   EXPECT_EQ(acl["acls"].size(), 2u);
   EXPECT_EQ(acl["acls"][0]["name"], "old");
   EXPECT_EQ(acl["acls"][0]["state"], "deleting");
   EXPECT_EQ(acl["acls"][1]["state"], "committed");
   ASSERT_EQ(acl["acl_rules"].size(), 3u);
   EXPECT_EQ(acl["acl_rules"][0]["state"], "deleting");
   EXPECT_EQ(acl["acl_rules"][1]["state"], "committed");
   EXPECT_EQ(acl["acl_rules"][2]["state"], "pending");
   EXPECT_EQ(acl["acl_rules"][2]["seq"], 2);
   EXPECT_THAT(acl["acl_rules"][1]["rule"].get<std::string>(), HasSubstr("spine"));
   EXPECT_EQ(acl["acl_applied"][0]["acl"], "r_IPv4");
   EXPECT_THAT(run("show acl"), ContainsRegex("r_IPv4 +ipv4 +2 +pending"));

   const auto classes = json("show class-map")["class_maps"];
   EXPECT_EQ(classes[0]["name"], "r");
   EXPECT_EQ(classes[0]["acls"], Json::array({{{"seq", 1}, {"acl", "r_IPv4"}, {"type", "ipv4"}}}));
   EXPECT_THAT(run("show class-map"), ContainsRegex("r +pbr +1 ipv4 r_IPv4"));

   const auto policies = json("show policy-map");
   EXPECT_EQ(policies["policy_map_rules"][0]["class_map"], "r");
   EXPECT_THAT(policies["policy_map_rules"][0]["actions"][0].get<std::string>(), HasSubstr("leaf"));
   ASSERT_EQ(policies["policy_maps"].size(), 2u);
   EXPECT_EQ(policies["policy_maps"][0]["interface"], "Ethernet1");
   EXPECT_FALSE(policies["policy_maps"][1].contains("interface"));
   EXPECT_THAT(run("show policy-map"), ContainsRegex("p +pbr +Ethernet1 +in"));
}

TEST_F(ShowTest, trafficPoliciesWithTheirRulesAndWhereTheyAreApplied) {
   {
      const orv::sdk_scoped_lock lock;
      auto& policies = target().policyMaps();
      orv::tp_rule_filter_t match(orv::traffic_policy_rule_type_t::ipv6);
      match.src_addrs_is({{orv::ip_addr_t("2001:db8::"), 32}});
      match.protocols_is({{{1, 17}, {}}});
      orv::traffic_policy_action_t count(orv::traffic_policy_action_type_t::count);
      count.counter_name_is("hits");
      orv::traffic_policy_rule_t rule(orv::traffic_policy_rule_type_t::ipv6, "lab");
      rule.raw_rule_is(match);
      rule.action_set(count);
      rule.action_set(orv::traffic_policy_action_t(orv::traffic_policy_action_type_t::drop));
      orv::traffic_policy_t edge("edge");
      edge.named_counters_is({"misses", "hits"});
      edge.rule_set(10, rule);
      edge.rule_set(20, orv::traffic_policy_rule_t(orv::traffic_policy_rule_type_t::ipv4, "all"));
      policies.traffic_policy_is(edge);
      policies.traffic_policy_is(orv::traffic_policy_t("idle"));
      policies.traffic_policy_apply("edge", orv::intf_id_t("Ethernet1"), orv::traffic_policy_direction_t::in,
                                    true);
      policies.traffic_policy_apply("edge", orv::intf_id_t("Ethernet2"), orv::traffic_policy_direction_t::out,
                                    true);
   }
   EXPECT_EQ(json("show traffic-policy"),
             Json({{"traffic_policies",
                    {{{"name", "edge"}, {"counters", {"hits", "misses"}}},
                     {{"name", "idle"}, {"counters", Json::array()}}}},
                   {"traffic_policy_rules",
                    {{{"name", "edge"},
                      {"seq", 10},
                      {"rule", "lab"},
                      {"type", "ipv6"},
                      {"match", "source 2001:db8::/32 protocol 1-17"},
                      {"actions", {"drop", "count hits"}}},
                     {{"name", "edge"},
                      {"seq", 20},
                      {"rule", "all"},
                      {"type", "ipv4"},
                      {"match", "any"},
                      {"actions", Json::array()}}}},
                   {"traffic_policy_applied",
                    {{{"interface", "Ethernet1"}, {"direction", "in"}, {"name", "edge"}},
                     {{"interface", "Ethernet2"}, {"direction", "out"}, {"name", "edge"}}}}}));
   const auto text = run("show traffic-policy");
   EXPECT_THAT(text, ContainsRegex("edge +hits, misses\n"));
   EXPECT_THAT(text, ContainsRegex("edge +10 +lab +ipv6 +source 2001:db8::/32 protocol 1-17 +drop, count"));
   EXPECT_THAT(text, ContainsRegex("Ethernet2 +out +edge\n"));
   const auto tables = json("show counters")["tables"];
   EXPECT_THAT(tables,
               testing::Contains(Json({{"table", "traffic policies"}, {"rows", 2}, {"capacity", 16'384}})));
}

TEST_F(ShowTest, countersCountRows) {
   run("configure vrf red");
   run("configure ip route 10.3.0.0/16 drop");
   run("configure ip route 10.4.0.0/16 drop");
   const auto counters = json("show counters");
   std::map<std::string, Json> tables;
   for (const auto& table : counters["tables"])
      tables[table["table"]] = table;
   EXPECT_EQ(tables["ip routes"]["rows"], 2);
   EXPECT_EQ(tables["ip routes"]["capacity"], 2'000'000);
   EXPECT_EQ(tables["vrfs"]["rows"], 1);
   EXPECT_EQ(tables["interfaces"]["rows"], 81);
   EXPECT_GT(counters["store"]["transactions"], 0);
   EXPECT_THAT(run("show counters"), ContainsRegex("ip routes +2 +2000000\n"));
}

TEST_F(ShowTest, theMainLoopTellsOfItsTasksItsDelaysAndItsLock) {
   run("set counter-interval 1");
   run("configure ip route 10.3.0.0/16 drop");
   settle();
   const auto shown = json("show main-loop");
   EXPECT_GE(shown["main_loop"]["longest_wake_us"].get<std::int64_t>(), 0);
   EXPECT_GE(shown["main_loop"]["longest_timer_delay_us"].get<std::int64_t>(), 0);
   EXPECT_EQ(shown["activity_lock"]["missed_hand_overs"], 0);
   std::map<std::string, Json> tasks;
   for (const auto& task : shown["tasks"])
      tasks[task["name"]] = task;
   EXPECT_GT(tasks["hardware programming"]["runs"].get<std::uint64_t>(), 0U);
   EXPECT_GE(tasks["hardware programming"]["longest_us"].get<std::int64_t>(), 0);
   EXPECT_THAT(run("show main-loop"), ContainsRegex("missed_hand_overs: 0\n"));
}

TEST_F(ShowTest, aWaitForTheActivityLockIsCounted) {
   const auto handed = [&] {
      return json("show main-loop")["activity_lock"]["waits_handed_over"].get<std::uint64_t>();
   };
   const std::uint64_t before = handed();
   Zelt::ActivityLock& lock = Zelt::activityLock();
   lock.acquire();
   std::thread waiter([] { const orv::sdk_scoped_lock wanted; });
   while (lock.waiters() == 0)
      std::this_thread::yield();
   lock.release(Zelt::HandOver::now);
   waiter.join();
   EXPECT_GT(handed(), before);
}

// Collects the keys of all objects in a document, nested ones included.
void gatherKeys(const Json& json, std::set<std::string>& keys) {
   if (json.is_object()) {
      for (const auto& item : json.items())
         keys.insert(item.key());
   }
   if (json.is_structured()) {
      for (const auto& inner : json)
         gatherKeys(inner, keys);
   }
}

TEST_F(ShowTest, everyJsonKeyIsInSnakeCase) {
   run("configure vrf red");
   run("configure interface Vxlan1 create");
   run("configure nexthop-group leaf entry 0 nexthop 10.0.0.1 interface Ethernet1 push 100");
   run("configure ip route 10.1.0.0/16 10.0.0.1 interface Ethernet1 label 5 weight 2 metric 3");
   run("configure ip route 10.2.0.0/16 nexthop-group leaf");
   {
      const orv::sdk_scoped_lock lock;
      orv::nexthop_group_t group("spine", orv::nexthop_group_encap_t::mpls);
      orv::nexthop_group_entry_t entry;
      entry.child_nexthop_group_is("leaf");
      group.nexthop_set(0, entry);
      target().nexthopGroups().nexthop_group_set(group);
      const orv::ip_route_key_t key(orv::ip_prefix_t("10.3.0.0/16"));
      orv::ip_route_via_t via(key);
      via.hop_is(orv::ip_addr_t("10.0.0.1"));
      via.vni_is(7);
      via.vtep_addr_is(orv::ip_addr_t("10.0.0.9"));
      via.router_mac_is(orv::eth_addr_t("02:00:00:00:00:09"));
      via.vxlan_intf_is(orv::intf_id_t("Vxlan1"));
      via.egress_vrf_is("red");
      target().ipRoutes().ip_route_set(orv::ip_route_t(key));
      target().ipRoutes().ip_route_via_set(via);
   }
   settle();
   std::set<std::string> keys;
   for (const Command& shown : showCommands()) {
      if (shown.name != "show forwarding lookup") gatherKeys(json(std::string(shown.name)), keys);
   }
   for (const auto* command : {"show nexthop-group spine", "show forwarding lookup 10.2.0.1", "help"})
      gatherKeys(json(command), keys);
   EXPECT_THAT(keys, testing::IsSupersetOf({"nexthop_group", "child_group", "router_mac", "vxlan_interface",
                                            "egress_vrf", "vtep", "kernel_name"}));
   EXPECT_THAT(keys, testing::Each(testing::MatchesRegex("[a-z][a-z0-9_]*")));
}

}  // namespace
}  // namespace softswitch::console
