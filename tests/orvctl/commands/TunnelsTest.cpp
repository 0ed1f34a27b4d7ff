#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
namespace pb = OrvSdkRpc::pb;

using OrvctlTunnel = test::Orvctl;

TEST_F(OrvctlTunnel, setAndDel) {
   server_.start();
   EXPECT_EQ(orvctl({"tunnel", "set", "192.0.2.1/32", "--nhg", "g1", "--metric", "7"}).code, 0);
   EXPECT_EQ(orvctl({"tunnel", "del", "192.0.2.1/32"}).code, 0);
   EXPECT_EQ(orvctl({"tunnel", "del", "192.0.2.1/32", "2001:db8::1/128"}).code, 0);
   EXPECT_THAT(
        server_.requests(),
        ElementsAre(
             R"(nexthop_group_tunnel {"nexthop_group_name":"g1","prefix":"192.0.2.1/32","igp_metric":7})",
             R"(nexthop_group_tunnel {"nexthop_group_name":"","prefix":"192.0.2.1/32","igp_metric":0})",
             R"(nexthop_group_tunnel_bulk {"bulk":[)"
             R"({"nexthop_group_name":"","prefix":"192.0.2.1/32","igp_metric":0},)"
             R"({"nexthop_group_name":"","prefix":"2001:db8::1/128","igp_metric":0}]})"));
}

TEST_F(OrvctlTunnel, aRefusedOneIsAFailure) {
   server_.itemReply = [](const std::string&) { return status(pb::RPC_STATUS_NOT_FOUND); };
   server_.start();
   const Result result = orvctl({"tunnel", "del", "192.0.2.1/32"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "192.0.2.1/32: RPC_STATUS_NOT_FOUND\n");
   EXPECT_EQ(orvctl({"--json", "tunnel", "del", "192.0.2.1/32"}).code, 1);
}

TEST_F(OrvctlTunnel, manyFromAFileWithTheFailuresByLine) {
   server_.itemReply = [](const std::string& item) {
      return item == "tunnel 192.0.2.2/32" ? status(pb::RPC_STATUS_ERROR, "full") : status(pb::RPC_STATUS_OK);
   };
   server_.start();
   const std::string lines =
        "# endpoints\n"
        R"({"prefix":"192.0.2.1/32","nexthop_group_name":"g1"})"
        "\n"
        R"({"prefix":"192.0.2.2/32","nexthop_group_name":"g1"})"
        "\n"
        R"({"prefix":"192.0.2.3/32","nexthop_group_name":"g1","igp_metric":5})"
        "\n";
   const Result result = orvctl({"tunnel", "set", "--file", file(lines), "--batch", "2"});
   EXPECT_EQ(result.code, 1);
   EXPECT_THAT(result.out, StartsWith("3 items: 2 ok, 1 failed, "));
   EXPECT_EQ(result.err, "line 3: 192.0.2.2/32: RPC_STATUS_ERROR: full\n");
   EXPECT_EQ(server_.requests().size(), 2U);
   // The same file deletes them; so do bare prefixes.
   EXPECT_THAT(orvctl({"tunnel", "del", "-f", "-"}, lines).out, StartsWith("3 items: 2 ok"));
   EXPECT_EQ(server_.requests().back().find("g1"), std::string::npos);
   EXPECT_EQ(orvctl({"tunnel", "del", "-f", "-"}, "192.0.2.1/32\n").code, 0);
}

TEST_F(OrvctlTunnel, mistakesAreRefusedAndNothingIsSent) {
   server_.start();
   for (const std::vector<std::string>& arguments :
        {std::vector<std::string>{"tunnel"},
         {"tunnel", "set"},
         {"tunnel", "set", "192.0.2.1/32"},
         {"tunnel", "set", "192.0.2.1/24", "--nhg", "g"},
         {"tunnel", "set", "192.0.2.1/32", "--nhg", "g", "--metric", "-1"},
         {"tunnel", "set", "192.0.2.1/32", "--file", "-"},
         {"tunnel", "set", "--nhg", "g", "--file", "-"},
         {"tunnel", "del"},
         {"tunnel", "del", "x"},
         {"tunnel", "del", "192.0.2.1/32", "--file", "-"}}) {
      const Result result = orvctl(arguments);
      EXPECT_EQ(result.code, 2) << arguments.back() << result.err;
   }
   // A line without a group would delete.
   EXPECT_EQ(orvctl({"tunnel", "set", "-f", "-"}, R"({"prefix":"192.0.2.1/32"})").code, 2);
   EXPECT_THAT(server_.requests(), IsEmpty());
}

}  // namespace
}  // namespace orvctl
