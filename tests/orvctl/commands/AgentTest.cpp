#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/agent.pb.h"
#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::ElementsAre;
using testing::StartsWith;
namespace rpc = orv::remote;

using OrvctlAgent = test::Orvctl;

TEST_F(OrvctlAgent, optionsAndStatusEntriesWithTheirValues) {
   rpc::AgentOptionsResponse option;
   option.set_name("level");
   rpc::AgentOptionResponse value;
   value.set_value("7");
   rpc::AgentStatusesResponse entry;
   entry.set_name("epoch");
   rpc::AgentStatusResponse status;
   status.set_value("a=b");
   server_.mirror.answer("AgentService/agent_options", option);
   server_.mirror.answer("AgentService/agent_option", value);
   server_.mirror.answer("AgentService/statuses", entry);
   server_.mirror.answer("AgentService/status", status);
   server_.start();
   EXPECT_EQ(orvctl({"agent", "options"}).out, "level=7\n");
   EXPECT_EQ(orvctl({"agent", "options", "other"}).out, "other=7\n");
   EXPECT_EQ(orvctl({"agent", "status"}).out, "epoch=a=b\n");
   EXPECT_EQ(orvctl({"--json", "agent", "status", "x", "y"}).out,
             "{\"name\":\"x\",\"value\":\"a=b\"}\n{\"name\":\"y\",\"value\":\"a=b\"}\n");
}

TEST_F(OrvctlAgent, statusEntriesAreSetAndDeletedInBulks) {
   rpc::AgentBulkStatusSetResponse set;
   set.mutable_status();
   set.set_count(2);
   rpc::AgentBulkStatusDelResponse del;
   del.mutable_status()->set_code(rpc::RPC_RESPONSE_STATUS_CODE_INTERNAL);
   del.mutable_status()->set_message("full");
   server_.mirror.answer("AgentService/bulk_status_set", set);
   server_.mirror.answer("AgentService/bulk_status_del", del);
   server_.start();
   EXPECT_EQ(orvctl({"agent", "set", "a=1", "b="}).out, "2 items applied\n");
   const Result result = orvctl({"agent", "del", "a", "b"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "a: internal: full; 0 of 2 items applied\n");
   EXPECT_THAT(server_.mirror.requests(),
               ElementsAre(R"(AgentService/bulk_status_set {"requests":[{"name":"a","value":"1"},)"
                           R"({"name":"b","value":""}]})",
                           R"(AgentService/bulk_status_del {"requests":[{"name":"a"},{"name":"b"}]})"));
   EXPECT_EQ(orvctl({"agent", "set", "a"}).code, 2);
   EXPECT_EQ(orvctl({"agent", "del"}).code, 2);
}

TEST_F(OrvctlAgent, pingTellsHowLongTheMainLoopTook) {
   rpc::AgentPingResponse reply;
   reply.set_payload("x");
   reply.set_received(1'000'000);
   reply.set_responded(1'250'000);
   server_.mirror.answer("AgentService/ping", reply);
   server_.start();
   const Result result = orvctl({"agent", "ping", "--payload", "x", "-n", "2"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_THAT(result.out, StartsWith("main loop 250 µs, round trip "));
   EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 2);
   const auto json = nlohmann::json::parse(orvctl({"--json", "agent", "ping", "--payload", "x"}).out);
   EXPECT_EQ(json["main_loop_us"], 250.0);
   EXPECT_GT(json["round_trip_us"], 0.0);
   // The reply to another ping is not accepted.
   EXPECT_EQ(orvctl({"agent", "ping"}).code, 3);
}

TEST_F(OrvctlAgent, theRestOfItsLife) {
   rpc::AgentUptimeResponse uptime;
   uptime.set_uptime(12.5);
   rpc::AgentEnabledResponse enabled;
   enabled.set_enabled(true);
   rpc::AgentIdResponse id;
   id.set_id(42);
   server_.mirror.answer("AgentService/agent_uptime", uptime);
   server_.mirror.answer("AgentService/enabled", enabled);
   server_.mirror.answer("AgentService/agent_id", id);
   server_.start();
   EXPECT_EQ(orvctl({"agent", "uptime"}).out, "12.500\n");
   EXPECT_EQ(orvctl({"--json", "agent", "uptime"}).out, "{\"uptime\":12.5}\n");
   EXPECT_EQ(orvctl({"agent", "enabled"}).out, "yes\n");
   EXPECT_EQ(orvctl({"agent", "id", "x"}).out, "42\n");
}

}  // namespace
}  // namespace orvctl
