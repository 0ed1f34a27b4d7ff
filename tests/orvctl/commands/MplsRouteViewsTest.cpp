#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/mpls_route.pb.h"
#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
namespace rpc = orv::remote;

class OrvctlMplsRoutes : public test::Orvctl {
protected:
   static rpc::MplsRouteKey key(uint32_t label, uint32_t metric = 0) {
      rpc::MplsRouteKey key;
      key.add_labels()->set_label(label);
      key.set_metric(metric);
      return key;
   }
   static rpc::MplsRoutesResponse route(uint32_t label, uint32_t version = 0) {
      rpc::MplsRoutesResponse response;
      *response.mutable_route()->mutable_key() = key(label);
      response.mutable_route()->set_version_id(version);
      return response;
   }
   template <typename Response>
   static Response hop(uint32_t label) {
      Response response;
      auto& via = *response.mutable_via();
      *via.mutable_route_key() = key(label);
      via.set_hop(std::string{10, 1, 0, 1});
      via.mutable_intf()->set_name("Ethernet1");
      via.set_label_action(rpc::MPLS_ACTIONS_POP);
      return response;
   }
   template <typename Response>
   static Response group(uint32_t label) {
      Response response;
      auto& via = *response.mutable_via();
      *via.mutable_route_key() = key(label);
      via.set_nexthop_group("core");
      via.set_label_action(rpc::MPLS_ACTIONS_SWAP);
      via.mutable_pushswap_label()->set_label(200);
      return response;
   }
   static std::string keyJson(uint32_t label, uint32_t metric = 0) {
      return R"({"route_key":{"labels":[{"label":)" + std::to_string(label) + R"(}],"metric":)" +
             std::to_string(metric) + "}}";
   }
   // A label with metric 3 that hardware forwards by FEC 9.
   void serveOneRoute() {
      rpc::MplsRouteMetricResponse metric;
      metric.set_metric(3);
      rpc::MplsRouteExistsResponse exists;
      exists.set_exists(true);
      rpc::MplsRouteFecIdResponse fec;
      fec.mutable_fec_id()->set_id(9);
      auto& mirror = server_.mirror;
      mirror.answer("MplsRouteMgrService/metric", rpc::MplsRouteMetricResponse());
      mirror.answerTo("MplsRouteMgrService/metric", keyJson(100), metric);
      mirror.answer("MplsRouteMgrService/exists", rpc::MplsRouteExistsResponse());
      mirror.answerTo("MplsRouteMgrService/exists", keyJson(100, 3), exists);
      mirror.answer("MplsRouteMgrService/fec_id", fec);
      mirror.answer("MplsRouteMgrService/mpls_route_vias", hop<rpc::MplsRouteViasResponse>(100),
                    group<rpc::MplsRouteViasResponse>(100));
      mirror.answer("MplsRouteMgrService/mpls_route_via_statuses",
                    hop<rpc::MplsRouteViaStatusesResponse>(100));
      server_.start();
   }
};

TEST_F(OrvctlMplsRoutes, listsRoutes) {
   server_.mirror.answer("MplsRouteMgrService/mpls_routes", route(100), route(101, 5));
   server_.start();
   EXPECT_EQ(orvctl({"mpls", "list"}).out,
             "LABELS  METRIC  VERSION\n"
             "100     0       0\n"
             "101     0       5\n");
   EXPECT_THAT(orvctl({"--json", "mpls", "list"}).out, HasSubstr(R"({"labels":"101","metric":0,"version":5})"
                                                                 "\n"));
   EXPECT_THAT(server_.mirror.requests(),
               ElementsAre("MplsRouteMgrService/mpls_routes {}", "MplsRouteMgrService/mpls_routes {}"));
}

TEST_F(OrvctlMplsRoutes, listsRoutesWithTheirVias) {
   server_.mirror.answer("MplsRouteMgrService/mpls_routes", route(100), route(101));
   server_.mirror.answer("MplsRouteMgrService/mpls_route_vias");
   auto& first = server_.mirror.answerTo("MplsRouteMgrService/mpls_route_vias", keyJson(100),
                                         hop<rpc::MplsRouteViasResponse>(100));
   first.replies.push_back(group<rpc::MplsRouteViasResponse>(100).SerializeAsString());
   server_.start();
   EXPECT_EQ(orvctl({"mpls", "list", "--vias"}).out,
             "LABELS  METRIC  VERSION  VIAS\n"
             "100     0       0        10.1.0.1 Ethernet1 pop, group core swap 200\n"
             "101     0       0\n");
   const std::string json = orvctl({"--json", "mpls", "list", "--vias"}).out;
   const auto one = nlohmann::json::parse(json.substr(0, json.find('\n')));
   EXPECT_EQ(one["vias"][0]["hop"], "10.1.0.1");
   EXPECT_EQ(one["vias"][1]["nexthop_group"], "core");
   EXPECT_THAT(json, HasSubstr(R"({"labels":"101","metric":0,"version":0,"vias":[]})"));
}

TEST_F(OrvctlMplsRoutes, aViaListThatFailsEndsTheList) {
   server_.mirror.answer("MplsRouteMgrService/mpls_routes", route(100));
   server_.mirror.answer("MplsRouteMgrService/mpls_route_vias").end =
        grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, "no");
   server_.start();
   const Result result = orvctl({"mpls", "list", "--vias"});
   EXPECT_EQ(result.code, 1);
   EXPECT_THAT(result.err, HasSubstr("MplsRouteMgrService/mpls_route_vias"));
}

TEST_F(OrvctlMplsRoutes, statusOfThoseInHardware) {
   rpc::MplsRouteStatusesResponse response;
   *response.mutable_status()->mutable_key() = key(100, 3);
   response.mutable_status()->mutable_key()->add_labels()->set_label(200);
   response.mutable_status()->mutable_fec_id()->set_id(9);
   response.mutable_status()->set_hw_version_id(5);
   server_.mirror.answer("MplsRouteMgrService/mpls_route_statuses", response);
   server_.mirror.answer("MplsRouteMgrService/mpls_route_via_statuses",
                         group<rpc::MplsRouteViaStatusesResponse>(100));
   server_.start();
   EXPECT_EQ(orvctl({"mpls", "status"}).out,
             "LABELS   METRIC  FEC  VERSION\n"
             "100/200  3       9    5\n");
   EXPECT_EQ(orvctl({"mpls", "status", "--vias"}).out,
             "LABELS   METRIC  FEC  VERSION  VIAS\n"
             "100/200  3       9    5        group core swap 200\n");
   EXPECT_EQ(orvctl({"--json", "mpls", "status"}).out,
             "{\"labels\":\"100/200\",\"metric\":3,\"fec\":9,\"version\":5}\n");
}

TEST_F(OrvctlMplsRoutes, getsRoutesAsConfiguredAndInHardware) {
   serveOneRoute();
   const Result result = orvctl({"mpls", "get", "100", "101/102"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.out,
             "100: metric 3, FEC 9\n"
             "  configured: 10.1.0.1 Ethernet1 pop\n"
             "  configured: group core swap 200\n"
             "  in hardware: 10.1.0.1 Ethernet1 pop\n");
   EXPECT_EQ(result.err, "101/102: there is no such route\n");
   const auto json = nlohmann::json::parse(orvctl({"--json", "mpls", "get", "100"}).out);
   EXPECT_EQ(json["labels"], "100");
   EXPECT_EQ(json["fec"], 9);
   EXPECT_EQ(json["vias"].size(), 2U);
   EXPECT_EQ(json["hardware_vias"].size(), 1U);
}

TEST_F(OrvctlMplsRoutes, aRouteThatHardwareDoesNotHave) {
   rpc::MplsRouteExistsResponse exists;
   exists.set_exists(true);
   server_.mirror.answer("MplsRouteMgrService/exists", exists);
   server_.mirror.answer("MplsRouteMgrService/fec_id", rpc::MplsRouteFecIdResponse());
   server_.mirror.answer("MplsRouteMgrService/mpls_route_vias");
   server_.mirror.answer("MplsRouteMgrService/mpls_route_via_statuses");
   server_.start();
   // With a metric, the smallest one is not asked for.
   EXPECT_EQ(orvctl({"mpls", "get", "100", "--metric", "0"}).out, "100: metric 0, not in hardware\n");
   EXPECT_EQ(server_.mirror.requests().front(), "MplsRouteMgrService/exists " + keyJson(100));
}

TEST_F(OrvctlMplsRoutes, viasOfOneRoute) {
   serveOneRoute();
   EXPECT_EQ(orvctl({"mpls", "vias", "100"}).out,
             "LABELS  METRIC  VIA\n"
             "100     3       10.1.0.1 Ethernet1 pop\n"
             "100     3       group core swap 200\n");
   EXPECT_THAT(server_.mirror.requests(), Contains("MplsRouteMgrService/mpls_route_vias " + keyJson(100, 3)));
   const auto json =
        nlohmann::json::parse(orvctl({"--json", "mpls", "vias", "100", "--hardware", "--metric", "7"}).out);
   EXPECT_EQ(json["metric"], 7);
   EXPECT_EQ(json["via"]["intf"]["name"], "Ethernet1");
   EXPECT_EQ(server_.mirror.requests().back(),
             "MplsRouteMgrService/mpls_route_via_statuses " + keyJson(100, 7));
}

TEST_F(OrvctlMplsRoutes, badLabelsAndMetricsAreRefused) {
   server_.start();
   EXPECT_EQ(orvctl({"mpls", "get"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "vias", "100", "101"}).code, 2);
   EXPECT_EQ(orvctl({"mpls", "get", "100", "--metric", "256"}).code, 2);
   const Result result = orvctl({"mpls", "get", "100", "1048576"});
   EXPECT_EQ(result.code, 2);
   EXPECT_EQ(result.err, "orvctl: LABEL is '1048576', expected a number from 0 to 1048575\n");
   EXPECT_TRUE(server_.mirror.requests().empty());
}

TEST_F(OrvctlMplsRoutes, watchesAndAcknowledgements) {
   rpc::MplsRouteWatchResponse gone;
   *gone.mutable_on_mpls_route_del()->mutable_route_key() = key(100);
   rpc::MplsIntegratedAckResponse done;
   auto& info = *done.mutable_mpls_route_via_set_version_info();
   *info.mutable_route_key() = key(100);
   info.set_version_id(5);
   server_.mirror.answer("MplsRouteMgrService/watch", gone).held = true;
   server_.mirror.answer("MplsRouteMgrService/watch_mpls_integrated", done).held = true;
   server_.start();
   EXPECT_THAT(orvctl({"mpls", "watch", "--label", "100", "-n", "1"}).out, HasSubstr("mpls_route_del="));
   EXPECT_EQ(server_.mirror.requests().back(),
             R"(MplsRouteMgrService/watch {"route_key":{"labels":[{"label":100}],"metric":0},"ack":false})");
   EXPECT_THAT(orvctl({"mpls", "acks", "-n", "1"}).out, HasSubstr(R"("version_id":5)"));
   EXPECT_THAT(test::runWith({"watch", "mpls", "--help"}).out, HasSubstr("'orvctl mpls get NAME'"));
}

}  // namespace
}  // namespace orvctl
