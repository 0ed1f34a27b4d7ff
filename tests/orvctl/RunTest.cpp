#include "orvctl/Run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "OrvctlRun.h"
#include "testing/base/TempDir.h"

namespace orvctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
namespace pb = OrvSdkRpc::pb;

using test::Orvctl;
using test::Result;
using test::runWith;

TEST_F(Orvctl, initTellsWhatExists) {
   server_.initReply.set_ip_routes_exist(true);
   server_.start();
   const Result result = orvctl({"init", "--tag", "7"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_THAT(result.out, HasSubstr("IP routes             yes\n"));
   EXPECT_THAT(result.out, HasSubstr("nexthop groups        no\n"));
   EXPECT_THAT(result.out, testing::Not(HasSubstr("CBF")));
   EXPECT_THAT(
        server_.requests(),
        ElementsAre(R"(rpc_server_init {"cbf_nexthop_group_redirect_policy_map_name":"","ip_route_tag":7})"));
}

TEST_F(Orvctl, initWithAPolicyMapTellsOfRedirects) {
   server_.initReply.set_cbf_redirects_exist(true);
   server_.start();
   EXPECT_THAT(orvctl({"init", "--policy-map", "pm"}).out, HasSubstr("CBF redirects         yes\n"));
   EXPECT_THAT(server_.requests()[0], HasSubstr(R"("cbf_nexthop_group_redirect_policy_map_name":"pm")"));
}

TEST_F(Orvctl, aFailedInitIsAFailure) {
   *server_.initReply.mutable_status() = status(pb::RPC_STATUS_ERROR, "Error: exception x");
   server_.start();
   const Result result = orvctl({"init"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "RPC_STATUS_ERROR: Error: exception x\n");
   EXPECT_EQ(orvctl({"--json", "init"}).code, 1);
}

TEST_F(Orvctl, resyncSendsItsPhase) {
   server_.start();
   EXPECT_EQ(orvctl({"resync", "start"}).code, 0);
   EXPECT_EQ(orvctl({"resync", "end"}).out, "resync ended\n");
   EXPECT_THAT(server_.requests(), ElementsAre(R"(rpc_server_resync {"resync_phase":"RESYNC_START"})",
                                               R"(rpc_server_resync {"resync_phase":"RESYNC_END"})"));
}

TEST_F(Orvctl, aRefusedResyncIsAFailure) {
   server_.statusReply = status(pb::RPC_STATUS_ERROR, "Error: resync state is already false");
   server_.start();
   const Result result = orvctl({"resync", "end"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "RPC_STATUS_ERROR: Error: resync state is already false\n");
}

TEST_F(Orvctl, nhgSetSendsOneGroup) {
   server_.start();
   const Result result =
        orvctl({"nhg", "set", "g1", "--nexthop", "intf=Ethernet1,address=10.0.0.1,labels=100/200,op=push",
                "-n", "address=10.0.0.2,weight=3", "--backup", "intf=Ethernet3", "--autosize"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_EQ(result.out, "");
   ASSERT_EQ(server_.requests().size(), 1U);
   const std::string request = server_.requests()[0];
   ASSERT_THAT(request, StartsWith("nexthop_group {"));
   const auto json = nlohmann::json::parse(request.substr(14));
   EXPECT_EQ(json["name"], "g1");
   EXPECT_EQ(json["nexthops"][0]["mpls_labels"], nlohmann::json::parse("[100,200]"));
   EXPECT_EQ(json["nexthops"][0]["mpls_operation"], "MPLS_OPERATION_PUSH");
   EXPECT_EQ(json["nexthops"][0]["weight"], 1);
   EXPECT_EQ(json["nexthops"][1]["weight"], 3);
   EXPECT_EQ(json["backup_nexthops"][0]["intf"], "Ethernet3");
   EXPECT_EQ(json["autosize"], true);
   EXPECT_EQ(json["delete"], false);
}

TEST_F(Orvctl, nhgFromAFileGoesInBulksAndCountsFailures) {
   server_.itemReply = [](const std::string& item) {
      return item == "g2" ? status(pb::RPC_STATUS_ERROR, "no such interface") : status(pb::RPC_STATUS_OK);
   };
   server_.start();
   const std::string path =
        file("# three groups\n"
             R"({"name":"g1","nexthops":[{"address":"10.0.0.1","weight":1}]})"
             "\n"
             R"({"name":"g2","nexthops":[{"address":"10.0.0.2","weight":1}]})"
             "\n"
             R"({"name":"g3","nexthops":[{"address":"10.0.0.3","weight":1}]})"
             "\n");
   const Result result = orvctl({"nhg", "set", "--file", path, "--batch", "2"});
   EXPECT_EQ(result.code, 1);
   EXPECT_THAT(result.out, StartsWith("3 items: 2 ok, 1 failed, "));
   EXPECT_EQ(result.err, "line 3: g2: RPC_STATUS_ERROR: no such interface\n");
   EXPECT_EQ(server_.requests().size(), 2U);

   const auto json =
        nlohmann::json::parse(orvctl({"--json", "nhg", "set", "-f", "-"}, "{\"name\":\"g2\"}\n").out);
   EXPECT_EQ(json["items"], 1);
   EXPECT_EQ(json["failed"][0]["item"], "g2");
   EXPECT_EQ(json["failed"][0]["status"], "RPC_STATUS_ERROR");
}

TEST_F(Orvctl, nhgDel) {
   server_.itemReply = [](const std::string& item) {
      return item == "gone" ? status(pb::RPC_STATUS_NOT_FOUND, "NHG gone not found")
                            : status(pb::RPC_STATUS_OK);
   };
   server_.start();
   EXPECT_EQ(orvctl({"nhg", "del", "g1"}).code, 0);
   EXPECT_THAT(server_.requests()[0], HasSubstr(R"("delete":true)"));
   const Result gone = orvctl({"nhg", "del", "gone"});
   EXPECT_EQ(gone.code, 1);
   EXPECT_EQ(gone.err, "gone: RPC_STATUS_NOT_FOUND: NHG gone not found\n");
   EXPECT_EQ(orvctl({"nhg", "del", "g1", "gone", "g3"}).code, 1);
   EXPECT_THAT(server_.requests()[2], StartsWith("nexthop_group_bulk"));
   EXPECT_EQ(orvctl({"nhg", "del", "--file", "-"}, "g1\n{\"name\":\"g3\"}\n").code, 0);
}

TEST_F(Orvctl, routeAddAndDel) {
   server_.start();
   EXPECT_EQ(orvctl({"route", "add", "192.0.2.0/24", "--nhg", "g1", "--tag", "7"}).code, 0);
   EXPECT_EQ(orvctl({"route", "add", "2001:db8::/32", "--nhg", "g1"}).code, 0);
   EXPECT_EQ(orvctl({"route", "del", "192.0.2.0/24"}).code, 0);
   EXPECT_THAT(server_.requests(),
               ElementsAre(R"(ip_route {"prefix":"192.0.2.0/24","tag":7,"nexthop_group_name":"g1"})",
                           R"(ip_route {"prefix":"2001:db8::/32","tag":0,"nexthop_group_name":"g1"})",
                           R"(ip_route {"prefix":"192.0.2.0/24","tag":0})"));
}

TEST_F(Orvctl, aRefusedRouteIsAFailure) {
   server_.statusReply =
        status(pb::RPC_STATUS_NOT_INITIALIZED, "Error: no prior rpc_server_init call, request x");
   server_.start();
   const Result result = orvctl({"route", "add", "192.0.2.0/24", "--nhg", "g1"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err,
             "192.0.2.0/24: RPC_STATUS_NOT_INITIALIZED: Error: no prior rpc_server_init call, request x\n");
   EXPECT_EQ(orvctl({"--json", "route", "del", "192.0.2.0/24"}).code, 1);
}

TEST_F(Orvctl, routeLoadTakesLinesAndJson) {
   server_.start();
   const Result result = orvctl({"route", "load", "-", "--tag", "7", "--batch", "2"},
                                "192.0.2.0/24 g1\n2001:db8::/32\tg2   9\n"
                                R"({"prefix":"198.51.100.0/24","nexthop_group_name":"g3"})"
                                "\n");
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_THAT(result.out, StartsWith("3 items: 3 ok, 0 failed, "));
   EXPECT_THAT(
        server_.requests(),
        ElementsAre(
             R"(ip_route_bulk {"bulk":[{"prefix":"192.0.2.0/24","tag":7,"nexthop_group_name":"g1"},)"
             R"({"prefix":"2001:db8::/32","tag":9,"nexthop_group_name":"g2"}]})",
             R"(ip_route_bulk {"bulk":[{"prefix":"198.51.100.0/24","tag":7,"nexthop_group_name":"g3"}]})"));
}

TEST_F(Orvctl, aBadLineIsNamedAndNothingIsSent) {
   server_.start();
   for (const char* bad : {"192.0.2.0/24", "192.0.2.1/24 g1", "x g1", "192.0.2.0/24 g1 x",
                           R"({"prefix":"192.0.2.0/24"})", "{"}) {
      const Result result = orvctl({"route", "load", file(std::string("198.51.100.0/24 g1\n") + bad + "\n")});
      EXPECT_EQ(result.code, 2) << bad;
      EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
   }
   EXPECT_THAT(orvctl({"route", "load", "-"}, "198.51.100.0/24 g1\nx g1\n").err,
               HasSubstr("- line 2 is 'x', expected"));
   EXPECT_THAT(server_.requests(), IsEmpty());
}

TEST_F(Orvctl, routeDelOfManyIsOneBulk) {
   server_.start();
   EXPECT_EQ(orvctl({"route", "del", "192.0.2.0/24", "198.51.100.0/24"}).code, 0);
   EXPECT_EQ(orvctl({"route", "del", "--file", "-"}, "192.0.2.0/24 g1\n").code, 0);
   ASSERT_EQ(server_.requests().size(), 2U);
   EXPECT_EQ(server_.requests()[1], R"(ip_route_bulk {"bulk":[{"prefix":"192.0.2.0/24","tag":0}]})");
}

TEST_F(Orvctl, manyFailuresAreCutShort) {
   server_.statusReply = status(pb::RPC_STATUS_ERROR, "full");
   server_.start();
   std::string lines;
   for (int i = 0; i < 30; ++i)
      lines += "10.0.0." + std::to_string(i) + "/32 g\n";
   const Result result = orvctl({"route", "load", "-"}, lines);
   EXPECT_EQ(result.code, 1);
   EXPECT_THAT(result.err, HasSubstr("… and 10 more failures\n"));
   const auto json = nlohmann::json::parse(orvctl({"--json", "route", "load", "-"}, lines).out);
   EXPECT_EQ(json["failed"].size(), 30U);
}

TEST_F(Orvctl, stateSetGetDel) {
   server_.start();
   EXPECT_EQ(orvctl({"state", "set", "a=1", "b="}).out, "2 set, 0 deleted\n");
   EXPECT_EQ(orvctl({"state", "get", "a", "b"}).out, "a=value of a\nb=value of b\n");
   EXPECT_EQ(orvctl({"--json", "state", "get", "a"}).out, "{\"a\":\"value of a\"}\n");
   EXPECT_EQ(orvctl({"state", "del", "a"}).out, "0 set, 1 deleted\n");
   EXPECT_EQ(
        server_.requests()[0],
        R"(rpc_server_state {"key_value_pairs":[{"key":"a","value":"1"},{"key":"b","value":""}],"deletes":[]})");
}

TEST_F(Orvctl, notesThatAreMissingInTheReplyAreAFailure) {
   server_.truncateNotes = true;
   server_.start();
   const Result result = orvctl({"state", "get", "a", "b"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "the server answered 1 of 2 keys: it met an error at 'b'\n");
}

TEST_F(Orvctl, callTakesItsRequestFromAnywhere) {
   server_.start();
   const std::string expected = R"(ip_route {"prefix":"192.0.2.0/24","tag":0,"nexthop_group_name":"g1"})";
   const std::string json = R"({"prefix":"192.0.2.0/24","nexthop_group_name":"g1"})";
   EXPECT_EQ(orvctl({"call", "orvsdk_service/ip_route", json}).out,
             "{\"status\":\"RPC_STATUS_OK\",\"debug_string\":\"\"}\n");
   EXPECT_EQ(orvctl({"call", "ip_route", "-"}, json).code, 0);
   EXPECT_EQ(orvctl({"call", "ip_route", "--data-file", file(json)}).code, 0);
   EXPECT_EQ(orvctl({"call", "ip_route", "-f", "-"}, json).code, 0);
   EXPECT_THAT(server_.requests(), ElementsAre(expected, expected, expected, expected));
   EXPECT_EQ(orvctl({"call", "get_rpc_server_state"}).out, "{\"key_value_pairs\":[]}\n");
   EXPECT_EQ(orvctl({"call", "ip_route", json, "-f", "x"}).code, 2);
   EXPECT_EQ(orvctl({"call", "ip_route", "-f", directory_ / "none"}).code, 2);
}

TEST_F(Orvctl, callSeesFailuresWithinTheReply) {
   server_.itemReply = [](const std::string& item) {
      return item == "10.0.0.2/32" ? status(pb::RPC_STATUS_ERROR) : status(pb::RPC_STATUS_OK);
   };
   server_.start();
   EXPECT_EQ(orvctl({"call", "ip_route_bulk", R"({"bulk":[{"prefix":"10.0.0.1/32"}]})"}).code, 0);
   EXPECT_EQ(
        orvctl({"call", "ip_route_bulk", R"({"bulk":[{"prefix":"10.0.0.1/32"},{"prefix":"10.0.0.2/32"}]})"})
             .code,
        1);
}

TEST_F(Orvctl, callPrintsAStreamOneMessagePerLine) {
   server_.start();
   const Result result =
        orvctl({"call", "watch_sbfd_echo_session_status_msgs", R"({"send_initial_message":true})"});
   EXPECT_EQ(result.code, 0) << result.err;
   std::istringstream lines(result.out);
   std::string line;
   ASSERT_TRUE(std::getline(lines, line));
   EXPECT_EQ(nlohmann::json::parse(line)["initial"], true);
   ASSERT_TRUE(std::getline(lines, line));
   EXPECT_EQ(nlohmann::json::parse(line)["oper_status"]["status"], "SBFD_OPER_STATUS_UP");
   EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(Orvctl, aTimeoutEndsAStreamWithoutAFailure) {
   server_.start();
   const Result result = orvctl({"--timeout", "0.05", "call", "watch_rpc_server_alive"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_EQ(result.out, "");
}

TEST_F(Orvctl, aStreamThatTheServerDoesNotHaveIsACallFailure) {
   server_.unimplemented = {"watch_sbfd_echo_session_status_msgs"};
   server_.start();
   const Result result = orvctl({"call", "watch_sbfd_echo_session_status_msgs"});
   EXPECT_EQ(result.code, 3);
   EXPECT_THAT(result.err, HasSubstr("UNIMPLEMENTED"));
   EXPECT_EQ(orvctl({"call", "sbfd_echo_session", "{}"}).code, 3);
}

TEST_F(Orvctl, listMarksWhatIsNotThere) {
   server_.reflection = true;
   server_.itemReply = [](const std::string& item) {
      return item == "mpls" ? status(pb::RPC_STATUS_ERROR, "Error: not available in this build, request x")
                            : status(pb::RPC_STATUS_OK);
   };
   server_.start();
   const Result result = orvctl({"list"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_THAT(result.out, HasSubstr("OrvSdkRpc.pb.orvsdk_service\n"));
   EXPECT_THAT(result.out, HasSubstr("  ip_route(ip_route_msg) -> rpc_status_msg\n"));
   EXPECT_THAT(result.out,
               HasSubstr("  mpls_route(mpls_route_msg) -> rpc_status_msg   [not available in this build]\n"));
   EXPECT_THAT(result.out,
               HasSubstr("  watch_rpc_server_alive(rpc_server_alive_msg) -> stream rpc_server_alive_msg\n"));

   const auto json = nlohmann::json::parse(orvctl({"--json", "list"}).out);
   std::map<std::string, nlohmann::json> available;
   for (const auto& service : json) {
      for (const auto& rpc : service["rpcs"])
         available[rpc["name"]] = rpc["available"];
   }
   EXPECT_EQ(available["mpls_route"], false);
   EXPECT_EQ(available["ip_route"], true);
   EXPECT_TRUE(available["rpc_server_init"].is_null());
}

TEST_F(Orvctl, listWithoutProbesAsksNothing) {
   server_.start();
   const Result result = orvctl({"list", "--no-probe"});
   EXPECT_EQ(result.code, 0);
   EXPECT_THAT(result.err, HasSubstr("the server has no reflection"));
   EXPECT_THAT(server_.requests(), IsEmpty());
}

TEST_F(Orvctl, aliveEndsWithTheServer) {
   server_.start();
   Result result;
   std::thread watcher([&] { result = orvctl({"alive"}); });
   server_.waitForWatches(1);
   server_.stop();
   watcher.join();
   EXPECT_EQ(result.code, 3);
   EXPECT_THAT(result.err + result.out, HasSubstr(server_.target()));
}

TEST_F(Orvctl, aliveForATime) {
   server_.start();
   const Result result = orvctl({"alive", "--for", "0.05"});
   EXPECT_EQ(result.code, 0);
   EXPECT_EQ(result.out, "open: " + server_.target() + " is alive\nstill alive after 0.05 s\n");
   EXPECT_EQ(orvctl({"alive", "--for", "0"}).code, 2);
}

TEST_F(Orvctl, aliveWithoutTheWatchIsAFailure) {
   server_.unimplemented = {"watch_rpc_server_alive"};
   server_.start();
   EXPECT_EQ(orvctl({"alive"}).code, 3);
}

TEST_F(Orvctl, benchAddsAndDeletesItsRoutes) {
   server_.start();
   const Result result =
        orvctl({"bench", "bulk", "--nhg", "g", "--count", "5", "--batch", "2", "--in-flight", "2"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_THAT(result.out, HasSubstr("bulk add: 5 items in 3 calls, 2 in flight: "));
   EXPECT_THAT(result.out, HasSubstr("bulk del: 5 items in 3 calls"));
   EXPECT_EQ(server_.requests().size(), 6U);
   EXPECT_EQ(orvctl({"bench", "route", "--nhg", "g", "--count", "3", "--keep"}).code, 0);
   EXPECT_EQ(server_.requests().back(),
             R"(ip_route {"prefix":"198.18.0.2/32","tag":0,"nexthop_group_name":"g"})");
   const auto json = nlohmann::json::parse(orvctl({"--json", "bench", "read", "-n", "4"}).out);
   EXPECT_EQ(json["calls"], 4);
   EXPECT_EQ(json["failed_items"], 0);
}

TEST_F(Orvctl, benchSeesRefusals) {
   server_.statusReply = status(pb::RPC_STATUS_NOT_INITIALIZED);
   server_.start();
   const Result result = orvctl({"bench", "route", "--nhg", "g", "--count", "3", "--keep"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "route add: 3 items failed, the first with RPC_STATUS_NOT_INITIALIZED\n");
   EXPECT_EQ(orvctl({"bench", "route"}).code, 2);
   EXPECT_EQ(orvctl({"bench", "route", "--nhg", "g", "--first", "::1"}).code, 2);
   EXPECT_EQ(orvctl({"bench", "route", "--nhg", "g", "--first", "255.255.255.255", "--count", "2"}).code, 2);
}

TEST_F(Orvctl, aSilentServerEndsWithTheTimeout) {
   server_.hang = true;
   server_.start();
   const Result result = orvctl({"--timeout", "0.05", "resync", "start"});
   EXPECT_EQ(result.code, 3);
   EXPECT_EQ(result.err,
             "orvctl: rpc_server_resync: no answer from " + server_.target() + " within 0.05 s\n");
}

TEST(OrvctlWithoutServer, everyCommandEndsWithThreeAndOneLine) {
   const orvtest::TempDir directory;
   for (const std::vector<std::string>& command : {std::vector<std::string>{"list"},
                                                   {"init"},
                                                   {"resync", "start"},
                                                   {"nhg", "del", "g"},
                                                   {"route", "add", "10.0.0.0/8", "--nhg", "g"},
                                                   {"state", "get", "a"},
                                                   {"alive"},
                                                   {"bench"},
                                                   {"call", "ip_route", "{}"},
                                                   {"call", "watch_rpc_server_alive"},
                                                   {"console", "show", "version"}}) {
      std::vector<std::string> arguments{"-t", directory.path() + "/none"};
      arguments.insert(arguments.end(), command.begin(), command.end());
      const Result result = runWith(arguments);
      EXPECT_EQ(result.code, 3) << command[0];
      EXPECT_THAT(result.err, StartsWith("orvctl: ")) << command[0];
      EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
      EXPECT_EQ(result.out, "");
   }
}

TEST(OrvctlUsage, mistakesEndWithTwoAndOneLine) {
   for (const std::vector<std::string>& arguments :
        {std::vector<std::string>{},
         {"nonsense"},
         {"list", "extra"},
         {"--target", "x", "list"},
         {"--timeout", "abc", "list"},
         {"--timeout", "-1", "list"},
         {"init", "--tag", "4294967296"},
         {"init", "--tag"},
         {"init", "--nonsense"},
         {"resync"},
         {"resync", "middle"},
         {"nhg", "set"},
         {"nhg", "set", "g"},
         {"nhg", "set", "g", "--nexthop", "x"},
         {"nhg", "set", "g", "--nexthop", "intf=a", "--file", "x"},
         {"nhg", "set", "--file", "/nonexistent/x"},
         {"nhg", "set", "--file", "-", "--batch", "0"},
         {"nhg", "del"},
         {"route", "add", "10.0.0.0/8"},
         {"route", "add", "10.0.0.1/8", "--nhg", "g"},
         {"route", "add", "10.0.0.0/8", "--nhg", ""},
         {"route", "del"},
         {"route", "load"},
         {"state", "set", "x"},
         {"state", "get"},
         {"call"},
         {"call", "nonsense"},
         {"call", "ip_route", "{"},
         {"bench", "nonsense"},
         {"completion", "fish"},
         {"--target", "switch1:9000", "console", "show", "version"},
         {"--console", "x", "console", "show", "version"},
         {"console", "a\nb"}}) {
      const Result result = runWith(arguments);
      std::string line;
      for (const auto& word : arguments)
         line += word + " ";
      EXPECT_EQ(result.code, 2) << line << result.err;
      EXPECT_THAT(result.err, StartsWith("orvctl: ")) << line;
      EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << line << result.err;
   }
   EXPECT_THAT(runWith({"nonsense"}).err, HasSubstr("'nonsense'"));
   EXPECT_THAT(runWith({"resync", "middle"}).err, HasSubstr("'middle'"));
}

TEST(OrvctlUsage, helpTellsTheExitCodes) {
   const Result result = runWith({"--help"});
   EXPECT_EQ(result.code, 0);
   EXPECT_THAT(result.out, HasSubstr("Exit codes:"));
   EXPECT_THAT(runWith({"--version"}).out, StartsWith("orvctl "));
   EXPECT_THAT(runWith({"route", "load", "--help"}).out, HasSubstr("PREFIX NHG"));
}

TEST_F(Orvctl, theTargetMayComeFromTheEnvironment) {
   server_.start();
   setenv("ORVCTL_TARGET", server_.target().c_str(), 1);
   const Result result = runWith({"resync", "start"});
   unsetenv("ORVCTL_TARGET");
   EXPECT_EQ(result.code, 0) << result.err;
}

}  // namespace
}  // namespace orvctl
