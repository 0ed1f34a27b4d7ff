#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/class_map.pb.h"
#include "OrvSdkRpcProtos/policy_map.pb.h"
#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
namespace rpc = orv::remote;

class OrvctlPolicies : public test::Orvctl {
protected:
   template <typename Response>
   static Response keyed(const std::string& name, rpc::PolicyFeature feature) {
      Response response;
      response.mutable_key()->set_name(name);
      response.mutable_key()->set_feature(feature);
      return response;
   }
   template <typename Reply>
   static Reply applied(uint64_t count) {
      Reply reply;
      reply.mutable_status();
      reply.set_count(count);
      return reply;
   }
   static rpc::ClassMap classMap() {
      rpc::ClassMap map;
      map.mutable_key()->set_name("web");
      map.mutable_key()->set_feature(rpc::POLICY_FEATURE_PBR);
      for (const uint32_t sequence : {20U, 10U, 100U}) {
         auto& list = *(*map.mutable_rules())[sequence].mutable_acl_key();
         list.set_acl_name("list" + std::to_string(sequence));
         list.set_acl_type(rpc::ACL_TYPE_IPV4);
      }
      return map;
   }

   static constexpr char yamlMaps_[] =
        "# class maps\n"
        "- key: {name: web, feature: POLICY_FEATURE_PBR}\n"
        "  rules:\n"
        "    10:\n"
        "      acl_key: {acl_name: web-in, acl_type: ACL_TYPE_IPV4}\n"
        "- key:\n"
        "    name: 10\n"
        "    feature: 2\n";
   static constexpr char sentMaps_[] =
        R"(ClassMapMgrService/bulk_class_map_is {"requests":[)"
        R"({"class_map":{"key":{"name":"web","feature":"POLICY_FEATURE_PBR"},)"
        R"("rules":{"10":{"acl_key":{"acl_name":"web-in","acl_type":"ACL_TYPE_IPV4"}}}}},)"
        R"({"class_map":{"key":{"name":"10","feature":"POLICY_FEATURE_QOS"})";
};

TEST_F(OrvctlPolicies, listsEveryFeatureOrOne) {
   const std::string request = R"({"feature":"POLICY_FEATURE_)";
   server_.mirror.answer("ClassMapMgrService/class_maps");
   server_.mirror.answerTo("ClassMapMgrService/class_maps", request + "PBR\"}",
                           keyed<rpc::ClassMapsResponse>("web", rpc::POLICY_FEATURE_PBR));
   server_.mirror.answerTo("ClassMapMgrService/class_maps", request + "QOS\"}",
                           keyed<rpc::ClassMapsResponse>("voice", rpc::POLICY_FEATURE_QOS));
   server_.mirror.answer("PolicyMapMgrService/policy_maps",
                         keyed<rpc::PolicyMapsResponse>("cbf", rpc::POLICY_FEATURE_TAP_AGGREGATION));
   server_.start();
   EXPECT_EQ(orvctl({"class-map", "list"}).out, "NAME   FEATURE\nweb    pbr\nvoice  qos\n");
   EXPECT_THAT(server_.mirror.requests(),
               ElementsAre("ClassMapMgrService/class_maps " + request + "PBR\"}",
                           "ClassMapMgrService/class_maps " + request + "QOS\"}",
                           "ClassMapMgrService/class_maps " + request + "TAP_AGGREGATION\"}",
                           "ClassMapMgrService/class_maps " + request + "CONTROL_PLANE\"}"));
   EXPECT_EQ(orvctl({"--json", "policy-map", "list", "--feature", "tap-aggregation"}).out,
             "{\"name\":\"cbf\",\"feature\":\"tap_aggregation\"}\n");
   EXPECT_EQ(orvctl({"policy-map", "list", "--feature", "x"}).code, 2);
}

TEST_F(OrvctlPolicies, showsRulesInTheirOrder) {
   rpc::ClassMapResponse found;
   *found.mutable_class_map() = classMap();
   server_.mirror.answer("ClassMapMgrService/class_map", rpc::ClassMapResponse());
   server_.mirror.answerTo("ClassMapMgrService/class_map",
                           R"({"key":{"name":"web","feature":"POLICY_FEATURE_PBR"}})", found);
   server_.start();
   const Result result = orvctl({"class-map", "show", "web", "other"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.out,
             "web: pbr\n"
             "  10: ipv4 list list10\n"
             "  20: ipv4 list list20\n"
             "  100: ipv4 list list100\n");
   EXPECT_EQ(result.err, "other: there is no such class map\n");
   EXPECT_EQ(orvctl({"class-map", "show", "web", "--feature", "qos"}).code, 1);
   EXPECT_EQ(orvctl({"class-map", "show"}).code, 2);
   EXPECT_EQ(orvctl({"class-map", "show", "web", "--feature", "x"}).code, 2);
}

TEST_F(OrvctlPolicies, whatIsShownAsJsonCanBeSet) {
   rpc::ClassMapResponse found;
   *found.mutable_class_map() = classMap();
   server_.mirror.answer("ClassMapMgrService/class_map", found);
   server_.mirror.answer("ClassMapMgrService/bulk_class_map_is", applied<rpc::BulkClassMapIsResponse>(1));
   server_.start();
   const std::string json = orvctl({"--json", "class-map", "show", "web"}).out;
   const Result result = orvctl({"class-map", "set", "-"}, json);
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_EQ(result.out, "1 items applied\n");
   const std::string sent = server_.mirror.requests().back();
   const auto request = nlohmann::json::parse(sent.substr(sent.find(' ')));
   EXPECT_EQ(request["requests"][0]["class_map"], nlohmann::json::parse(json));
}

TEST_F(OrvctlPolicies, setsWhatAFileDefines) {
   server_.mirror.answer("ClassMapMgrService/bulk_class_map_is", applied<rpc::BulkClassMapIsResponse>(2));
   server_.start();
   const Result yaml = orvctl({"class-map", "set", file(yamlMaps_)});
   EXPECT_EQ(yaml.code, 0) << yaml.err;
   EXPECT_EQ(yaml.out, "2 items applied\n");
   const Result json =
        orvctl({"class-map", "set", "-"},
               R"([{"key":{"name":"web","feature":"POLICY_FEATURE_PBR"},"rules":{"10":{"acl_key":)"
               R"({"acl_name":"web-in","acl_type":"ACL_TYPE_IPV4"}}}},)"
               R"({"key":{"name":"10","feature":2}}])");
   EXPECT_EQ(json.code, 0) << json.err;
   EXPECT_THAT(server_.mirror.requests(), ElementsAre(StartsWith(sentMaps_), StartsWith(sentMaps_)));
}

TEST_F(OrvctlPolicies, aBulkThatStopsNamesTheDefinition) {
   auto reply = applied<rpc::BulkClassMapIsResponse>(1);
   reply.mutable_status()->set_code(rpc::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT);
   reply.mutable_status()->set_message("no");
   server_.mirror.answer("ClassMapMgrService/bulk_class_map_is", reply);
   server_.start();
   const Result result = orvctl({"class-map", "set", "-"}, yamlMaps_);
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "class map '10' (- line 6): invalid_argument: no; 1 of 2 items applied\n");
}

TEST_F(OrvctlPolicies, aWrongFileSendsNothing) {
   server_.start();
   const auto problem = [&](const std::string& text) {
      const Result result = orvctl({"policy-map", "set", "-"}, text);
      EXPECT_EQ(result.code, 2) << text;
      return result.err;
   };
   EXPECT_THAT(problem("key: {name: a}\n---\nkey: {name: b}\nruls: {}\n"),
               testing::AllOf(StartsWith("orvctl: - line 3: expected PolicyMap: "), HasSubstr("ruls")));
   EXPECT_THAT(problem(R"({"key":{"feature":"BREAD"}})"),
               testing::AllOf(StartsWith("orvctl: -: expected PolicyMap: "), HasSubstr("BREAD")));
   EXPECT_THAT(problem("{\n\"key\":\n"), StartsWith("orvctl: - line 3: expected JSON: "));
   EXPECT_THAT(problem("a: 1\nb: c: d\n"), StartsWith("orvctl: - line 2: expected YAML: "));
   EXPECT_EQ(problem("- web\n"), "orvctl: - line 1: expected the fields of PolicyMap\n");
   EXPECT_EQ(problem(""), "orvctl: FILE is '-', expected a definition in JSON or YAML\n");
   EXPECT_THAT(problem("key: {name: \"\xff\"}\n"), StartsWith("orvctl: - line 1: expected "));
   EXPECT_THAT(orvctl({"policy-map", "set", directory_ / "none"}).err,
               HasSubstr("expected a readable file or '-'"));
   EXPECT_EQ(orvctl({"policy-map", "set"}).code, 2);
   EXPECT_THAT(server_.mirror.requests(), IsEmpty());
}

TEST_F(OrvctlPolicies, deletesInOneBulk) {
   server_.mirror.answer("PolicyMapMgrService/bulk_policy_map_del",
                         applied<rpc::BulkPolicyMapDelResponse>(2));
   auto refused = applied<rpc::BulkTrafficPolicyDelResponse>(0);
   refused.mutable_status()->set_code(rpc::RPC_RESPONSE_STATUS_CODE_UNSUPPORTED);
   refused.mutable_status()->set_message("off");
   server_.mirror.answer("PolicyMapMgrService/bulk_traffic_policy_del", refused);
   server_.start();
   EXPECT_EQ(orvctl({"policy-map", "del", "a", "b", "--feature", "qos"}).out, "2 items applied\n");
   EXPECT_EQ(server_.mirror.requests().back(), R"(PolicyMapMgrService/bulk_policy_map_del {"requests":[)"
                                               R"({"key":{"name":"a","feature":"POLICY_FEATURE_QOS"}},)"
                                               R"({"key":{"name":"b","feature":"POLICY_FEATURE_QOS"}}]})");
   const Result result = orvctl({"traffic-policy", "del", "t"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "traffic policy 't': unsupported: off; 0 of 1 items applied\n");
   EXPECT_EQ(orvctl({"policy-map", "del"}).code, 2);
}

TEST_F(OrvctlPolicies, trafficPolicies) {
   rpc::TrafficPoliciesResponse listed;
   listed.mutable_key()->set_name("t");
   rpc::TrafficPolicyResponse found;
   found.mutable_traffic_policy()->set_key("t");
   found.mutable_traffic_policy()->add_named_counters("hits");
   auto& rule = (*found.mutable_traffic_policy()->mutable_rules())[10];
   rule.set_match_rule_name("web");
   rule.add_actions()->set_action_type(rpc::TRAFFIC_POLICY_ACTION_TYPE_DROP);
   server_.mirror.answer("PolicyMapMgrService/traffic_policies", listed);
   server_.mirror.answer("PolicyMapMgrService/traffic_policy", rpc::TrafficPolicyResponse());
   server_.mirror.answerTo("PolicyMapMgrService/traffic_policy", R"({"name":"t"})", found);
   server_.mirror.answer("PolicyMapMgrService/bulk_traffic_policy_is",
                         applied<rpc::BulkTrafficPolicyIsResponse>(1));
   server_.start();
   EXPECT_EQ(orvctl({"traffic-policy", "list"}).out, "NAME\nt\n");
   const Result shown = orvctl({"traffic-policy", "show", "t", "u"});
   EXPECT_EQ(shown.out, "t: counters hits\n  10: web none: drop\n");
   EXPECT_EQ(shown.err, "u: there is no such traffic policy\n");
   EXPECT_EQ(orvctl({"traffic-policy", "set", "-"}, "key: t\nnamed_counters: [hits]\n").code, 0);
   EXPECT_THAT(server_.mirror.requests().back(),
               StartsWith(R"(PolicyMapMgrService/bulk_traffic_policy_is {"requests":[{"traffic_policy":)"
                          R"({"key":"t","named_counters":["hits"])"));
   EXPECT_EQ(orvctl({"traffic-policy", "list", "--feature", "pbr"}).code, 2);
}

TEST_F(OrvctlPolicies, appliesAndRemoves) {
   server_.mirror.answer("PolicyMapMgrService/policy_map_apply", rpc::PolicyMapApplyResponse());
   server_.mirror.answer("PolicyMapMgrService/traffic_policy_apply", rpc::TrafficPolicyApplyResponse());
   server_.start();
   EXPECT_EQ(orvctl({"policy-map", "apply", "p", "Ethernet1", "in"}).code, 0);
   EXPECT_EQ(orvctl({"traffic-policy", "apply", "t", "Ethernet1", "out", "--remove"}).code, 0);
   EXPECT_THAT(server_.mirror.requests(),
               ElementsAre(R"(PolicyMapMgrService/policy_map_apply {"key":{"name":"p","feature":)"
                           R"("POLICY_FEATURE_PBR"},"intf_id":{"name":"Ethernet1"},)"
                           R"("direction":"ACL_DIRECTION_IN","apply":true})",
                           R"(PolicyMapMgrService/traffic_policy_apply {"name":"t","intf_id":)"
                           R"({"name":"Ethernet1"},"direction":"TRAFFIC_POLICY_DIRECTION_OUT",)"
                           R"("apply":false})"));
   EXPECT_EQ(orvctl({"policy-map", "apply", "p", "Ethernet1", "up"}).code, 2);
   EXPECT_EQ(orvctl({"policy-map", "apply", "p", "Ethernet1"}).code, 2);
}

TEST_F(OrvctlPolicies, statusInHardware) {
   rpc::PolicyMapHwStatusResponse status;
   auto& place = *status.mutable_statuses()->add_intf_statuses();
   place.mutable_key()->mutable_intf_id()->set_name("Ethernet1");
   place.mutable_key()->set_direction(rpc::ACL_DIRECTION_IN);
   place.set_status(rpc::POLICY_MAP_STATUS_SUCCESS);
   server_.mirror.answer("PolicyMapMgrService/policy_map_hw_statuses");
   server_.mirror.answerTo("PolicyMapMgrService/policy_map_hw_statuses",
                           R"({"feature":"POLICY_FEATURE_QOS"})",
                           keyed<rpc::PolicyMapHwStatusesResponse>("p", rpc::POLICY_FEATURE_QOS));
   server_.mirror.answer("PolicyMapMgrService/hw_status", status);
   server_.start();
   EXPECT_EQ(orvctl({"policy-map", "status"}).out,
             "NAME  FEATURE  INTF       DIRECTION  STATUS\n"
             "p     qos      Ethernet1  in         success\n");
   EXPECT_EQ(server_.mirror.requests().size(), 5U);
   EXPECT_EQ(orvctl({"--json", "policy-map", "status", "q"}).out,
             "{\"name\":\"q\",\"feature\":\"pbr\",\"intf\":\"Ethernet1\",\"direction\":\"in\","
             "\"status\":\"success\"}\n");
   EXPECT_EQ(server_.mirror.requests().back(),
             R"(PolicyMapMgrService/hw_status {"key":{"name":"q","feature":"POLICY_FEATURE_PBR"}})");
}

TEST_F(OrvctlPolicies, watchesPolicyMaps) {
   rpc::PolicyMapWatchResponse event;
   event.mutable_key()->set_name("p");
   event.set_event(rpc::POLICY_MAP_EVENT_SYNC);
   server_.mirror.answer("PolicyMapMgrService/watch", event).held = true;
   server_.start();
   EXPECT_THAT(orvctl({"policy-map", "watch", "-n", "1"}).out, HasSubstr("event=sync\n"));
}

}  // namespace
}  // namespace orvctl
