#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/acl.pb.h"
#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::ElementsAre;
using testing::HasSubstr;
namespace rpc = orv::remote;

using OrvctlAcl = test::Orvctl;

TEST_F(OrvctlAcl, listsThoseOfTheAgentAndAll) {
   rpc::AclsResponse own;
   own.mutable_key()->set_acl_name("a");
   own.mutable_key()->set_acl_type(rpc::ACL_TYPE_IPV4);
   rpc::AclsAllResponse all;
   all.mutable_key()->set_acl_name("b");
   all.mutable_key()->set_acl_type(rpc::ACL_TYPE_ETH);
   server_.mirror.answer("AclMgrService/acls", own);
   server_.mirror.answer("AclMgrService/acls_all", all);
   server_.start();
   EXPECT_EQ(orvctl({"acl", "list"}).out, "NAME  TYPE\na     ipv4\n");
   EXPECT_EQ(orvctl({"--json", "acl", "list", "--all"}).out, "{\"name\":\"b\",\"type\":\"eth\"}\n");
}

TEST_F(OrvctlAcl, rulesOfBothKinds) {
   rpc::AclRuleIpsResponse ip;
   ip.mutable_entry()->set_seq(10);
   ip.mutable_entry()->mutable_rule()->mutable_source_addr()->set_addr(std::string("\x0a\0\0\0", 4));
   rpc::AclAllRuleEthsResponse eth;
   eth.mutable_entry()->set_seq(20);
   eth.mutable_entry()->mutable_rule()->set_source_addr(std::string("\x02\0\0\0\0\x01", 6));
   server_.mirror.answer("AclMgrService/acl_rule_ips", ip);
   server_.mirror.answer("AclMgrService/acl_all_rule_eths", eth);
   server_.start();
   const auto first = nlohmann::json::parse(orvctl({"--json", "acl", "rules", "a"}).out);
   EXPECT_EQ(first["seq"], 10);
   EXPECT_EQ(first["rule"]["source_addr"]["addr"], "10.0.0.0");
   const auto second =
        nlohmann::json::parse(orvctl({"--json", "acl", "rules", "a", "--type", "eth", "--all"}).out);
   EXPECT_EQ(second["rule"]["source_addr"], "02:00:00:00:00:01");
   EXPECT_THAT(
        server_.mirror.requests(),
        ElementsAre(R"(AclMgrService/acl_rule_ips {"key":{"acl_name":"a","acl_type":"ACL_TYPE_IPV4"}})",
                    R"(AclMgrService/acl_all_rule_eths {"key":{"acl_name":"a","acl_type":"ACL_TYPE_ETH"}})"));
}

TEST_F(OrvctlAcl, changesSendTheirRequests) {
   server_.mirror.answer("AclMgrService/acl_rule_set", rpc::AclRuleSetResponse());
   server_.mirror.answer("AclMgrService/acl_del", rpc::AclDelResponse());
   server_.mirror.answer("AclMgrService/acl_apply", rpc::AclApplyResponse());
   server_.mirror.answer("AclMgrService/acl_counters_enabled_set", rpc::AclCountersEnabledSetResponse());
   server_.mirror.answer("AclMgrService/acl_fragments_enabled_set", rpc::AclFragmentsEnabledSetResponse());
   server_.mirror.answer("AclMgrService/acl_commit", rpc::AclCommitResponse());
   server_.start();
   EXPECT_EQ(
        orvctl(
             {"acl", "set", "a", "10",
              R"({"base":{"action":"ACL_ACTION_PERMIT"},"source_addr":{"addr":"10.0.0.0","mask_length":8}})"})
             .code,
        0);
   EXPECT_EQ(orvctl({"acl", "set", "a", "10", R"({"vlan":7})", "--type", "eth"}).code, 0);
   EXPECT_EQ(orvctl({"acl", "apply", "a", "Ethernet1", "in"}).code, 0);
   EXPECT_EQ(orvctl({"acl", "apply", "a", "Ethernet1", "out", "--remove"}).code, 0);
   EXPECT_EQ(orvctl({"acl", "counters", "a", "on"}).code, 0);
   EXPECT_EQ(orvctl({"acl", "fragments", "a", "off", "--type", "ipv6"}).code, 0);
   EXPECT_EQ(orvctl({"acl", "del", "a"}).code, 0);
   EXPECT_EQ(orvctl({"acl", "commit"}).code, 0);
   const auto requests = server_.mirror.requests();
   ASSERT_EQ(requests.size(), 8U);
   EXPECT_THAT(requests[0], HasSubstr(R"("source_addr":{"addr":"10.0.0.0","mask_length":8})"));
   EXPECT_THAT(requests[0], HasSubstr(R"("seq":10)"));
   EXPECT_THAT(requests[1], HasSubstr(R"("eth_rule":{)"));
   EXPECT_EQ(requests[2], R"(AclMgrService/acl_apply {"key":{"acl_name":"a","acl_type":"ACL_TYPE_IPV4"},)"
                          R"("intf":{"name":"Ethernet1"},"direction":"ACL_DIRECTION_IN","apply":true})");
   EXPECT_THAT(requests[3], HasSubstr(R"("direction":"ACL_DIRECTION_OUT","apply":false)"));
   EXPECT_THAT(requests[4], HasSubstr(R"("enabled":true)"));
   EXPECT_EQ(requests[5], R"(AclMgrService/acl_fragments_enabled_set {"key":{"acl_name":"a",)"
                          R"("acl_type":"ACL_TYPE_IPV6"},"enabled":false})");
}

TEST_F(OrvctlAcl, rulesAreDeletedInOneBulk) {
   rpc::BulkAclRuleDelResponse reply;
   reply.mutable_status();
   reply.set_count(2);
   server_.mirror.answer("AclMgrService/bulk_acl_rule_del", reply);
   server_.start();
   EXPECT_EQ(orvctl({"acl", "del", "a", "10", "20"}).out, "2 items applied\n");
   EXPECT_EQ(orvctl({"acl", "del", "a", "x"}).code, 2);
}

TEST_F(OrvctlAcl, aBulkThatStopsNamesItsItem) {
   rpc::BulkAclRuleDelResponse reply;
   reply.mutable_status()->set_code(rpc::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT);
   reply.mutable_status()->set_message("no");
   reply.set_count(1);
   server_.mirror.answer("AclMgrService/bulk_acl_rule_del", reply);
   server_.start();
   const Result result = orvctl({"acl", "del", "a", "10", "20", "30"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "rule 20: invalid_argument: no; 1 of 3 items applied\n");
   const auto json = nlohmann::json::parse(orvctl({"--json", "acl", "del", "a", "10", "20", "30"}).out);
   EXPECT_EQ(json["applied"], 1);
   EXPECT_EQ(json["failed"], "rule 20");
}

TEST_F(OrvctlAcl, aCommitThatIsWaitedForIsSentOnceTheWatchStands) {
   rpc::AclWatchResponse ack, done;
   ack.set_ack(true);
   done.mutable_on_acl_sync();
   server_.mirror.answer("AclMgrService/watch", ack, done).held = true;
   server_.mirror.answer("AclMgrService/acl_commit", rpc::AclCommitResponse());
   server_.start();
   const Result result = orvctl({"acl", "commit", "--wait"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_EQ(result.out, "in hardware\n");
   EXPECT_THAT(server_.mirror.requests(),
               ElementsAre(R"(AclMgrService/watch {"ack":true})", "AclMgrService/acl_commit {}"));
}

TEST_F(OrvctlAcl, aCommitThatHardwareRefusesIsAFailure) {
   rpc::AclWatchResponse ack, failed;
   ack.set_ack(true);
   failed.mutable_on_acl_sync_fail()->set_source("hardware");
   failed.mutable_on_acl_sync_fail()->set_message("no space left");
   server_.mirror.answer("AclMgrService/watch", ack, failed).held = true;
   server_.mirror.answer("AclMgrService/acl_commit", rpc::AclCommitResponse());
   server_.start();
   const Result result = orvctl({"acl", "commit", "--wait"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "hardware: no space left\n");
   EXPECT_THAT(orvctl({"--json", "acl", "commit", "--wait"}).out, HasSubstr("no space left"));
}

TEST_F(OrvctlAcl, aCommitThatIsNotAnsweredEndsWithTheTimeout) {
   rpc::AclWatchResponse ack;
   ack.set_ack(true);
   server_.mirror.answer("AclMgrService/watch", ack).held = true;
   server_.mirror.answer("AclMgrService/acl_commit", rpc::AclCommitResponse());
   server_.start();
   const Result result = orvctl({"--timeout", "0.2", "acl", "commit", "--wait"});
   EXPECT_EQ(result.code, 3);
   EXPECT_THAT(result.err, HasSubstr("no answer"));
}

TEST_F(OrvctlAcl, mistakesAreRefused) {
   server_.start();
   for (const std::vector<std::string>& arguments : {std::vector<std::string>{"acl"},
                                                     {"acl", "rules"},
                                                     {"acl", "rules", "a", "--type", "vlan"},
                                                     {"acl", "set", "a", "x", "{}"},
                                                     {"acl", "set", "a", "10", "{"},
                                                     {"acl", "set", "a", "10", R"({"nonsense":1})"},
                                                     {"acl", "apply", "a", "Ethernet1", "sideways"},
                                                     {"acl", "counters", "a", "maybe"}}) {
      const Result result = orvctl(arguments);
      EXPECT_EQ(result.code, 2) << arguments.back() << result.err;
      EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
   }
   EXPECT_TRUE(server_.mirror.requests().empty());
}

}  // namespace
}  // namespace orvctl
