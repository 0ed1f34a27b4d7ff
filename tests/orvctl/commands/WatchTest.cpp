#include "orvctl/commands/Watch.h"

#include <gmock/gmock.h>
#include <signal.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "OrvSdkRpcProtos/acl.pb.h"
#include "OrvSdkRpcProtos/intf.pb.h"
#include "OrvSdkRpcProtos/intf_counter.pb.h"
#include "OrvSdkRpcProtos/nexthop_group.pb.h"
#include "OrvctlRun.h"
#include "orvctl/Run.h"

namespace orvctl {
namespace {

using test::Result;
using test::runWith;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
namespace rpc = orv::remote;

rpc::WatchIntfResponse oper(const std::string& name, rpc::OperStatus status) {
   rpc::WatchIntfResponse event;
   event.mutable_intf()->set_name(name);
   event.set_oper_status(status);
   return event;
}

rpc::WatchIntfResponse ack() {
   rpc::WatchIntfResponse event;
   event.set_ack(true);
   return event;
}

class OrvctlWatch : public test::Orvctl {
protected:
   // Three events of interfaces behind an acknowledgement; the stream stays open.
   void startWithInterfaces() {
      server_.mirror
           .answer("IntfMgrService/watch", ack(), oper("Ethernet1", rpc::OPER_STATUS_UP),
                   oper("Ethernet2", rpc::OPER_STATUS_DOWN), oper("Ethernet3", rpc::OPER_STATUS_UP))
           .held = true;
      server_.start();
   }
};

TEST_F(OrvctlWatch, oneLinePerEvent) {
   startWithInterfaces();
   const Result result = orvctl({"watch", "intf", "--all", "--ack", "--count", "3"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_EQ(result.out,
             "# watching\nEthernet1 oper_status=up\nEthernet2 oper_status=down\nEthernet3 oper_status=up\n");
   EXPECT_THAT(server_.mirror.requests(), ElementsAre(R"(IntfMgrService/watch {"ack":true,"all":true})"));
}

TEST_F(OrvctlWatch, jsonIsOneMessagePerLine) {
   startWithInterfaces();
   const Result result = orvctl({"--json", "watch", "intf", "-n", "1"});
   EXPECT_EQ(result.out,
             "{\"ack\":true}\n{\"intf\":{\"name\":\"Ethernet1\"},\"ack\":false,\"oper_status\":"
             "\"OPER_STATUS_UP\"}\n");
}

TEST_F(OrvctlWatch, theEndOfWhatIsShownIsTold) {
   startWithInterfaces();
   const Result result =
        orvctl({"watch", "intf", "--intf", "Ethernet1", "--fields", "oper_status,2", "-n", "1"});
   EXPECT_THAT(result.out, StartsWith("# complete, changes follow\n"));
   EXPECT_THAT(server_.mirror.requests(),
               ElementsAre(R"(IntfMgrService/watch {"intf":{"name":"Ethernet1"},"fields_control":{"fields":)"
                           R"(["INTF_FIELD_OPER_STATUS","INTF_FIELD_ADMIN_ENABLED"]},"ack":false})"));
}

TEST_F(OrvctlWatch, whatMakesNoDumpIsNotCalledComplete) {
   startWithInterfaces();
   EXPECT_THAT(orvctl({"watch", "intf", "--fields", "9", "--ack", "-n", "1"}).out,
               StartsWith("# watching\n"));
   EXPECT_THAT(orvctl({"watch", "intf", "--fields", "9,3", "--ack", "-n", "1"}).out,
               StartsWith("# complete, changes follow\n"));
}

TEST_F(OrvctlWatch, aDumpOfOneNameMayWaitAndThatIsTold) {
   startWithInterfaces();
   rpc::WatchNexthopGroupResponse group;
   group.set_name("g1");
   server_.mirror.answer("NexthopGroupMgrService/watch", group).held = true;
   const std::string told =
        "orvctl: watch intf: the current state of Ethernet1 may come only with its next event; "
        "'orvctl intf show Ethernet1' shows it at once\n";
   EXPECT_EQ(orvctl({"watch", "intf", "--intf", "Ethernet1", "--fields", "all", "-n", "1"}).err, told);
   EXPECT_EQ(orvctl({"--json", "watch", "intf", "--intf", "Ethernet1", "--fields", "1", "-n", "1"}).err,
             told);
   EXPECT_THAT(orvctl({"watch", "nhg", "--name", "g1", "--fields", "version", "-n", "1"}).err,
               HasSubstr("of g1 may come only with its next event; 'orvctl nhg show g1' shows it"));
   for (const std::vector<std::string>& others : {std::vector<std::string>{"--intf", "Ethernet1"},
                                                  {"--intf", "Ethernet1", "--fields", "9"},
                                                  {"--all", "--fields", "all"},
                                                  {"--fields", "all"}}) {
      std::vector<std::string> arguments{"watch", "intf", "-n", "1"};
      arguments.insert(arguments.end(), others.begin(), others.end());
      const Result result = orvctl(arguments);
      EXPECT_EQ(result.code, 0);
      EXPECT_EQ(result.err, "") << others.back();
   }
}

TEST_F(OrvctlWatch, theEntriesOfABatchAreLinesAndCount) {
   rpc::IntfTrafficRatesStreamResponse batch;
   for (const char* name : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
      auto& entry = *batch.add_data();
      entry.mutable_intf_id()->set_name(name);
      entry.mutable_rates()->set_out_pkts_rate(1.5);
      entry.mutable_rates()->set_in_pkts_rate(0);
   }
   server_.mirror
        .answer("IntfCounterMgrService/intf_traffic_rates_stream", rpc::IntfTrafficRatesStreamResponse(),
                batch)
        .held = true;
   server_.start();
   const Result result = orvctl({"watch", "counters", "--regex", "Ethernet.*", "--ack", "--count", "2"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_THAT(result.out, StartsWith("# watching\nEthernet1 out_pkts_rate=1.5 "));
   EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 3);
   EXPECT_EQ(orvctl({"counters", "watch", "-n", "2", "--ack"}).out, result.out);
   EXPECT_THAT(server_.mirror.requests()[0],
               HasSubstr(R"({"intf_name_regex":"Ethernet.*","first_message":true})"));
}

TEST_F(OrvctlWatch, aTimeoutIsAnEndInOrder) {
   startWithInterfaces();
   const Result result = orvctl({"--timeout", "0.2", "watch", "intf"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_THAT(result.out, HasSubstr("Ethernet3"));
   EXPECT_EQ(result.err, "");
}

TEST_F(OrvctlWatch, aSignalIsAnEndInOrder) {
   startWithInterfaces();
   for (const int number : {SIGINT, SIGTERM}) {
      struct sigaction before {};
      sigaction(number, nullptr, &before);
      Result result;
      std::thread watcher([&] { result = orvctl({"watch", "intf"}); });
      // Waits until the watch has installed its signal handler.
      struct sigaction now {};
      do {
         std::this_thread::yield();
         sigaction(number, nullptr, &now);
      } while (now.sa_handler == before.sa_handler);
      raise(number);
      watcher.join();
      EXPECT_EQ(result.code, 0) << result.err;
      EXPECT_EQ(result.err, "");
   }
}

TEST_F(OrvctlWatch, aSlowReaderIsAnExitCodeOfItsOwn) {
   auto& answer = server_.mirror.answer("IntfMgrService/watch", oper("Ethernet1", rpc::OPER_STATUS_UP));
   answer.end = grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED,
                             "Slow stream reader, too many responses waiting in a queue.");
   server_.start();
   const Result result = orvctl({"watch", "intf"});
   EXPECT_EQ(result.code, 4);
   EXPECT_EQ(result.out, "Ethernet1 oper_status=up\n");
   EXPECT_EQ(result.err, "orvctl: watch intf: " + server_.target() +
                              " closed it: Slow stream reader, too many responses waiting in a queue.\n");
}

TEST_F(OrvctlWatch, aRefusalIsAFailure) {
   server_.mirror.answer("IntfCounterMgrService/intf_traffic_rates_stream").end =
        grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, "intf_name_regex: bad");
   server_.start();
   const Result result = orvctl({"watch", "counters", "--regex", "["});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "orvctl: watch counters: " + server_.target() +
                              " answered INVALID_ARGUMENT: intf_name_regex: bad\n");
}

TEST_F(OrvctlWatch, howACommitEndedIsNamed) {
   rpc::AclWatchResponse done, failed;
   done.mutable_on_acl_sync();
   failed.mutable_on_acl_sync_fail()->set_source("web (ipv4)");
   failed.mutable_on_acl_sync_fail()->set_message("it is applied");
   server_.mirror.answer("AclMgrService/watch", done, failed);
   server_.start();
   EXPECT_EQ(orvctl({"watch", "acl"}).out,
             "acl_sync\nacl_sync_fail source=\"web (ipv4)\" message=\"it is applied\"\n");
}

TEST_F(OrvctlWatch, aServerThatGoesIsNoEndInOrder) {
   server_.mirror.answer("AclMgrService/watch", rpc::AclWatchResponse());
   server_.start();
   const Result ended = orvctl({"watch", "acl"});
   EXPECT_EQ(ended.code, 3);
   EXPECT_EQ(ended.err, "orvctl: watch acl: " + server_.target() + " ended it\n");
   const Result missing = orvctl({"watch", "agent"});
   EXPECT_EQ(missing.code, 3);
   EXPECT_THAT(missing.err, HasSubstr("UNIMPLEMENTED"));
   server_.stop();
   const Result nobody = orvctl({"watch", "acl"});
   EXPECT_EQ(nobody.code, 3);
   EXPECT_THAT(nobody.err, StartsWith("orvctl: watch acl: cannot reach " + server_.target() + ": "));
}

TEST_F(OrvctlWatch, aServerThatIsLostWentAway) {
   startWithInterfaces();
   Result result;
   std::thread watcher([&] { result = orvctl({"watch", "intf"}); });
   while (server_.mirror.requests().empty())
      std::this_thread::yield();
   server_.stop();
   watcher.join();
   EXPECT_EQ(result.code, 3);
   EXPECT_THAT(result.err, StartsWith("orvctl: watch intf: " + server_.target() + " went away: "));
   EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
}

TEST_F(OrvctlWatch, alsoWhereNothingHadHappenedYet) {
   server_.mirror.answer("AclMgrService/watch").held = true;
   server_.start();
   Result result;
   std::thread watcher([&] { result = orvctl({"watch", "acl"}); });
   while (server_.mirror.requests().empty())
      std::this_thread::yield();
   server_.stop();
   watcher.join();
   EXPECT_EQ(result.code, 3);
   EXPECT_THAT(result.err, StartsWith("orvctl: watch acl: " + server_.target() + " went away: "));
}

TEST_F(OrvctlWatch, whenNobodyReadsItEnds) {
   startWithInterfaces();
   std::istringstream in;
   std::ostringstream out, err;
   out.setstate(std::ios::badbit);
   EXPECT_EQ(run({"--target", server_.target(), "watch", "intf"}, {.in = in, .out = out, .err = err}), 0)
        << err.str();
}

TEST_F(OrvctlWatch, mistakesAreRefusedBeforeAnythingIsSent) {
   server_.start();
   for (const std::vector<std::string>& arguments : {std::vector<std::string>{"watch"},
                                                     {"watch", "nonsense"},
                                                     {"watch", "intf", "--name", "x"},
                                                     {"watch", "acl", "--all"},
                                                     {"watch", "intf", "--all", "--intf", "Ethernet1"},
                                                     {"watch", "nhg", "--all", "--name", "g"},
                                                     {"watch", "nhg", "--name", ""},
                                                     {"watch", "intf", "--intf", ""},
                                                     {"watch", "phy", "--intf", ""},
                                                     {"watch", "intf", "--fields", "speed"},
                                                     {"watch", "phy", "--fields", "all"},
                                                     {"watch", "intf", "--count", "0"}}) {
      const Result result = orvctl(arguments);
      EXPECT_EQ(result.code, 2) << arguments.back() << result.err;
      EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
   }
   EXPECT_TRUE(server_.mirror.requests().empty());
   EXPECT_EQ(orvctl({"watch", "nhg", "--name", ""}).err,
             "orvctl: --name is '', expected the name of one next-hop group\n");
}

TEST(OrvctlWatchHelp, tellsTheFieldsAndTheExitCodes) {
   const Result result = runWith({"watch", "intf", "--help"});
   EXPECT_EQ(result.code, 0);
   EXPECT_THAT(result.out, HasSubstr("all|oper_status|admin_enabled|description"));
   EXPECT_THAT(result.out, HasSubstr("4 when this reader was too slow"));
   EXPECT_THAT(result.out, HasSubstr("may come only with the next event"));
}

TEST(OrvctlWatchHelp, speaksOfWhatThisWatchHas) {
   const std::string fields = "changes follow (--fields)";
   for (const char* word : {"acl", "agent", "phy", "counters", "sbfd"})
      EXPECT_THAT(runWith({"watch", word, "--help"}).out, Not(HasSubstr("--fields"))) << word;
   EXPECT_THAT(runWith({"watch", "intf", "--help"}).out, HasSubstr(fields));
   const std::string nhg = runWith({"watch", "nhg", "--help"}).out;
   EXPECT_THAT(nhg, HasSubstr(fields));
   EXPECT_THAT(nhg, HasSubstr("Every next-hop group; the default without --name"));
   EXPECT_THAT(nhg, HasSubstr("One next-hop group alone"));
   EXPECT_THAT(runWith({"watch", "phy", "--help"}).out, HasSubstr("Every physical interface"));
}

TEST(OrvctlWatchHelp, namesCommandsThatAreThere) {
   EXPECT_THAT(runWith({"watch", "intf", "--help"}).out, HasSubstr("'orvctl intf show NAME'"));
   EXPECT_EQ(runWith({"intf", "show", "--help"}).code, 0);
   EXPECT_THAT(runWith({"watch", "nhg", "--help"}).out, HasSubstr("'orvctl nhg show NAME'"));
   EXPECT_EQ(runWith({"nhg", "show", "--help"}).code, 0);
}

}  // namespace
}  // namespace orvctl
