#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/fib.pb.h"
#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::HasSubstr;
namespace rpc = orv::remote;

class OrvctlFib : public test::Orvctl {
protected:
   static rpc::FibRoute fibRoute(char first) {
      rpc::FibRoute route;
      route.mutable_route_key()->mutable_prefix()->set_network(std::string{first, 0, 0, 0});
      route.mutable_route_key()->mutable_prefix()->set_prefix_length(8);
      route.set_preference(1);
      route.set_metric(20);
      route.set_route_type(rpc::FIB_ROUTE_TYPE_BGP_EXTERNAL);
      route.set_fec_id(7);
      return route;
   }
   static rpc::FibFec forwarding() {
      rpc::FibFec fec;
      fec.mutable_fec_key()->set_fec_id(7);
      fec.set_fec_type(rpc::FIB_FEC_TYPE_FORWARD);
      fec.add_via()->set_hop(std::string{10, 1, 0, 1});
      fec.mutable_via(0)->mutable_intf()->set_name("Ethernet1");
      fec.mutable_via(0)->mutable_mpls_label()->set_label(1048576);
      fec.add_via()->mutable_intf()->set_name("Ethernet2");
      fec.mutable_via(1)->mutable_mpls_label()->set_label(100);
      return fec;
   }
   static rpc::FibFec group() {
      rpc::FibFec fec;
      fec.mutable_fec_key()->set_fec_id(8);
      fec.set_fec_type(rpc::FIB_FEC_TYPE_NEXTHOP_GROUP);
      fec.set_nexthop_group_name("core");
      return fec;
   }
   template <typename Response>
   static Response routeIn(const rpc::FibRoute& route) {
      Response response;
      *response.mutable_fib_route() = route;
      return response;
   }
   template <typename Response>
   static Response fecIn(const rpc::FibFec& fec) {
      Response response;
      *response.mutable_fib_fec() = fec;
      return response;
   }
};

TEST_F(OrvctlFib, listsRoutes) {
   server_.mirror.answer("FibMgrService/fib_routes", routeIn<rpc::FibRoutesResponse>(fibRoute(10)),
                         routeIn<rpc::FibRoutesResponse>(fibRoute(11)));
   server_.start();
   EXPECT_EQ(orvctl({"fib", "routes"}).out,
             "PREFIX      PREFERENCE  METRIC  TYPE          FEC\n"
             "10.0.0.0/8  1           20      bgp_external  7\n"
             "11.0.0.0/8  1           20      bgp_external  7\n");
   EXPECT_THAT(orvctl({"--json", "fib", "routes"}).out,
               HasSubstr(R"({"prefix":"10.0.0.0/8","preference":1,"metric":20,"type":"bgp_external","fec":7})"
                         "\n"));
}

TEST_F(OrvctlFib, getsRoutesByPrefix) {
   server_.mirror.answer("FibMgrService/fib_route", rpc::FibRouteResponse());
   server_.mirror.answerTo("FibMgrService/fib_route",
                           R"({"key":{"prefix":{"network":"10.0.0.0","prefix_length":8}}})",
                           routeIn<rpc::FibRouteResponse>(fibRoute(10)));
   server_.start();
   const Result result = orvctl({"--json", "fib", "routes", "2001:db8::/32", "10.0.0.0/8"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(nlohmann::json::parse(result.out)["prefix"], "10.0.0.0/8");
   EXPECT_EQ(result.err, "2001:db8::/32: there is no such route\n");
   EXPECT_EQ(orvctl({"fib", "routes", "10.0.0.0/8"}).code, 0);
   EXPECT_EQ(orvctl({"fib", "routes", "10.0.0.1/8"}).code, 2);
   EXPECT_EQ(orvctl({"fib", "routes", "10.0.0.0/8", "x"}).code, 2);
   EXPECT_EQ(server_.mirror.requests().size(), 3U);
}

TEST_F(OrvctlFib, listsFecs) {
   server_.mirror.answer("FibMgrService/fib_fecs", fecIn<rpc::FibFecsResponse>(forwarding()),
                         fecIn<rpc::FibFecsResponse>(group()));
   server_.start();
   EXPECT_EQ(orvctl({"fib", "fecs"}).out,
             "FEC  TYPE           GROUP  VIAS\n"
             "7    forward               10.1.0.1 Ethernet1, Ethernet2 label 100\n"
             "8    nexthop_group  core\n");
   const std::string json = orvctl({"--json", "fib", "fecs"}).out;
   const auto first = nlohmann::json::parse(json.substr(0, json.find('\n')));
   EXPECT_EQ(first["vias"][0]["hop"], "10.1.0.1");
   EXPECT_EQ(first["vias"][1]["mpls_label"]["label"], 100);
   EXPECT_THAT(json, HasSubstr(R"({"fec":8,"type":"nexthop_group","group":"core","vias":[]})"));
}

TEST_F(OrvctlFib, getsFecsByNumber) {
   server_.mirror.answer("FibMgrService/fib_fec", rpc::FibFecResponse());
   server_.mirror.answerTo("FibMgrService/fib_fec", R"({"key":{"fec_id":"8"}})",
                           fecIn<rpc::FibFecResponse>(group()));
   server_.start();
   const Result result = orvctl({"fib", "fecs", "8", "9"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.out,
             "FEC  TYPE           GROUP  VIAS\n"
             "8    nexthop_group  core\n");
   EXPECT_EQ(result.err, "9: there is no such FEC\n");
   EXPECT_EQ(orvctl({"fib", "fecs", "0"}).code, 2);
   EXPECT_EQ(orvctl({"fib", "fecs", "8", "x"}).code, 2);
}

TEST_F(OrvctlFib, aServerWithoutTheServiceIsSaid) {
   server_.start();
   const Result result = orvctl({"fib", "routes"});
   EXPECT_EQ(result.code, 3);
   EXPECT_THAT(result.err, HasSubstr("FibMgrService/fib_routes"));
   EXPECT_THAT(test::runWith({"fib", "--help"}).out, HasSubstr("--fib"));
}

TEST_F(OrvctlFib, watchesChanges) {
   rpc::FibWatchResponse ack, gone;
   ack.set_ack(true);
   gone.mutable_on_fec_del()->set_fec_id(7);
   server_.mirror.answer("FibMgrService/watch", ack, gone).held = true;
   server_.start();
   EXPECT_EQ(orvctl({"fib", "watch", "--ack", "-n", "1"}).out, "# watching\nfec_del fec_id=7\n");
}

}  // namespace
}  // namespace orvctl
