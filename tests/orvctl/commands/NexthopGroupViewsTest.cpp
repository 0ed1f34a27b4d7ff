#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/nexthop_group.pb.h"
#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::ElementsAre;
namespace rpc = orv::remote;

class OrvctlNhg : public test::Orvctl {
protected:
   static rpc::NexthopGroup group() {
      rpc::NexthopGroup group;
      group.set_name("g1");
      group.set_type(rpc::NEXTHOP_GROUP_ENCAP_TYPES_MPLS);
      group.set_version_id(3);
      auto& entry = (*group.mutable_nexthops())[1];
      entry.set_nexthop(std::string("\x0a\0\0\x02", 4));
      entry.mutable_intf()->set_name("Ethernet2");
      auto& first = (*group.mutable_nexthops())[0];
      first.set_nexthop(std::string("\x0a\0\0\x01", 4));
      first.mutable_mpls_action()->set_action_type(rpc::MPLS_ACTIONS_PUSH);
      first.mutable_mpls_action()->add_label_stack(100);
      first.mutable_mpls_action()->add_label_stack(200);
      return group;
   }
};

TEST_F(OrvctlNhg, listsGroups) {
   rpc::NexthopGroupsResponse row;
   *row.mutable_nexthop_group() = group();
   rpc::ProgrammedNexthopGroupsResponse programmed;
   programmed.set_name("g1");
   server_.mirror.answer("NexthopGroupMgrService/nexthop_groups", row);
   server_.mirror.answer("NexthopGroupMgrService/programmed_nexthop_groups", programmed, programmed);
   server_.start();
   EXPECT_EQ(orvctl({"nhg", "list"}).out,
             "NAME  TYPE  ENTRIES  VERSION\n"
             "g1    mpls  2        3\n");
   EXPECT_EQ(orvctl({"--json", "nhg", "list"}).out,
             "{\"name\":\"g1\",\"type\":\"mpls\",\"entries\":2,\"version\":3}\n");
   EXPECT_EQ(orvctl({"nhg", "list", "--programmed"}).out, "NAME\ng1\ng1\n");
}

TEST_F(OrvctlNhg, showsEntriesAndState) {
   rpc::NexthopGroupResponse configured;
   *configured.mutable_nexthop_group() = group();
   rpc::ProgrammedNexthopGroupResponse programmed;
   *programmed.mutable_nexthop_group() = group();
   rpc::NexthopGroupActiveResponse active;
   active.set_active(true);
   server_.mirror.answerTo("NexthopGroupMgrService/nexthop_group", R"({"name":"g1"})", configured);
   server_.mirror.answer("NexthopGroupMgrService/nexthop_group", rpc::NexthopGroupResponse());
   server_.mirror.answer("NexthopGroupMgrService/programmed_nexthop_group", programmed);
   server_.mirror.answer("NexthopGroupMgrService/active", active);
   server_.start();
   const Result result = orvctl({"nhg", "show", "g1", "none"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.out,
             "g1: mpls, version 3, active, version 3 programmed\n"
             "  0: 10.0.0.1 push 100/200\n"
             "  1: 10.0.0.2 Ethernet2\n");
   EXPECT_EQ(result.err, "none: there is no such group\n");
   const auto json = nlohmann::json::parse(orvctl({"--json", "nhg", "show", "g1"}).out);
   EXPECT_EQ(json["active"], true);
   EXPECT_EQ(json["configured"]["nexthops"]["0"]["nexthop"], "10.0.0.1");
   EXPECT_EQ(json["programmed"]["version_id"], 3);
}

TEST_F(OrvctlNhg, countersOfAllOfOneAndOfAnExpression) {
   rpc::NexthopGroupCountersResponse reply;
   reply.set_name("g1");
   auto& counter = *reply.add_counters();
   counter.set_entry(2);
   counter.set_packets(7);
   counter.set_bytes(700);
   server_.mirror.answer("NexthopGroupMgrService/nhg_counters", reply);
   server_.start();
   EXPECT_EQ(orvctl({"nhg", "counters"}).out, "NAME  ENTRY  PACKETS  BYTES\ng1    2      7        700\n");
   EXPECT_EQ(orvctl({"nhg", "counters", "g1"}).code, 0);
   EXPECT_EQ(orvctl({"nhg", "counters", "--regex", "g.*"}).code, 0);
   EXPECT_THAT(server_.mirror.requests(),
               ElementsAre(R"(NexthopGroupMgrService/nhg_counters {"all":true})",
                           R"(NexthopGroupMgrService/nhg_counters {"name":"g1"})",
                           R"(NexthopGroupMgrService/nhg_counters {"regex":"g.*"})"));
   EXPECT_EQ(orvctl({"nhg", "counters", "g1", "--regex", "g.*"}).code, 2);
   EXPECT_EQ(orvctl({"nhg", "show"}).code, 2);
}

TEST_F(OrvctlNhg, aGroupWithoutCountersIsTold) {
   rpc::NexthopGroupCountersResponse reply;
   reply.set_name("absent");
   server_.mirror.answer("NexthopGroupMgrService/nhg_counters", reply);
   server_.start();
   const Result result = orvctl({"nhg", "counters", "absent"});
   EXPECT_EQ(result.code, 0) << result.err;
   EXPECT_EQ(result.out, "absent: no counters\n");
   EXPECT_EQ(orvctl({"--json", "nhg", "counters", "absent"}).out, "");
   // When the command names no group, groups without counters are not reported.
   EXPECT_EQ(orvctl({"nhg", "counters"}).out, "");
}

}  // namespace
}  // namespace orvctl
