// The client's commands for lists, watches and the mirror services, against the real daemon.
#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/intf.grpc.pb.h"
#include "OrvctlAndDaemon.h"

namespace orvsdkrpcd {
namespace {

using orvtest::Ending;
using test::Running;
using testing::HasSubstr;
using testing::StartsWith;

class OrvctlMirror : public test::OrvctlAndDaemon {
protected:
   Running start(const std::string& name, std::vector<std::string> arguments) const {
      return {daemon_, directory_, name + ".log", std::move(arguments)};
   }
   void console(const std::string& command) const { expect(0, {"console", command}); }
};

TEST_F(OrvctlMirror, aWatchShowsWhatIsThereAndThenWhatHappens) {
   Running watch = start("watch", {"watch", "intf", "--all", "--fields", "all"});
   const std::string dump = watch.waitFor("# complete, changes follow\n");
   EXPECT_THAT(dump, HasSubstr("Ethernet1 oper_status=up admin_enabled=true description=\"\"\n"));
   EXPECT_THAT(dump, HasSubstr("Management1 "));
   console("set link Ethernet1 down");
   watch.waitFor("Ethernet1 oper_status=down\n");
   expect(0, {"intf", "set", "Ethernet2", "--admin", "down", "--description", "to the core"});
   watch.waitFor("Ethernet2 description=\"to the core\"\n");
   EXPECT_THAT(watch.waitFor("Ethernet2 admin_enabled=false\n"), HasSubstr("Ethernet2 oper_status=down\n"));
   watch.child().signal(SIGINT);
   EXPECT_EQ(watch.child().wait(), Ending{.exitCode = 0}) << watch.child().log();
}

TEST_F(OrvctlMirror, oneClientsChangeReachesEveryWatcher) {
   Running first = start("first", {"watch", "intf", "--intf", "Ethernet3", "--ack"});
   Running second = start("second", {"--json", "watch", "intf", "--ack", "--count", "1"});
   first.waitFor("# watching\n");
   second.waitFor("\"ack\":true");
   expect(0, {"intf", "set", "Ethernet4", "--description", "other"});
   expect(0, {"intf", "set", "Ethernet3", "--description", "news"});
   EXPECT_EQ(first.waitFor("Ethernet3 description=news\n").find("Ethernet4"), std::string::npos);
   EXPECT_THAT(second.waitFor("\"description\":\"other\""), HasSubstr(R"("intf":{"name":"Ethernet4"})"));
   EXPECT_EQ(second.child().wait(), Ending{.exitCode = 0});
}

TEST_F(OrvctlMirror, interfaces) {
   EXPECT_THAT(expect(0, {"intf", "list"}), HasSubstr("Ethernet64\n"));
   EXPECT_THAT(expect(0, {"intf", "show"}), HasSubstr("Loopback0"));
   const auto shown = nlohmann::json::parse(expect(0, {"--json", "intf", "show", "Ethernet1"}));
   EXPECT_EQ(shown["admin"], "up");
   EXPECT_EQ(shown["oper"], "up");
   EXPECT_FALSE(shown["kernel_name"].get<std::string>().empty());
   EXPECT_THAT(expect(1, {"intf", "show", "Ethernet99"}), HasSubstr("INVALID_ARGUMENT"));
   EXPECT_THAT(expect(1, {"intf", "set", "Ethernet99", "--admin", "up"}), HasSubstr("INVALID_ARGUMENT"));
}

TEST_F(OrvctlMirror, ports) {
   Running watch = start("watch", {"watch", "phy", "--intf", "Ethernet1", "--ack"});
   watch.waitFor("# watching\n");
   EXPECT_THAT(expect(0, {"phy", "list"}), HasSubstr("Ethernet64\n"));
   EXPECT_THAT(expect(0, {"phy", "show", "Ethernet1"}), HasSubstr("100_gbps"));
   console("set speed Ethernet1 25G");
   watch.waitFor("link_speed=25_gbps");
   console("set transceiver Ethernet1 absent");
   watch.waitFor("transceiver_present=false");
   const auto shown = nlohmann::json::parse(expect(0, {"--json", "phy", "show", "Ethernet1"}));
   EXPECT_EQ(shown["transceiver"], false);
   EXPECT_EQ(shown["mac"].get<std::string>().size(), 17U);
   EXPECT_THAT(expect(1, {"phy", "show", "Loopback0"}), HasSubstr("INVALID_ARGUMENT"));
}

TEST_F(OrvctlMirror, groups) {
   Running watch = start("watch", {"watch", "nhg", "--all", "--fields", "active_status", "--ack"});
   watch.waitFor("# complete");
   expect(0, {"init"});
   expect(0, {"nhg", "set", "g1", "-n", "intf=Ethernet1,address=10.0.0.1,labels=100,op=push"});
   watch.waitFor("hw_state=success");
   watch.waitFor("g1 active=true\n");
   EXPECT_THAT(expect(0, {"nhg", "list"}), HasSubstr("g1"));
   EXPECT_THAT(expect(0, {"nhg", "show", "g1"}), HasSubstr("0: 10.0.0.1 Ethernet1 push 100\n"));
   EXPECT_THAT(expect(0, {"nhg", "list", "--programmed"}), HasSubstr("g1\n"));
   console("set nexthop-group-traffic g1 entry 0 packets 7 bytes 700");
   EXPECT_THAT(expect(0, {"nhg", "counters", "--regex", "g."}), HasSubstr("700"));
   EXPECT_EQ(expect(0, {"nhg", "counters", "--regex", "g"}), "");
   EXPECT_THAT(expect(1, {"nhg", "counters", "--regex", "["}), HasSubstr("INVALID_ARGUMENT"));
   console("set link Ethernet1 down");
   watch.waitFor("g1 active=false\n");
   EXPECT_THAT(expect(1, {"nhg", "show", "none"}), HasSubstr("none: there is no such group"));
}

TEST_F(OrvctlMirror, accessLists) {
   expect(0, {"acl", "set", "a", "10",
              R"({"base":{"action":"ACL_ACTION_DENY"},"source_addr":{"addr":"10.0.0.0","mask_length":8}})"});
   EXPECT_EQ(expect(0, {"acl", "list"}), "NAME  TYPE\na     ipv4\n");
   EXPECT_EQ(expect(0, {"acl", "list", "--all"}), "");
   Running watch = start("watch", {"watch", "acl", "--ack", "--count", "1"});
   watch.waitFor("# watching\n");
   EXPECT_EQ(expect(0, {"acl", "commit", "--wait"}), "in hardware\n");
   watch.waitFor("acl_sync\n");
   EXPECT_EQ(watch.child().wait(), Ending{.exitCode = 0});
   const auto rule = nlohmann::json::parse(expect(0, {"--json", "acl", "rules", "a", "--all"}));
   EXPECT_EQ(rule["seq"], 10);
   EXPECT_EQ(rule["rule"]["source_addr"]["addr"], "10.0.0.0");
   expect(0, {"acl", "apply", "a", "Ethernet1", "in"});
   expect(0, {"acl", "counters", "a", "on"});
   EXPECT_EQ(expect(0, {"acl", "del", "a", "10", "20"}), "2 items applied\n");
   EXPECT_THAT(expect(1, {"acl", "apply", "a", "Ethernet99", "in"}), HasSubstr("INVALID_ARGUMENT"));
}

TEST_F(OrvctlMirror, countersAndRates) {
   Running watch = start("watch", {"watch", "counters", "--regex", "Ethernet1", "--ack", "--count", "1"});
   watch.waitFor("# watching\n");
   console("set counter-interval 10");
   console("set traffic Ethernet12 in-pps 1000 in-bps 1000000");
   console("set traffic Ethernet1 in-pps 2000 in-bps 2000000");
   EXPECT_EQ(watch.child().wait(), Ending{.exitCode = 0}) << watch.child().log();
   EXPECT_THAT(watch.child().log(), HasSubstr("Ethernet1 out_pkts_rate="));
   EXPECT_EQ(watch.child().log().find("Ethernet12"), std::string::npos);
   EXPECT_THAT(expect(0, {"counters", "rates", "Ethernet1"}), HasSubstr("IN PKTS RATE"));
   EXPECT_NE(nlohmann::json::parse(expect(0, {"--json", "counters", "show", "Ethernet1"}))["in_octets"], "0");
   EXPECT_THAT(expect(1, {"watch", "counters", "--regex", "["}), HasSubstr("intf_name_regex"));
}

TEST_F(OrvctlMirror, countersOfPolicies) {
   expect(0, {"call", "PolicyMapMgrService/traffic_policy_is",
              R"({"traffic_policy":{"key":"edge","rules":{"10":{"traffic_policy_rule_type":1,)"
              R"("match_rule_name":"web","raw_rule":{"filter_type":1},)"
              R"("actions":[{"action_type":"TRAFFIC_POLICY_ACTION_TYPE_DROP"}]}}}})"});
   expect(0, {"call", "PolicyMapMgrService/traffic_policy_apply",
              R"({"name":"edge","intf_id":{"name":"Ethernet1"},"apply":true})"});
   Running watch = start("watch", {"policy-counters", "watch"});
   watch.waitFor("# complete, changes follow\n");
   watch.waitFor("edge    web    10    0        0      drop\n");
   console("set traffic-policy-traffic edge rule web packets 7 bytes 700");
   watch.waitFor("edge    web    10    7        700    drop\n");
   EXPECT_THAT(expect(0, {"--json", "policy-counters", "watch", "-n", "1"}),
               HasSubstr(R"("class":"web","rule":"10","packets":7,"bytes":700)"));
   expect(0, {"call", "PolicyMapMgrService/traffic_policy_del", R"({"name":"edge"})"});
   watch.waitFor("edge    web    10                    gone\n");
   watch.child().signal(SIGINT);
   EXPECT_EQ(watch.child().wait(), Ending{.exitCode = 0}) << watch.child().log();
}

TEST_F(OrvctlMirror, theAgent) {
   Running watch = start("watch", {"watch", "agent", "--ack"});
   watch.waitFor("# watching\n");
   console("set agent option level 7");
   watch.waitFor("name=level value=7\n");
   EXPECT_EQ(expect(0, {"agent", "options"}), "level=7\n");
   EXPECT_EQ(expect(0, {"agent", "set", "a=1", "b=2"}), "2 items applied\n");
   EXPECT_THAT(expect(0, {"agent", "status"}), HasSubstr("a=1\nb=2\n"));
   EXPECT_EQ(expect(0, {"agent", "del", "a"}), "1 items applied\n");
   EXPECT_EQ(expect(0, {"agent", "status", "a", "b"}), "a=\nb=2\n");
   EXPECT_THAT(expect(0, {"agent", "ping", "-n", "3"}), StartsWith("main loop "));
   EXPECT_GT(nlohmann::json::parse(expect(0, {"--json", "agent", "uptime"}))["uptime"], 0.0);
   EXPECT_EQ(expect(0, {"agent", "enabled"}), "yes\n");
}

TEST_F(OrvctlMirror, tunnelsAndLabels) {
   expect(0, {"init"});
   expect(0, {"nhg", "set", "g1", "-n", "intf=Ethernet1,address=10.0.0.1,labels=100,op=push"});
   expect(0, {"tunnel", "set", "192.0.2.1/32", "--nhg", "g1", "--metric", "7"});
   EXPECT_THAT(expect(0, {"console", "show tunnel"}), HasSubstr("192.0.2.1/32"));
   expect(0, {"mpls", "set", "100", "--nexthop", "intf=Ethernet1,address=10.0.0.1,op=swap,labels=200"});
   expect(0, {"mpls", "set", "101", "--nhg", "g1"});
   EXPECT_THAT(expect(0, {"console", "show mpls route"}), HasSubstr("101"));
   EXPECT_THAT(expect(0, {"init"}), HasSubstr("nexthop group tunnels yes"));
   expect(0, {"tunnel", "del", "192.0.2.1/32"});
   EXPECT_THAT(expect(1, {"tunnel", "del", "192.0.2.1/32"}), HasSubstr("RPC_STATUS_NOT_FOUND"));
   EXPECT_THAT(expect(0, {"mpls", "del", "100", "101"}), StartsWith("2 items: 2 ok"));
   const std::string many = file("labels", R"({"label":200,"nexthop_group_msg":{"name":"g1"}})"
                                           "\n"
                                           R"({"label":1048576,"nexthop_group_msg":{"name":"g1"}})"
                                           "\n");
   const std::string outcome = expect(1, {"mpls", "set", "--file", many});
   EXPECT_THAT(outcome, HasSubstr("line 2: label 1048576: RPC_STATUS_ERROR"));
   EXPECT_THAT(outcome, HasSubstr("2 items: 1 ok, 1 failed"));
}

TEST_F(OrvctlMirror, redirectsAndSessions) {
   EXPECT_THAT(expect(1, {"redirect", "set", "gold", "low", "--ipv4", "46"}),
               HasSubstr("RPC_STATUS_NOT_INITIALIZED"));
   expect(0, {"init", "--policy-map", "cbf"});
   expect(0, {"redirect", "set", "gold", "low", "--ipv4", "46,10", "--ipv6", "46"});
   EXPECT_THAT(expect(0, {"console", "show class-map"}), HasSubstr("gold-low"));
   EXPECT_THAT(expect(0, {"console", "show acl"}), HasSubstr("gold-low_IPv6"));
   EXPECT_THAT(expect(0, {"console", "show policy-map"}), HasSubstr("low"));
   EXPECT_THAT(expect(1, {"redirect", "del", "gold", "silver"}), HasSubstr("RPC_STATUS_NOT_FOUND"));
   expect(0, {"redirect", "del", "gold", "low"});
   EXPECT_THAT(expect(2, {"redirect", "set", "gold", "low", "--ipv4", "64"}), HasSubstr("--ipv4 is '64'"));
   EXPECT_THAT(expect(2, {"redirect", "set", "gold", "low"}), HasSubstr("--ipv4 and --ipv6 are missing"));
   expect(2, {"redirect", "del", "gold"});
   const std::string redirects =
        file("redirects",
             R"({"match_nexthop_group_name":"a","redirect_nexthop_group_name":"b","match_ipv4_dscp":[1]})"
             "\n"
             R"({"match_nexthop_group_name":"a","match_ipv4_dscp":[1]})"
             "\n");
   EXPECT_THAT(expect(1, {"redirect", "set", "--file", redirects}), HasSubstr("2 items: 1 ok, 1 failed"));

   expect(0, {"sbfd", "set", "10.0.0.2", "--intf", "Ethernet1", "--labels", "100,200", "--min-tx", "50",
              "--multiplier", "3", "--track-intf"});
   EXPECT_THAT(expect(0, {"console", "show sbfd"}), HasSubstr("10.0.0.2"));
   EXPECT_THAT(expect(2, {"sbfd", "set", "10.0.0.2", "--min-tx", "50"}),
               HasSubstr("expected both or neither"));
   EXPECT_THAT(expect(1, {"sbfd", "set", "10.0.0.2", "--intf", "Ethernet99"}), HasSubstr("RPC_STATUS_ERROR"));
   expect(0, {"sbfd", "del", "10.0.0.2", "--intf", "Ethernet1", "--labels", "100,200"});
   EXPECT_EQ(expect(0, {"console", "show sbfd"}).find("10.0.0.2"), std::string::npos);
   const std::string sessions =
        file("sessions", R"({"key":{"nexthop":"10.0.0.3","nexthop_intf":"Ethernet1"}})"
                         "\n");
   EXPECT_THAT(expect(0, {"sbfd", "set", "--file", sessions}), HasSubstr("1 items: 1 ok"));
   EXPECT_THAT(expect(0, {"sbfd", "del", "--file", sessions}), HasSubstr("1 items: 1 ok"));
}

TEST_F(OrvctlMirror, aWatchEndsWithTheDaemon) {
   Running watch = start("watch", {"watch", "intf", "--ack"});
   watch.waitFor("# watching\n");
   EXPECT_EQ(daemon_.terminate(), Ending{.exitCode = 0});
   EXPECT_EQ(watch.child().wait(), Ending{.exitCode = 3}) << watch.child().log();
   expect(3, {"watch", "intf"});
}

// Changes more descriptions than the queue of a stream holds; the last one is Ethernet1's.
void flood(const std::string& address, const std::string& lastDescription) {
   constexpr int perBulk = 10'000;
   // Beyond the queue, this is more than gRPC and the socket hold for a reader that has stopped.
   constexpr int bulks = 60;
   const auto stub = orv::remote::IntfMgrService::NewStub(
        grpc::CreateChannel(address, grpc::InsecureChannelCredentials()));
   for (int bulk = 0; bulk < bulks; ++bulk) {
      orv::remote::BulkIntfDescriptionIsRequest request;
      for (int i = 1; i <= perBulk; ++i) {
         auto& item = *request.add_requests();
         const bool last = bulk == bulks - 1 && i == perBulk;
         item.mutable_intf_id()->set_name("Ethernet" + std::to_string(last ? 1 : i % 64 + 1));
         item.set_description(last ? lastDescription : std::to_string(bulk * perBulk + i));
      }
      grpc::ClientContext context;
      orv::remote::BulkIntfDescriptionIsResponse reply;
      ASSERT_TRUE(stub->bulk_description_is(&context, request, &reply).ok());
      ASSERT_EQ(reply.count(), static_cast<uint64_t>(perBulk)) << reply.status().message();
   }
}

TEST_F(OrvctlMirror, aSlowReaderIsToldAndMayWatchAgain) {
   Running slow = start("slow", {"watch", "intf", "--ack"});
   slow.waitFor("# watching\n");
   slow.child().signal(SIGSTOP);
   flood(daemon_.address(), "the last one");
   slow.child().signal(SIGCONT);
   EXPECT_EQ(slow.child().wait(), Ending{.exitCode = 4});
   EXPECT_THAT(slow.child().log(),
               HasSubstr("closed it: Slow stream reader, too many responses waiting in a queue.\n"));
   Running again = start("again", {"watch", "intf", "--fields", "description"});
   EXPECT_THAT(again.waitFor("# complete"), HasSubstr("Ethernet1 description=\"the last one\"\n"));
}

TEST_F(OrvctlMirror, theServicesAreInTheList) {
   const std::string services = expect(0, {"list", "--no-probe"});
   for (const char* name : {"AclMgrService", "AgentService", "EthPhyIntfMgrService", "IntfMgrService",
                            "IntfCounterMgrService", "MplsRouteMgrService", "NexthopGroupMgrService"}) {
      EXPECT_THAT(services, HasSubstr(std::string("orv.remote.") + name + "\n"));
   }
   EXPECT_EQ(expect(0, {"call", "IntfMgrService/exists", R"({"intf_id":{"name":"Ethernet1"}})"}),
             "{\"exists\":true}\n");
   EXPECT_THAT(expect(1, {"call", "IntfMgrService/oper_status", R"({"intf_id":{"name":"Ethernet99"}})"}),
               HasSubstr("INVALID_ARGUMENT"));
}

}  // namespace
}  // namespace orvsdkrpcd
