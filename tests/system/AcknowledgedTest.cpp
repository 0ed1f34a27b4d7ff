// What a client was told is done stays done, for every RPC that changes stored state. Each such RPC has a row
// here. A test fails for an RPC that has neither a row nor an entry in the list of those that change nothing.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpcProtos/services.h"
#include "orvctl/Connection.h"
#include "orvctl/Descriptors.h"
#include "orvctl/InBand.h"
#include "orvctl/JsonText.h"
#include "orvctl/Target.h"
#include "testing/base/TempDir.h"
#include "testing/process/Console.h"
#include "testing/process/Daemon.h"
#include "testing/process/DurableState.h"

namespace orvtest {
namespace {

using google::protobuf::Message;
using google::protobuf::MessageFactory;

struct Request {
   std::string method;  // as orvctl::findMethod takes it
   std::string json;
};

// An RPC that changes stored state.
struct Row {
   Request change;
   // Requests that must be acknowledged before the change.
   std::vector<Request> setup = {};
};

const std::string init = "rpc_server_init";
const std::string groupA =
     R"({"name":"a","nexthops":[{"intf":"Ethernet1","address":"10.0.1.2","weight":2}]})";
const std::string groupB =
     R"({"name":"b","nexthops":[{"intf":"Ethernet2","address":"10.0.2.2","weight":1}]})";
const std::string routeX = R"({"prefix":"10.1.0.0/16","nexthop_group_name":"a"})";
const std::string routeY = R"({"prefix":"2001:db8::/32","nexthop_group_name":"a"})";
const std::string tunnelX = R"({"prefix":"10.2.0.0/16","nexthop_group_name":"a","igp_metric":7})";
const std::string tunnelY = R"({"prefix":"10.3.0.0/16","nexthop_group_name":"a","igp_metric":8})";
const std::string labelX =
     R"({"label":100,"nexthop_group_msg":{"name":"a","mpls_operation":"GROUP_MPLS_OPERATION_POP"}})";
const std::string labelY = R"({"label":101,"popAndForward":"default"})";
const std::string redirectX =
     R"({"match_ipv4_dscp":[1,2],"match_ipv6_dscp":[3],"match_nexthop_group_name":"a","redirect_nexthop_group_name":"b"})";
const std::string redirectY =
     R"({"match_ipv4_dscp":[4],"match_ipv6_dscp":[5],"match_nexthop_group_name":"b","redirect_nexthop_group_name":"a"})";
const std::string sessionX =
     R"({"key":{"nexthop":"10.0.1.2","nexthop_intf":"Ethernet1"},"min_tx":100,"detectionMultiplier":3})";
const std::string sessionY = R"({"key":{"nexthop":"10.0.2.2","label_stack":[17,18]},"rtt_enabled":true})";
const std::string notes = R"({"key_value_pairs":[{"key":"k","value":"v"},{"key":"l","value":"w"}]})";

const Request plainInit{init, "{}"};
const Request redirectInit{init, R"({"cbf_nexthop_group_redirect_policy_map_name":"cbf"})"};
const Request resyncStart{"rpc_server_resync", R"({"resync_phase":"RESYNC_START"})"};
const Request resyncEnd{"rpc_server_resync", R"({"resync_phase":"RESYNC_END"})"};
const Request twoGroups{"nexthop_group_bulk", R"({"bulk":[)" + groupA + "," + groupB + "]}"};

std::string bulk(const std::string& first, const std::string& second) {
   return R"({"bulk":[)" + first + "," + second + "]}";
}
// The request with one more field at its start.
std::string with(const std::string& field, const std::string& request) {
   return "{" + field + "," + request.substr(1);
}
std::string deleted(const std::string& request) {
   return with(R"("delete":true)", request);
}

std::string acl(const std::string& method) {
   return "orv.remote.AclMgrService/" + method;
}
std::string agent(const std::string& method) {
   return "orv.remote.AgentService/" + method;
}
std::string intf(const std::string& method) {
   return "orv.remote.IntfMgrService/" + method;
}
std::string group(const std::string& method) {
   return "orv.remote.NexthopGroupMgrService/" + method;
}
std::string route(const std::string& method) {
   return "orv.remote.IpRouteMgrService/" + method;
}

std::string classMap(const std::string& method) {
   return "orv.remote.ClassMapMgrService/" + method;
}
std::string vrfLabel(const std::string& method) {
   return "orv.remote.MplsVrfLabelMgrService/" + method;
}

std::string mpls(const std::string& method) {
   return "orv.remote.MplsRouteMgrService/" + method;
}

std::string policy(const std::string& method) {
   return "orv.remote.PolicyMapMgrService/" + method;
}

std::string requests(const std::string& first, const std::string& second) {
   return R"({"requests":[)" + first + "," + second + "]}";
}

const std::string aclX = R"("key":{"acl_name":"x","acl_type":"ACL_TYPE_IPV4"})";
const std::string aclY = R"("key":{"acl_name":"y","acl_type":"ACL_TYPE_ETH"})";
const std::string ruleX = "{" + aclX + R"(,"seq":10,"ip_rule":{"base":{"action":"ACL_ACTION_PERMIT"}}})";
const std::string ruleY = "{" + aclY + R"(,"seq":20,"eth_rule":{"base":{"action":"ACL_ACTION_DENY"}}})";
const Request twoRules{acl("bulk_acl_rule_set"), requests(ruleX, ruleY)};
const Request commit{acl("acl_commit"), "{}"};
const std::string applyX =
     "{" + aclX + R"(,"intf":{"name":"Ethernet1"},"direction":"ACL_DIRECTION_IN","apply":true})";
const std::string applyY =
     "{" + aclY + R"(,"intf":{"name":"Ethernet2"},"direction":"ACL_DIRECTION_OUT","apply":true})";
const std::string onX = "{" + aclX + R"(,"enabled":true})";
const std::string onY = "{" + aclY + R"(,"enabled":true})";

const std::string statusX = R"({"name":"n","value":"1"})";
const std::string statusY = R"({"name":"m","value":"2"})";
const Request twoStatuses{agent("bulk_status_set"), requests(statusX, statusY)};

const std::string ethernet1 = R"({"intf_id":{"name":"Ethernet1"})";
const std::string ethernet2 = R"({"intf_id":{"name":"Ethernet2"})";
const std::string describeX = ethernet1 + R"(,"description":"to the north"})";
const std::string describeY = ethernet2 + R"(,"description":"to the south"})";
const std::string disableX = ethernet1 + R"(,"admin_enabled":false})";
const std::string disableY = ethernet2 + R"(,"admin_enabled":false})";

std::string groupSet(const std::string& name) {
   return R"({"nexthop_group":{"name":")" + name +
          R"(","type":"NEXTHOP_GROUP_ENCAP_TYPES_MPLS","nexthops":{"0":{"nexthop":"10.0.1.2","intf":{"name":"Ethernet1"}}}}})";
}
std::string named(const std::string& name) {
   return R"({"name":")" + name + R"("})";
}

const std::string mplsKeyX = R"("route_key":{"labels":[{"label":100}]})";
const std::string mplsKeyY = R"("route_key":{"labels":[{"label":101}],"metric":7})";
std::string mplsVia(const std::string& key, const std::string& hop) {
   return R"({"label_action":"MPLS_ACTIONS_POP","hop":")" + hop + R"(",)" + key + "}";
}
std::string viaOnly(const std::string& key, const std::string& hop) {
   return R"({"via":)" + mplsVia(key, hop) + "}";
}
std::string mplsSet(const std::string& key, const std::string& hop, const std::string& action = "ADD") {
   // A route names its key "key", a via "route_key".
   return R"({"route":{")" + key.substr(std::string(R"("route_)").size()) + R"(,"version_id":5},"vias":[)" +
          mplsVia(key, hop) + R"(],"vias_action":"MPLS_ROUTE_VIAS_ACTION_)" + action + R"("})";
}
const Request twoMplsRoutes{mpls("bulk_mpls_route_set"),
                            requests(mplsSet(mplsKeyX, "10.0.1.2"), mplsSet(mplsKeyY, "10.0.2.2"))};
const Request twoMirrorGroups{group("bulk_nexthop_group_set"), requests(groupSet("p"), groupSet("q"))};

const std::string mapX = R"({"key":{"name":"x","feature":"POLICY_FEATURE_PBR"}})";
const std::string mapY = R"({"key":{"name":"y","feature":"POLICY_FEATURE_PBR"}})";
std::string mapSet(const std::string& key) {
   return R"({"class_map":)" +
          with(R"("rules":{"10":{"acl_key":{"acl_name":"web","acl_type":"ACL_TYPE_IPV4"}}})", key) + "}";
}
const Request twoMaps{classMap("bulk_class_map_is"), requests(mapSet(mapX), mapSet(mapY))};

const std::string popX = R"({"mpls_vrf_label":{"label":{"label":100},"vrf_name":"red"}})";
const std::string popY = R"({"mpls_vrf_label":{"label":{"label":200},"vrf_name":"blue"}})";
const std::string ofPopX = R"({"label":{"label":100}})";
const std::string ofPopY = R"({"label":{"label":200}})";
const Request twoPops{vrfLabel("bulk_mpls_vrf_label_set"), requests(popX, popY)};
const std::string keyP = R"({"prefix":{"network":"10.4.0.0","prefix_length":16}})";
const std::string keyQ = R"({"prefix":{"network":"2001:db8::","prefix_length":32}})";
// A request that names a route, and one with a via of a route.
std::string key(const std::string& route) {
   return R"({"key":)" + route + "}";
}
std::string via(const std::string& route, const std::string& hop) {
   return R"({"via":{"route_key":)" + route + R"(,"hop":")" + hop + R"("}})";
}
std::string routeSet(const std::string& key, const std::string& hop) {
   return R"({"ip_route":{"key":)" + key + R"(,"tag":7},"vias":[{"route_key":)" + key + R"(,"hop":")" + hop +
          R"("}]})";
}
const Request twoMirrorRoutes{route("bulk_ip_route_set"),
                              requests(routeSet(keyP, "10.0.1.2"), routeSet(keyQ, "2001:db8::1"))};

std::string policySet(const std::string& key) {
   return R"({"policy_map":)" +
          with(R"("rules":{"10":{"policy_map_rule_type":"POLICY_MAP_RULE_TYPE_CLASS_DEFAULT",)"
               R"("actions":[{"action_type":"POLICY_ACTION_TYPE_DROP"}]}})",
               key) +
          "}";
}
std::string policyApplied(const std::string& key, const std::string& intf, bool apply) {
   return with(R"("intf_id":{"name":")" + intf + R"("},"direction":"ACL_DIRECTION_IN","apply":)" +
                    (apply ? "true" : "false"),
               key);
}
const Request twoPolicies{policy("bulk_policy_map_is"), requests(policySet(mapX), policySet(mapY))};
const Request twoPoliciesApplied{
     policy("bulk_policy_map_apply"),
     requests(policyApplied(mapX, "Ethernet1", true), policyApplied(mapY, "Ethernet2", true))};
std::string trafficPolicySet(const std::string& name) {
   return R"({"traffic_policy":{"key":")" + name +
          R"(","named_counters":["all"],"rules":{"10":{"match_rule_name":"rest",)"
          R"("traffic_policy_rule_type":"TRAFFIC_POLICY_RULE_TYPE_IPV4",)"
          R"("actions":[{"action_type":"TRAFFIC_POLICY_ACTION_TYPE_COUNT","counter_name":"all"}]}}}})";
}
std::string trafficPolicyApplied(const std::string& name, const std::string& intf, bool apply) {
   return R"({"name":")" + name + R"(","intf_id":{"name":")" + intf + R"("},"apply":)" +
          (apply ? "true" : "false") + "}";
}
const Request twoTrafficPolicies{policy("bulk_traffic_policy_is"),
                                 requests(trafficPolicySet("p"), trafficPolicySet("q"))};
const Request twoTrafficPoliciesApplied{
     policy("bulk_traffic_policy_apply"),
     requests(trafficPolicyApplied("p", "Ethernet1", true), trafficPolicyApplied("q", "Ethernet2", true))};

const std::vector<Row> rows{
     // The programming service.
     {{"nexthop_group", groupA}, {plainInit}},
     {{"nexthop_group", deleted(groupA)}, {plainInit, twoGroups}},
     {twoGroups, {plainInit}},
     {{"ip_route", routeX}, {plainInit, twoGroups}},
     {{"ip_route", R"({"prefix":"10.1.0.0/16"})"}, {plainInit, twoGroups, {"ip_route", routeX}}},
     {{"ip_route_bulk", bulk(routeX, routeY)}, {plainInit, twoGroups}},
     {{"nexthop_group_tunnel", tunnelX}, {plainInit, twoGroups}},
     {{"nexthop_group_tunnel_bulk", bulk(tunnelX, tunnelY)}, {plainInit, twoGroups}},
     {{"mpls_route", labelX}, {plainInit, twoGroups}},
     {{"mpls_route", deleted(labelX)}, {plainInit, twoGroups, {"mpls_route", labelX}}},
     {{"mpls_route_bulk", bulk(labelX, labelY)}, {plainInit, twoGroups}},
     {{"cbf_nexthop_group_redirect", redirectX}, {redirectInit, twoGroups}},
     {{"cbf_nexthop_group_redirect_bulk", bulk(redirectX, redirectY)}, {redirectInit, twoGroups}},
     {{"sbfd_echo_session", sessionX}, {plainInit}},
     {{"sbfd_echo_session_bulk", bulk(sessionX, sessionY)}, {plainInit}},
     {{"rpc_server_state", notes}, {plainInit}},
     {resyncEnd,
      {plainInit,
       twoGroups,
       {"ip_route_bulk", bulk(routeX, routeY)},
       {"nexthop_group_tunnel", tunnelX},
       {"mpls_route_bulk", bulk(labelX, labelY)},
       {"sbfd_echo_session", sessionX},
       resyncStart}},
     // Access lists.
     {{acl("acl_rule_set"), ruleX}},
     {twoRules},
     {{acl("acl_rule_del"), "{" + aclX + R"(,"seq":10})"}, {twoRules}},
     {{acl("bulk_acl_rule_del"), requests("{" + aclX + R"(,"seq":10})", "{" + aclY + R"(,"seq":20})")},
      {twoRules}},
     {commit, {twoRules}},
     {{acl("acl_del"), "{" + aclX + "}"}, {twoRules, commit}},
     {{acl("bulk_acl_del"), requests("{" + aclX + "}", "{" + aclY + "}")}, {twoRules, commit}},
     {{acl("acl_apply"), applyX}, {twoRules, commit}},
     {{acl("bulk_acl_apply"), requests(applyX, applyY)}, {twoRules, commit}},
     {{acl("acl_counters_enabled_set"), onX}, {twoRules}},
     {{acl("bulk_acl_counters_enabled_set"), requests(onX, onY)}, {twoRules}},
     {{acl("acl_fragments_enabled_set"), onX}, {twoRules}},
     {{acl("bulk_acl_fragments_enabled_set"), requests(onX, onY)}, {twoRules}},
     // The agent.
     {{agent("status_set"), statusX}},
     {twoStatuses},
     {{agent("status_del"), named("n")}, {twoStatuses}},
     {{agent("bulk_status_del"), requests(named("n"), named("m"))}, {twoStatuses}},
     // Interfaces.
     {{intf("description_is"), describeX}},
     {{intf("bulk_description_is"), requests(describeX, describeY)}},
     {{intf("admin_enabled_is"), disableX}},
     {{intf("bulk_admin_enabled_is"), requests(disableX, disableY)}},
     // Next-hop groups.
     {{group("nexthop_group_set"), groupSet("p")}},
     {twoMirrorGroups},
     {{group("nexthop_group_del"), named("p")}, {twoMirrorGroups}},
     {{group("bulk_nexthop_group_del"), requests(named("p"), named("q"))}, {twoMirrorGroups}},
     {{group("resync_complete"), "{}"}, {twoMirrorGroups, {group("resync_init"), "{}"}}},
     // Class maps.
     {{classMap("class_map_is"), mapSet(mapX)}},
     {twoMaps},
     {{classMap("class_map_del"), mapX}, {twoMaps}},
     {{classMap("bulk_class_map_del"), requests(mapX, mapY)}, {twoMaps}},
     {{classMap("resync_complete"), "{}"}, {twoMaps, {classMap("resync_init"), "{}"}}},
     // Labels that lead into a VRF.
     {{vrfLabel("mpls_vrf_label_set"), popX}},
     {twoPops},
     {{vrfLabel("mpls_vrf_label_del"), ofPopX}, {twoPops}},
     {{vrfLabel("bulk_mpls_vrf_label_del"), requests(ofPopX, ofPopY)}, {twoPops}},
     {{vrfLabel("resync_complete"), "{}"}, {twoPops, {vrfLabel("resync_init"), "{}"}}},
     // Policy maps and traffic policies.
     {{policy("policy_map_is"), policySet(mapX)}},
     {twoPolicies},
     {{policy("policy_map_del"), mapX}, {twoPolicies, twoPoliciesApplied}},
     {{policy("bulk_policy_map_del"), requests(mapX, mapY)}, {twoPolicies, twoPoliciesApplied}},
     {{policy("policy_map_apply"), policyApplied(mapX, "Ethernet1", true)}, {twoPolicies}},
     {twoPoliciesApplied, {twoPolicies}},
     {{policy("policy_map_apply"), policyApplied(mapX, "Ethernet1", false)},
      {twoPolicies, twoPoliciesApplied}},
     {{policy("traffic_policy_is"), trafficPolicySet("p")}},
     {twoTrafficPolicies},
     {{policy("traffic_policy_del"), named("p")}, {twoTrafficPolicies, twoTrafficPoliciesApplied}},
     {{policy("bulk_traffic_policy_del"), requests(named("p"), named("q"))},
      {twoTrafficPolicies, twoTrafficPoliciesApplied}},
     {{policy("traffic_policy_apply"), trafficPolicyApplied("p", "Ethernet1", true)}, {twoTrafficPolicies}},
     {twoTrafficPoliciesApplied, {twoTrafficPolicies}},
     {{policy("traffic_policy_apply"), trafficPolicyApplied("p", "Ethernet1", false)},
      {twoTrafficPolicies, twoTrafficPoliciesApplied}},
     {{policy("resync_complete"), "{}"}, {twoPolicies, twoTrafficPolicies, {policy("resync_init"), "{}"}}},
     // IP routes.
     {{route("ip_route_set"), routeSet(keyP, "10.0.1.2")}},
     {twoMirrorRoutes},
     {{route("ip_route_set"), with(R"("vias_action":1)", routeSet(keyP, "10.0.1.3"))}, {twoMirrorRoutes}},
     {{route("ip_route_del"), key(keyP)}, {twoMirrorRoutes}},
     {{route("bulk_ip_route_del"), requests(key(keyP), key(keyQ))}, {twoMirrorRoutes}},
     {{route("ip_route_via_set"), via(keyP, "10.0.1.3")}, {twoMirrorRoutes}},
     {{route("bulk_ip_route_via_set"), requests(via(keyP, "10.0.1.3"), via(keyQ, "2001:db8::2"))},
      {twoMirrorRoutes}},
     {{route("ip_route_via_del"), via(keyP, "10.0.1.2")}, {twoMirrorRoutes}},
     {{route("bulk_ip_route_via_del"), requests(via(keyP, "10.0.1.2"), via(keyQ, "2001:db8::1"))},
      {twoMirrorRoutes}},
     {{route("resync_complete"), "{}"}, {twoMirrorRoutes, {route("resync_init"), "{}"}}},
     // MPLS routes.
     {{mpls("mpls_route_set"), mplsSet(mplsKeyX, "10.0.1.2")}},
     {{mpls("mpls_route_set"), mplsSet(mplsKeyX, "10.0.1.3", "REPLACE")}, {twoMplsRoutes}},
     {twoMplsRoutes},
     {{mpls("mpls_route_del"), "{" + mplsKeyX + "}"}, {twoMplsRoutes}},
     {{mpls("bulk_mpls_route_del"), requests("{" + mplsKeyX + "}", "{" + mplsKeyY + "}")}, {twoMplsRoutes}},
     {{mpls("mpls_route_via_set"), viaOnly(mplsKeyX, "10.0.1.3")}, {twoMplsRoutes}},
     {{mpls("bulk_mpls_route_via_set"),
       requests(viaOnly(mplsKeyX, "10.0.1.3"), viaOnly(mplsKeyY, "10.0.2.3"))},
      {twoMplsRoutes}},
     {{mpls("mpls_route_via_del"), viaOnly(mplsKeyX, "10.0.1.2")}, {twoMplsRoutes}},
     {{mpls("bulk_mpls_route_via_del"),
       requests(viaOnly(mplsKeyX, "10.0.1.2"), viaOnly(mplsKeyY, "10.0.2.2"))},
      {twoMplsRoutes}},
     {{mpls("resync_complete"), "{}"}, {twoMplsRoutes, {mpls("resync_init"), "{}"}}},
};

void PrintTo(const Row& row, std::ostream* out) {
   *out << row.change.method;
}

// Unary RPCs that change no stored state.
const std::set<std::string> readers{
     "OrvSdkRpc.pb.orvsdk_service.rpc_server_init",
     "OrvSdkRpc.pb.orvsdk_service.get_rpc_server_state",
     "orv.remote.AclMgrService.acl_exists",
     "orv.remote.AclMgrService.acl_all_exists",
     "orv.remote.AclMgrService.stream_allowed",
     "orv.remote.AclMgrService.dgram_allowed",
     "orv.remote.AgentService.enabled",
     "orv.remote.AgentService.agent_option",
     "orv.remote.AgentService.agent_option_exists",
     "orv.remote.AgentService.status",
     "orv.remote.AgentService.agent_uptime",
     "orv.remote.AgentService.agent_id",
     "orv.remote.AgentService.ping",
     "orv.remote.ClassMapMgrService.exists",
     "orv.remote.ClassMapMgrService.class_map",
     "orv.remote.EthPhyIntfMgrService.exists",
     "orv.remote.EthPhyIntfMgrService.hardware_present",
     "orv.remote.EthPhyIntfMgrService.burned_in_eth_addr",
     "orv.remote.EthPhyIntfMgrService.link_speed",
     "orv.remote.EthPhyIntfMgrService.transceiver_present",
     "orv.remote.FibMgrService.fib_route",
     "orv.remote.FibMgrService.fib_route_exists",
     "orv.remote.FibMgrService.fib_fec",
     "orv.remote.FibMgrService.fib_fec_exists",
     "orv.remote.IntfMgrService.exists",
     "orv.remote.IntfMgrService.admin_enabled",
     "orv.remote.IntfMgrService.description",
     "orv.remote.IntfMgrService.oper_status",
     "orv.remote.IntfMgrService.orv_intf_name",
     "orv.remote.IntfMgrService.kernel_intf_name",
     "orv.remote.IntfCounterMgrService.intf_counters",
     "orv.remote.IntfCounterMgrService.intf_traffic_rates",
     "orv.remote.MplsVrfLabelMgrService.mpls_vrf_label",
     "orv.remote.IpRouteMgrService.ip_route_exists",
     "orv.remote.IpRouteMgrService.ip_route_via_exists",
     "orv.remote.IpRouteMgrService.ip_route",
     // The tag and resync marks are in memory only.
     "orv.remote.IpRouteMgrService.tag",
     "orv.remote.IpRouteMgrService.tag_is",
     "orv.remote.IpRouteMgrService.resync_init",
     "orv.remote.NexthopGroupMgrService.active",
     "orv.remote.NexthopGroupMgrService.exists",
     "orv.remote.NexthopGroupMgrService.nexthop_group",
     "orv.remote.NexthopGroupMgrService.programmed_nexthop_group",
     "orv.remote.NexthopGroupMgrService.counter",
     "orv.remote.MplsRouteMgrService.exists",
     "orv.remote.MplsRouteMgrService.metric",
     "orv.remote.MplsRouteMgrService.fec_id",
     "orv.remote.PolicyMapMgrService.exists",
     "orv.remote.PolicyMapMgrService.policy_map",
     "orv.remote.PolicyMapMgrService.hw_status",
     "orv.remote.PolicyMapMgrService.traffic_policy_exists",
     "orv.remote.PolicyMapMgrService.traffic_policy",
     // Resync marks are in memory only.
     "orv.remote.ClassMapMgrService.resync_init",
     "orv.remote.PolicyMapMgrService.resync_init",
     "orv.remote.MplsVrfLabelMgrService.resync_init",
     "orv.remote.MplsRouteMgrService.resync_init",
     "orv.remote.NexthopGroupMgrService.resync_init",
};

TEST(Acknowledged, everyRpcHasARowOrChangesNothing) {
   std::set<std::string> covered = readers;
   for (const Row& row : rows)
      covered.insert(orvctl::findMethod(row.change.method).full_name());
   std::set<std::string> served;
   for (const auto* service : OrvSdkRpc::pb::services()) {
      for (int i = 0; i < service->method_count(); ++i) {
         const auto& method = *service->method(i);
         if (!method.server_streaming()) served.insert(method.full_name());
      }
   }
   EXPECT_EQ(covered, served);
}

// Sets an environment variable, which children inherit, for a scope.
class Variable {
public:
   Variable(const char* name, const std::string& value) : name_(name) {
      if (const char* before = std::getenv(name)) before_ = before;
      ::setenv(name, value.c_str(), 1);
   }
   ~Variable() {
      if (before_) {
         ::setenv(name_, before_->c_str(), 1);
      } else {
         ::unsetenv(name_);
      }
   }
   Variable(const Variable&) = delete;
   Variable& operator=(const Variable&) = delete;

private:
   const char* name_;
   std::optional<std::string> before_;
};

class Client {
public:
   explicit Client(const Daemon& daemon)
        : connection_(orvctl::parseTarget("daemon", "unix:" + daemon.socketPath()), 30) {}

   grpc::Status call(const Request& request, std::string& reply) {
      const auto& method = orvctl::findMethod(request.method);
      const auto in = made(*method.input_type());
      const auto out = made(*method.output_type());
      orvctl::messageFromJson(request.method, request.json, *in);
      const auto status = connection_.unary(orvctl::methodPath(method), *in, *out);
      failed_ = orvctl::hasInBandFailure(*out);
      reply = out->ShortDebugString();
      return status;
   }
   // Whether the last reply contains a failure.
   bool failed() const { return failed_; }

private:
   static std::unique_ptr<Message> made(const google::protobuf::Descriptor& type) {
      return std::unique_ptr<Message>(MessageFactory::generated_factory()->GetPrototype(&type)->New());
   }

   orvctl::Connection connection_;
   bool failed_ = false;
};

class AcknowledgedTest : public testing::TestWithParam<Row> {
protected:
   void prepare() {
      Client client(daemon_);
      for (const Request& request : GetParam().setup)
         done(client, request);
      before_ = state();
   }
   static void done(Client& client, const Request& request) {
      std::string reply;
      const auto status = client.call(request, reply);
      ASSERT_TRUE(status.ok()) << request.method << ": " << status.error_message();
      ASSERT_FALSE(client.failed()) << request.method << ": " << reply;
   }
   std::string state() {
      Console console(daemon_.consolePath());
      return durableState(console);
   }

   TempDir directory_{"orv-ack-"};
   std::string before_;
   Daemon daemon_{programPath("orvsdkrpcd"), directory_.path()};
};

class KilledAsTheReplyLeaves : public AcknowledgedTest {};

TEST_P(KilledAsTheReplyLeaves, nothingOfItIsLost) {
   const std::string armed = directory_ / "armed";
   const Variable preload("LD_PRELOAD", KILL_AFTER_REPLY_LIBRARY);
   const Variable file("ORV_KILL_AFTER_REPLY", armed);
   // The preloaded library comes before the sanitizer's own, which a sanitizer would refuse.
   const char* const options = std::getenv("ASAN_OPTIONS");
   const Variable order("ASAN_OPTIONS",
                        (options ? std::string(options) + ":" : "") + "verify_asan_link_order=0");
   daemon_.start();
   ASSERT_NO_FATAL_FAILURE(prepare());
   {
      Client client(daemon_);
      // Connects before the daemon may die.
      std::string reply;
      client.call({agent("agent_uptime"), "{}"}, reply);
      std::fclose(std::fopen(armed.c_str(), "w"));
      ASSERT_NO_FATAL_FAILURE(done(client, GetParam().change));
   }
   EXPECT_EQ(daemon_.child().wait(), (Ending{.exitCode = -1, .signal = SIGKILL}));
   std::remove(armed.c_str());

   daemon_.start();
   const std::string after = state();
   EXPECT_NE(after, before_) << "lost, or the row changes nothing";
   // Repeating the change leaves nothing to do.
   Client client(daemon_);
   std::string reply;
   for (const Request& request : GetParam().setup) {
      if (request.method == init) client.call(request, reply);
   }
   client.call(GetParam().change, reply);
   EXPECT_EQ(after, state());
}

class WhenTheDiskFails : public AcknowledgedTest {};

TEST_P(WhenTheDiskFails, theCallIsNotAcknowledgedAndNothingOfItIsThere) {
   // A write beyond the limit then fails instead of raising a signal, in this process and its children.
   ASSERT_NE(::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
   Daemon daemon(programPath("orvsdkrpcd"), directory_.path(), {"--durability", "sync"});
   daemon.start();
   const auto stateOf = [](Daemon& of) {
      Console console(of.consolePath());
      return durableState(console);
   };
   {
      Client client(daemon);
      // After these writes the file has room for everything that follows.
      ASSERT_NO_FATAL_FAILURE(done(client, {agent("status_set"), R"({"name":"first","value":"write"})"}));
      for (const Request& request : GetParam().setup)
         ASSERT_NO_FATAL_FAILURE(done(client, request));
   }
   const std::string before = stateOf(daemon);
   {
      Client client(daemon);
      std::string reply;
      client.call({agent("agent_uptime"), "{}"}, reply);
      // From here on the daemon can write only the first two pages of any file, which its log does not fill.
      constexpr rlim_t bytes = 8192;
      ASSERT_LT(daemon.child().log().size(), bytes / 2);
      const rlimit limit{.rlim_cur = bytes, .rlim_max = RLIM_INFINITY};
      ASSERT_EQ(::prlimit(daemon.child().pid(), RLIMIT_FSIZE, &limit, nullptr), 0);
      EXPECT_FALSE(client.call(GetParam().change, reply).ok()) << reply;
   }
   EXPECT_EQ(daemon.child().wait(), (Ending{.exitCode = EXIT_FAILURE, .signal = 0}));
   EXPECT_NE(daemon.child().log().find("before anything is acknowledged"), std::string::npos)
        << daemon.child().log();
   daemon.start();
   EXPECT_EQ(stateOf(daemon), before);
}

std::string nameOf(const testing::TestParamInfo<Row>& info) {
   const auto& method = orvctl::findMethod(info.param.change.method);
   return method.service()->name() + "_" + method.name() + "_" + std::to_string(info.index);
}
INSTANTIATE_TEST_SUITE_P(Rpc, KilledAsTheReplyLeaves, testing::ValuesIn(rows), nameOf);
INSTANTIATE_TEST_SUITE_P(Rpc, WhenTheDiskFails, testing::ValuesIn(rows), nameOf);

}  // namespace
}  // namespace orvtest
