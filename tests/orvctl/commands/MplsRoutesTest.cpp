#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
namespace pb = OrvSdkRpc::pb;

using OrvctlMpls = test::Orvctl;

TEST_F(OrvctlMpls, aLabelHasOneOfThreeForwardings) {
   server_.start();
   EXPECT_EQ(orvctl({"mpls", "set", "100", "--nexthop", "intf=Ethernet1,address=10.0.0.1,op=swap,labels=200"})
                  .code,
             0);
   EXPECT_EQ(orvctl({"mpls", "set", "101", "--nhg", "g1", "--op", "forward"}).code, 0);
   EXPECT_EQ(orvctl({"mpls", "set", "102", "--nhg", "g1"}).code, 0);
   EXPECT_EQ(orvctl({"mpls", "set", "103", "--vrf", "red"}).code, 0);
   EXPECT_EQ(orvctl({"mpls", "del", "100"}).code, 0);
   const auto requests = server_.requests();
   ASSERT_EQ(requests.size(), 5U);
   EXPECT_THAT(requests[0], HasSubstr(R"("label":100,"delete":false,"nexthop_msg":{"mpls_labels":[200])"));
   EXPECT_THAT(
        requests[1],
        HasSubstr(R"("nexthop_group_msg":{"name":"g1","mpls_operation":"GROUP_MPLS_OPERATION_FORWARD"})"));
   EXPECT_THAT(requests[2], HasSubstr("GROUP_MPLS_OPERATION_POP"));
   EXPECT_EQ(requests[3], R"(mpls_route {"label":103,"delete":false,"popAndForward":"red"})");
   EXPECT_EQ(requests[4], R"(mpls_route {"label":100,"delete":true})");
}

TEST_F(OrvctlMpls, aRefusedOneIsAFailure) {
   server_.itemReply = [](const std::string&) { return status(pb::RPC_STATUS_ERROR, "no"); };
   server_.start();
   const Result result = orvctl({"mpls", "set", "100", "--vrf", "red"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "label 100: RPC_STATUS_ERROR: no\n");
}

TEST_F(OrvctlMpls, manyFromAFileWithTheFailuresByLine) {
   server_.itemReply = [](const std::string& item) {
      return item == "mpls 2" ? status(pb::RPC_STATUS_NOT_FOUND) : status(pb::RPC_STATUS_OK);
   };
   server_.start();
   const Result set = orvctl({"mpls", "set", "-f", "-"}, R"({"label":1,"popAndForward":"red"})"
                                                         "\n"
                                                         R"({"label":3,"nexthop_group_msg":{"name":"g"}})"
                                                         "\n");
   EXPECT_EQ(set.code, 0) << set.err;
   EXPECT_THAT(set.out, StartsWith("2 items: 2 ok, 0 failed"));
   const Result del = orvctl({"mpls", "del", "-f", "-"}, "1\n2\n{\"label\":3}\n");
   EXPECT_EQ(del.code, 1);
   EXPECT_EQ(del.err, "line 2: label 2: RPC_STATUS_NOT_FOUND\n");
   EXPECT_THAT(server_.requests(),
               ElementsAre(HasSubstr(R"({"label":1,"delete":false,"popAndForward":"red"})"),
                           R"(mpls_route_bulk {"bulk":[{"label":1,"delete":true},{"label":2,"delete":true},)"
                           R"({"label":3,"delete":true}]})"));
   EXPECT_EQ(orvctl({"mpls", "del", "1", "3"}).code, 0);
}

TEST_F(OrvctlMpls, mistakesAreRefusedAndNothingIsSent) {
   server_.start();
   for (const std::vector<std::string>& arguments : {std::vector<std::string>{"mpls"},
                                                     {"mpls", "set"},
                                                     {"mpls", "set", "100"},
                                                     {"mpls", "set", "1048576", "--vrf", "red"},
                                                     {"mpls", "set", "100", "--vrf", "red", "--nhg", "g"},
                                                     {"mpls", "set", "100", "--vrf", "red", "--op", "pop"},
                                                     {"mpls", "set", "100", "--nhg", "g", "--op", "swap"},
                                                     {"mpls", "set", "100", "--file", "-"},
                                                     {"mpls", "del"},
                                                     {"mpls", "del", "x"},
                                                     {"mpls", "del", "1", "--file", "-"}}) {
      const Result result = orvctl(arguments);
      EXPECT_EQ(result.code, 2) << arguments.back() << result.err;
   }
   EXPECT_EQ(orvctl({"mpls", "set", "-f", "-"}, "nonsense\n").code, 2);
   EXPECT_THAT(server_.requests(), IsEmpty());
}

}  // namespace
}  // namespace orvctl
