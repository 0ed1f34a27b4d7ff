#include <gmock/gmock.h>

#include "OrvSdkRpcProtos/ip_route.pb.h"
#include "OrvSdkRpcProtos/mpls_route.pb.h"
#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace rpc = orv::remote;

class OrvctlMirrorRoutes : public test::Orvctl {
protected:
   std::string lastRequest() { return server_.mirror.requests().back(); }
   template <typename Reply>
   static Reply done(uint64_t count, const std::string& problem = "") {
      Reply reply;
      reply.mutable_status()->set_message(problem);
      if (!problem.empty()) reply.mutable_status()->set_code(rpc::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT);
      reply.set_count(count);
      return reply;
   }
};

TEST_F(OrvctlMirrorRoutes, setsAnIpRouteWithItsVias) {
   server_.mirror.answer("IpRouteMgrService/ip_route_set", rpc::IpRouteSetResponse());
   server_.start();
   EXPECT_EQ(orvctl({"route", "set", "--via", "address=10.1.0.1,weight=2", "10.0.0.0/8", "--via",
                     "intf=Ethernet2", "--replace", "--tag", "7", "--preference", "9", "--vrf", "red",
                     "--rib-bypass", "--command-tag", "c"})
                  .code,
             0);
   const std::string key = R"({"prefix":{"network":"10.0.0.0","prefix_length":8},"preference":9})";
   const std::string sent = lastRequest();
   EXPECT_THAT(sent, HasSubstr(R"(IpRouteMgrService/ip_route_set {"ip_route":{"key":)" + key +
                               R"(,"tag":7,"rib_bypass":true,"command_tag":"c"},"vias":[{"route_key":)" +
                               key + R"(,"hop":"10.1.0.1",)"));
   EXPECT_THAT(sent, HasSubstr(R"("weight":2},{"route_key":)" + key));
   EXPECT_THAT(sent, HasSubstr(R"("intf":{"name":"Ethernet2"})"));
   EXPECT_THAT(sent, HasSubstr(R"("vias_action":1,"vrf_name":"red"})"));
   EXPECT_EQ(orvctl({"route", "set", "2001:db8::/32", "--action", "drop"}).code, 0);
   EXPECT_EQ(lastRequest(),
             R"(IpRouteMgrService/ip_route_set {"ip_route":{"key":{"prefix":{"network":"2001:db8::",)"
             R"("prefix_length":32},"preference":1},"tag":0,"rib_bypass":false,"command_tag":""},"vias":[],)"
             R"("vias_action":0,"action":"IP_ROUTE_ACTIONS_DROP"})");
}

TEST_F(OrvctlMirrorRoutes, aRefusedIpRouteIsAFailure) {
   server_.mirror.answer("IpRouteMgrService/ip_route_set").end =
        grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, "no");
   server_.start();
   const Result result = orvctl({"route", "set", "10.0.0.0/8"});
   EXPECT_EQ(result.code, 1);
   EXPECT_THAT(result.err, HasSubstr("ip_route_set 10.0.0.0/8"));
}

TEST_F(OrvctlMirrorRoutes, badIpRoutesSendNothing) {
   server_.start();
   EXPECT_EQ(orvctl({"route", "set"}).code, 2);
   EXPECT_EQ(orvctl({"route", "set", "10.0.0.1/8"}).code, 2);
   EXPECT_EQ(orvctl({"route", "set", "10.0.0.0/8", "--via", "hop=10.1.0.1"}).code, 2);
   EXPECT_EQ(orvctl({"route", "set", "10.0.0.0/8", "--action", "eat"}).code, 2);
   EXPECT_EQ(orvctl({"route", "set", "10.0.0.0/8", "--preference", "256"}).code, 2);
   EXPECT_EQ(orvctl({"route", "set", "10.0.0.0/8", "--replace"}).err,
             "orvctl: --replace is given without --via, expected both or neither\n");
   EXPECT_EQ(orvctl({"route", "set", "10.0.0.0/8", "--action", "drop", "--vrf", "red"}).err,
             "orvctl: --vrf is given with --action, expected one or the other\n");
   EXPECT_THAT(server_.mirror.requests(), IsEmpty());
}

TEST_F(OrvctlMirrorRoutes, deletesIpRoutesInOneBulk) {
   server_.mirror.answer("IpRouteMgrService/bulk_ip_route_del", done<rpc::BulkIpRouteDelResponse>(2));
   server_.start();
   EXPECT_EQ(
        orvctl({"route", "del", "--mirror", "10.0.0.0/8", "11.0.0.0/8", "--vrf", "red", "--preference", "9"})
             .out,
        "2 items applied\n");
   EXPECT_EQ(
        lastRequest(),
        R"(IpRouteMgrService/bulk_ip_route_del {"requests":[)"
        R"({"vrf_name":"red","key":{"prefix":{"network":"10.0.0.0","prefix_length":8},"preference":9}},)"
        R"({"vrf_name":"red","key":{"prefix":{"network":"11.0.0.0","prefix_length":8},"preference":9}}]})");
   EXPECT_THAT(server_.requests(), IsEmpty());
}

TEST_F(OrvctlMirrorRoutes, withoutTheFlagTheProgrammingServiceDeletes) {
   server_.start();
   EXPECT_EQ(orvctl({"route", "del", "10.0.0.0/8"}).code, 0);
   EXPECT_EQ(orvctl({"mpls", "del", "100"}).code, 0);
   EXPECT_EQ(server_.requests().size(), 2U);
   EXPECT_THAT(server_.mirror.requests(), IsEmpty());
}

TEST_F(OrvctlMirrorRoutes, flagsOfTheOtherServiceAreRefused) {
   server_.start();
   EXPECT_EQ(orvctl({"route", "del", "--mirror"}).code, 2);
   EXPECT_EQ(orvctl({"route", "del", "10.0.0.0/8", "--vrf", "red"}).code, 2);
   EXPECT_EQ(orvctl({"route", "del", "10.0.0.0/8", "--preference", "9"}).code, 2);
   EXPECT_EQ(orvctl({"route", "del", "--mirror", "--file", "-"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "set", "--mirror"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "del", "--mirror"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "set", "100", "--mirror", "--nhg", "g"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "set", "100", "--vrf", "red", "--via", "group=g"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "set", "100", "--vrf", "red", "--metric", "3"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "del", "100", "--metric", "3"}).code, 2);
   EXPECT_THAT(server_.requests(), IsEmpty());
   EXPECT_THAT(server_.mirror.requests(), IsEmpty());
}

TEST_F(OrvctlMirrorRoutes, setsAnMplsRouteWithItsVias) {
   server_.mirror.answer("MplsRouteMgrService/mpls_route_set", rpc::MplsRouteSetResponse());
   server_.start();
   EXPECT_EQ(orvctl({"mpls", "set", "--mirror", "100/200", "--metric", "3", "--version-id", "5", "--replace",
                     "--via", "address=10.1.0.1,op=swap,label=300"})
                  .code,
             0);
   const std::string key = R"({"labels":[{"label":100},{"label":200}],"metric":3})";
   const std::string sent = lastRequest();
   EXPECT_THAT(sent, HasSubstr(R"(mpls_route_set {"route":{"key":)" + key + R"(,"version_id":5},"vias":[)"));
   EXPECT_THAT(sent, HasSubstr(R"("label_action":"MPLS_ACTIONS_SWAP","route_key":)" + key));
   EXPECT_THAT(sent, HasSubstr(R"("vias_action":"MPLS_ROUTE_VIAS_ACTION_REPLACE"})"));
   EXPECT_EQ(orvctl({"mpls", "set", "--mirror", "100"}).code, 0);
   EXPECT_THAT(lastRequest(), HasSubstr(R"({"route":{"key":{"labels":[{"label":100}],"metric":0})"));
   EXPECT_THAT(lastRequest(), HasSubstr(R"("vias":[],"vias_action":"MPLS_ROUTE_VIAS_ACTION_ADD"})"));
   EXPECT_THAT(lastRequest(), testing::Not(HasSubstr("version_id")));
   EXPECT_THAT(server_.requests(), IsEmpty());
}

TEST_F(OrvctlMirrorRoutes, badMplsRoutesSendNothing) {
   server_.start();
   EXPECT_EQ(orvctl({"mpls", "set", "--mirror", "1048576"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "set", "--mirror", "100", "--via", "op=eat"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "set", "--mirror", "100", "--replace"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "set", "--mirror", "100", "--version-id", "0"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "set", "--mirror", "100", "--metric", "256"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "del", "--mirror", "100", "x"}).code, 2);
   EXPECT_THAT(server_.mirror.requests(), IsEmpty());
}

TEST_F(OrvctlMirrorRoutes, aBulkThatStopsNamesItsLabel) {
   server_.mirror.answer("MplsRouteMgrService/bulk_mpls_route_del",
                         done<rpc::BulkMplsRouteDelResponse>(1, "no"));
   server_.start();
   const Result result = orvctl({"mpls", "del", "--mirror", "100", "101/102", "--metric", "3"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "label 101/102: invalid_argument: no; 1 of 2 items applied\n");
   EXPECT_THAT(server_.mirror.requests(),
               ElementsAre(R"(MplsRouteMgrService/bulk_mpls_route_del {"requests":[)"
                           R"({"route_key":{"labels":[{"label":100}],"metric":3}},)"
                           R"({"route_key":{"labels":[{"label":101},{"label":102}],"metric":3}}]})"));
}

}  // namespace
}  // namespace orvctl
