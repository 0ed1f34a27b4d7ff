#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <string>

#include "OrvSdkRpcProtos/policy_map_counters.pb.h"
#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::ElementsAre;
using testing::HasSubstr;
namespace rpc = orv::remote;

constexpr const char* countersRpc = "PolicyMapCountersService/watch_policy_map_counters";

class OrvctlPolicyCounters : public test::Orvctl {
protected:
   using Response = rpc::PolicyMapCountersWatchResponse;

   // An entry that introduces a rule of the policy "edge".
   static rpc::PolicyMapCounters& introduced(Response& response, std::uint64_t key,
                                             const std::string& className, std::uint64_t packets) {
      auto& entry = counted(response, key, packets);
      entry.mutable_key_name()->set_class_name(className);
      entry.mutable_key_name()->set_rule_name("10");
      entry.mutable_key_name()->mutable_policy_map_key()->set_name("edge");
      return entry;
   }
   static rpc::PolicyMapCounters& counted(Response& response, std::uint64_t key, std::uint64_t packets) {
      auto& entry = *response.add_data();
      entry.set_key(key);
      entry.mutable_counters()->set_packets(packets);
      entry.mutable_counters()->set_bytes(100 * packets);
      entry.mutable_counters()->set_time(1.5);
      return entry;
   }
   static void gone(Response& response, std::uint64_t key) {
      auto& entry = *response.add_data();
      entry.set_key(key);
      entry.set_operation(rpc::POLICY_MAP_COUNTERS_OPERATION_DELETE);
   }

   // Two rules, the end of the snapshot, and what happens then; the stream stays open.
   void startWithCounters() {
      Response first, second, end, live;
      introduced(first, 1, "web", 5).mutable_policy_action()->set_drop(true);
      auto& out = *introduced(second, 2, "mail", 1'000'000).mutable_policy_action()->mutable_out();
      out.mutable_nexthops()->add_nexthops(std::string("\x0a\0\0\x01", 4));
      out.mutable_nexthops()->add_nexthops(std::string("\x0a\0\0\x02", 4));
      out.set_ttl(9);
      counted(live, 1, 6).mutable_policy_action()->mutable_out()->set_nexthop_group_name("core");
      introduced(live, 3, "voice", 0);
      gone(live, 2);
      // One that this client has never heard of, with its long key.
      introduced(live, 4, "short", 0).set_operation(rpc::POLICY_MAP_COUNTERS_OPERATION_DELETE);
      counted(live, 3, 1);
      server_.mirror.answer(countersRpc, first, second, end, live).held = true;
      server_.start();
   }
};

TEST_F(OrvctlPolicyCounters, aTableAndThenALineForEachChange) {
   startWithCounters();
   const Result result = orvctl({"policy-counters", "watch", "--count", "6"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_EQ(result.out,
             "POLICY  CLASS  RULE  PACKETS  BYTES      ACTION\n"
             "edge    web    10    5        500        drop\n"
             "edge    mail   10    1000000  100000000  to 10.0.0.1,10.0.0.2 ttl 9\n"
             "# complete, changes follow\n"
             "edge    web    10    6        600        through core\n"
             "edge    voice  10    0        0\n"
             "edge    mail   10                        gone\n"
             "edge    voice  10    1        100\n");
   EXPECT_EQ(result.err, "");
   EXPECT_THAT(server_.mirror.requests(), ElementsAre(HasSubstr(countersRpc)));
}

TEST_F(OrvctlPolicyCounters, jsonIsOneObjectPerEntry) {
   startWithCounters();
   const Result result = orvctl({"--json", "policy-counters", "watch", "-n", "5"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_EQ(
        result.out,
        R"({"key":1,"policy":"edge","class":"web","rule":"10","packets":5,"bytes":500,"time":1.5,"drop":true})"
        "\n"
        R"({"key":2,"policy":"edge","class":"mail","rule":"10","packets":1000000,"bytes":100000000,)"
        R"("time":1.5,"nexthops":["10.0.0.1","10.0.0.2"],"ttl":9})"
        "\n"
        R"({"complete":true})"
        "\n"
        R"({"key":1,"policy":"edge","class":"web","rule":"10","packets":6,"bytes":600,"time":1.5,)"
        R"("nexthop_group":"core"})"
        "\n"
        R"({"key":3,"policy":"edge","class":"voice","rule":"10","packets":0,"bytes":0,"time":1.5})"
        "\n"
        R"({"key":2,"policy":"edge","class":"mail","rule":"10","gone":true})"
        "\n");
}

TEST_F(OrvctlPolicyCounters, aTimeoutIsAnEndInOrder) {
   startWithCounters();
   const Result result = orvctl({"--timeout", "0.2", "policy-counters", "watch"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_THAT(result.out, HasSubstr("edge    voice  10    1        100\n"));
}

TEST_F(OrvctlPolicyCounters, whatHasArrivedOfASnapshotIsShown) {
   Response first;
   introduced(first, 1, "web", 5);
   introduced(first, 2, "mail", 6);
   server_.mirror.answer(countersRpc, first).held = true;
   server_.start();
   EXPECT_EQ(orvctl({"policy-counters", "watch", "-n", "1"}).out,
             "POLICY  CLASS  RULE  PACKETS  BYTES  ACTION\n"
             "edge    web    10    5        500\n");
}

TEST_F(OrvctlPolicyCounters, withoutRulesTheTableIsEmpty) {
   Response live;
   introduced(live, 1, "web", 5);
   server_.mirror.answer(countersRpc, Response(), live).held = true;
   server_.start();
   EXPECT_EQ(orvctl({"policy-counters", "watch", "-n", "1"}).out,
             "POLICY  CLASS  RULE  PACKETS  BYTES  ACTION\n"
             "# complete, changes follow\n"
             "edge    web    10    5        500\n");
}

TEST_F(OrvctlPolicyCounters, aServerWithoutTheStreamIsAnError) {
   server_.mirror.answer(countersRpc).end = grpc::Status(grpc::StatusCode::UNIMPLEMENTED, "");
   server_.start();
   const Result result = orvctl({"policy-counters", "watch"});
   EXPECT_EQ(result.code, 3);
   EXPECT_EQ(result.out, "");
   EXPECT_THAT(result.err, HasSubstr("orvctl: watch policy-counters: "));
   EXPECT_EQ(orvctl({"policy-counters", "watch", "--count", "0"}).code, 2);
}

TEST_F(OrvctlPolicyCounters, theCommonWatchShowsTheEntriesAsTheyAre) {
   startWithCounters();
   const Result result = orvctl({"watch", "policy-counters", "-n", "3"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_THAT(result.out, HasSubstr("\n# complete, changes follow\npackets=6 bytes=600 time=1.5 "));
}

}  // namespace
}  // namespace orvctl
