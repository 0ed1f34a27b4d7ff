// The client's commands against the real daemon, exit codes included.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "OrvctlAndDaemon.h"

namespace orvsdkrpcd {
namespace {

using orvtest::Ending;
using testing::HasSubstr;
using testing::StartsWith;

using test::OrvctlAndDaemon;

TEST_F(OrvctlAndDaemon, beforeInitProgrammingIsRefused) {
   EXPECT_THAT(expect(1, {"route", "add", "192.0.2.0/24", "--nhg", "g1"}),
               HasSubstr("RPC_STATUS_NOT_INITIALIZED"));
   EXPECT_THAT(expect(1, {"nhg", "set", "g1", "-n", "intf=Ethernet1"}),
               HasSubstr("RPC_STATUS_NOT_INITIALIZED"));
   EXPECT_THAT(expect(1, {"state", "set", "a=1"}), HasSubstr("RPC_STATUS_NOT_INITIALIZED"));
   EXPECT_EQ(expect(0, {"state", "get", "a"}), "a=\n");
}

TEST_F(OrvctlAndDaemon, theStoryOfAController) {
   EXPECT_THAT(expect(0, {"init", "--tag", "7"}), HasSubstr("IP routes             no\n"));
   expect(0, {"nhg", "set", "g1", "-n", "intf=Ethernet1,address=10.0.0.1,labels=100/200,op=push,weight=2"});
   expect(0, {"nhg", "set", "g2", "-n", "intf=Ethernet2,address=10.0.0.2"});
   expect(0, {"route", "add", "192.0.2.0/24", "--nhg", "g1", "--tag", "7"});
   expect(0, {"route", "add", "2001:db8::/32", "--nhg", "g2", "--tag", "7"});
   EXPECT_THAT(expect(1, {"route", "add", "198.51.100.0/24", "--nhg", "g1", "--tag", "8"}), HasSubstr("tag"));

   const auto routes = nlohmann::json::parse(expect(0, {"console", "show ip route | json"}));
   EXPECT_THAT(routes.dump(), HasSubstr("192.0.2.0/24"));
   EXPECT_THAT(routes.dump(), HasSubstr("2001:db8::/32"));
   EXPECT_THAT(expect(0, {"console", "show", "nexthop-group"}), HasSubstr("g1"));

   EXPECT_THAT(expect(0, {"init", "--tag", "7"}), HasSubstr("nexthop groups        yes\n"));
   expect(0, {"resync", "start"});
   expect(0, {"nhg", "set", "g2", "-n", "intf=Ethernet2,address=10.0.0.2"});
   expect(0, {"route", "add", "2001:db8::/32", "--nhg", "g2", "--tag", "7"});
   expect(0, {"resync", "end"});
   EXPECT_THAT(expect(1, {"resync", "end"}), HasSubstr("resync state is already false"));
   const std::string left = expect(0, {"console", "show", "ip", "route"});
   EXPECT_THAT(left, HasSubstr("2001:db8::/32"));
   EXPECT_THAT(left, testing::Not(HasSubstr("192.0.2.0/24")));

   expect(0, {"route", "del", "2001:db8::/32"});
   EXPECT_THAT(expect(1, {"route", "del", "2001:db8::/32"}), HasSubstr("RPC_STATUS_NOT_FOUND"));
   expect(0, {"nhg", "del", "g2"});
   EXPECT_THAT(expect(1, {"nhg", "del", "g2"}), HasSubstr("NHG g2 not found"));
}

TEST_F(OrvctlAndDaemon, manyItemsFromFiles) {
   expect(0, {"init"});
   std::string groups, routes;
   for (int i = 0; i < 50; ++i) {
      groups += R"({"name":"g)" + std::to_string(i) +
                R"(","nexthops":[{"intf":"Ethernet1","address":"10.0.0.1","weight":1}]})" + "\n";
   }
   for (int i = 0; i < 2500; ++i) {
      routes += "10." + std::to_string(i / 250) + "." + std::to_string(i % 250) + ".0/24 g" +
                std::to_string(i % 50) + "\n";
   }
   EXPECT_THAT(expect(0, {"nhg", "set", "--file", file("groups", groups)}),
               HasSubstr("50 items: 50 ok, 0 failed"));
   EXPECT_THAT(expect(0, {"route", "load", file("routes", routes)}),
               HasSubstr("2500 items: 2500 ok, 0 failed"));
   const auto counted =
        nlohmann::json::parse(expect(0, {"--json", "route", "del", "--file", file("routes", routes)}));
   EXPECT_EQ(counted["ok"], 2500);

   const std::string mixed = R"({"name":"ok","nexthops":[{"intf":"Ethernet1","weight":1}]})"
                             "\n"
                             R"({"name":"bad","nexthops":[{"intf":"Nowhere1","weight":1}]})"
                             "\n";
   const std::string text = expect(1, {"nhg", "set", "-f", file("mixed", mixed)});
   EXPECT_THAT(text, HasSubstr("line 2: bad: RPC_STATUS_ERROR"));
   EXPECT_THAT(text, HasSubstr("2 items: 1 ok, 1 failed"));
   EXPECT_THAT(expect(0, {"console", "show", "nexthop-group", "ok"}), HasSubstr("Ethernet1"));
}

TEST_F(OrvctlAndDaemon, notes) {
   expect(0, {"init"});
   EXPECT_EQ(expect(0, {"state", "set", "a=1", "b=x y"}), "2 set, 0 deleted\n");
   EXPECT_EQ(expect(0, {"state", "get", "a", "b"}), "a=1\nb=x y\n");
   EXPECT_EQ(expect(0, {"state", "del", "a"}), "0 set, 1 deleted\n");
   EXPECT_EQ(nlohmann::json::parse(expect(0, {"--json", "state", "get", "a", "b"})),
             nlohmann::json::parse(R"({"a":"","b":"x y"})"));
}

TEST_F(OrvctlAndDaemon, callsWithJson) {
   expect(0, {"init"});
   EXPECT_EQ(expect(0, {"call", "orvsdk_service/ip_route",
                        R"({"prefix":"192.0.2.0/24","nexthop_group_name":"g"})"}),
             "{\"status\":\"RPC_STATUS_OK\",\"debug_string\":\"\"}\n");
   // The switch refuses the label: a failure inside the reply fails the command.
   EXPECT_THAT(
        expect(
             1,
             {"call", "nexthop_group",
              R"({"name":"g","nexthops":[{"intf":"Ethernet1","mpls_labels":[1048576],"mpls_operation":"MPLS_OPERATION_PUSH","weight":1}]})"}),
        HasSubstr("RPC_STATUS_ERROR"));
   EXPECT_THAT(expect(1, {"call", "mpls_route", "{}"}), HasSubstr("RPC_STATUS_ERROR"));
   EXPECT_EQ(expect(0, {"--timeout", "0.2", "call", "watch_rpc_server_alive"}), "");
}

TEST_F(OrvctlAndDaemon, listTellsWhatThisBuildHas) {
   EXPECT_THAT(expect(0, {"list"}), HasSubstr("[not known before init]"));
   expect(0, {"init"});
   const auto services = nlohmann::json::parse(expect(0, {"--json", "list"}));
   std::map<std::string, nlohmann::json> available;
   for (const auto& service : services) {
      if (service["service"] != "OrvSdkRpc.pb.orvsdk_service") continue;
      for (const auto& rpc : service["rpcs"])
         available[rpc["name"]] = rpc["available"];
   }
   ASSERT_EQ(available.size(), 18U);
   // The list agrees with what a call of each RPC answers.
   for (const char* name :
        {"nexthop_group_tunnel", "mpls_route", "cbf_nexthop_group_redirect", "sbfd_echo_session"}) {
      const std::string reply = orvctl({"call", name, "{}"}).text;
      EXPECT_EQ(available[name] == false, reply.find("not available in this build") != std::string::npos)
           << name << reply;
   }
   for (const char* name : {"nexthop_group", "nexthop_group_bulk", "ip_route", "ip_route_bulk",
                            "rpc_server_state", "get_rpc_server_state", "watch_rpc_server_alive"}) {
      EXPECT_EQ(available[name], true) << name;
   }
   EXPECT_TRUE(available["rpc_server_init"].is_null());
   // The queries changed nothing.
   const std::string after = expect(0, {"init"});
   EXPECT_THAT(after, HasSubstr("IP routes             no\n"));
   EXPECT_THAT(after, HasSubstr("nexthop groups        no\n"));
}

TEST_F(OrvctlAndDaemon, theConsoleRefusesInWords) {
   EXPECT_THAT(expect(0, {"console", "show", "version"}), HasSubstr("version"));
   EXPECT_FALSE(expect(1, {"console", "show", "nonsense"}).empty());
   EXPECT_THAT(expect(0, {"--console", "unix:" + daemon_.consolePath(), "console", "help"}),
               HasSubstr("show"));
}

TEST_F(OrvctlAndDaemon, aliveEndsWithTheDaemon) {
   EXPECT_THAT(expect(0, {"alive", "--for", "0.05"}), HasSubstr("still alive"));
   const std::string log = directory_ / "alive.log";
   orvtest::Child alive({test::clientProgram(), "--target", daemon_.address(), "alive"}, log);
   while (alive.log().find("open: ") == std::string::npos && !alive.waitFor(std::chrono::milliseconds(1))) {
   }
   EXPECT_EQ(daemon_.terminate(), Ending{.exitCode = 0});
   EXPECT_EQ(alive.wait(), Ending{.exitCode = 3}) << alive.log();
   EXPECT_THAT(alive.log(), HasSubstr("gone: "));
   expect(3, {"init"});
}

TEST_F(OrvctlAndDaemon, bench) {
   EXPECT_THAT(expect(0, {"bench", "read", "--count", "100"}), StartsWith("read: 100 items in 100 calls"));
   EXPECT_THAT(expect(1, {"bench", "bulk", "--nhg", "g", "--count", "100"}),
               HasSubstr("RPC_STATUS_NOT_INITIALIZED"));
   expect(0, {"init"});
   EXPECT_THAT(expect(0, {"bench", "bulk", "--nhg", "g", "--count", "2500", "--in-flight", "4"}),
               HasSubstr("bulk del: 2500 items in 3 calls"));
   EXPECT_THAT(expect(0, {"init"}), HasSubstr("IP routes             no\n"));
}

}  // namespace
}  // namespace orvsdkrpcd
