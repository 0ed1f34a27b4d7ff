#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/ip_route.pb.h"
#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::HasSubstr;
namespace rpc = orv::remote;

class OrvctlRoutes : public test::Orvctl {
protected:
   static rpc::IpRoute ipRoute(char first = 10) {
      rpc::IpRoute route;
      route.mutable_key()->mutable_prefix()->set_network(std::string{first, 0, 0, 0});
      route.mutable_key()->mutable_prefix()->set_prefix_length(8);
      route.mutable_key()->set_preference(1);
      route.set_tag(7);
      return route;
   }
   static rpc::IpRouteVia hop() {
      rpc::IpRouteVia via;
      *via.mutable_route_key() = ipRoute().key();
      via.set_hop(std::string{10, 1, 0, 1});
      via.mutable_intf()->set_name("Ethernet1");
      via.set_mpls_label(1048576);
      via.set_weight(2);
      return via;
   }
   static rpc::IpRouteVia tunnel() {
      rpc::IpRouteVia via;
      *via.mutable_route_key() = ipRoute().key();
      via.set_mpls_label(100);
      via.set_vni(5);
      via.set_vtep_addr(std::string{10, 2, 0, 1});
      via.set_router_mac(std::string{2, 0, 0, 0, 0, 1});
      via.set_egress_vrf("red");
      via.set_metric(3);
      via.mutable_vxlan_intf()->set_name("Vxlan1");
      via.set_vtep_sip_validation(true);
      return via;
   }
   static rpc::IpRoutesResponse row(const rpc::IpRoute& route) {
      rpc::IpRoutesResponse response;
      *response.mutable_route() = route;
      return response;
   }
   static rpc::IpRoutesResponse row(const rpc::IpRouteVia& via) {
      rpc::IpRoutesResponse response;
      *response.mutable_via() = via;
      return response;
   }
   static rpc::IpRouteViasResponse viaOf(const rpc::IpRouteVia& via) {
      rpc::IpRouteViasResponse response;
      *response.mutable_via() = via;
      return response;
   }
   std::string lastRequest() { return server_.mirror.requests().back(); }

   static constexpr char tunnelText_[] =
        "label 100 vni 5 vtep 10.2.0.1 router-mac 02:00:00:00:00:01 egress-vrf red metric 3 vxlan Vxlan1 "
        "sip-validation";
};

TEST_F(OrvctlRoutes, listsRoutes) {
   server_.mirror.answer("IpRouteMgrService/ip_routes", row(ipRoute()), row(ipRoute(11)));
   server_.start();
   EXPECT_EQ(orvctl({"route", "list"}).out,
             "PREFIX      PREFERENCE  TAG\n"
             "10.0.0.0/8  1           7\n"
             "11.0.0.0/8  1           7\n");
   EXPECT_THAT(
        orvctl({"--json", "route", "list"}).out,
        HasSubstr(R"({"prefix":"10.0.0.0/8","preference":1,"tag":7,"rib_bypass":false,"command_tag":""})"
                  "\n"));
}

TEST_F(OrvctlRoutes, listsRoutesWithTheirVias) {
   auto response = row(ipRoute());
   *response.add_vias() = hop();
   *response.add_vias() = tunnel();
   server_.mirror.answer("IpRouteMgrService/ip_routes", response, row(ipRoute(11)));
   server_.start();
   const Result result = orvctl({"route", "list", "--vias"});
   EXPECT_THAT(result.out, HasSubstr("10.0.0.0/8  1           7    10.1.0.1 Ethernet1 weight 2, " +
                                     std::string(tunnelText_) + "\n"));
   EXPECT_THAT(result.out, HasSubstr("11.0.0.0/8  1           7\n"));
   EXPECT_THAT(lastRequest(), HasSubstr(R"("include_vias":false,"vias_only":false,"embed_vias":true})"));
   const std::string json = orvctl({"--json", "route", "list", "--vias"}).out;
   const auto first = nlohmann::json::parse(json.substr(0, json.find('\n')));
   EXPECT_EQ(first["vias"][0]["hop"], "10.1.0.1");
   EXPECT_EQ(first["vias"][1]["vni"], 5);
   EXPECT_THAT(json, HasSubstr(R"("prefix":"11.0.0.0/8","preference":1,"tag":7,"rib_bypass":false,)"
                               R"("command_tag":"","vias":[]})"));
}

TEST_F(OrvctlRoutes, listsVias) {
   server_.mirror.answer("IpRouteMgrService/ip_routes", row(hop()), row(tunnel()));
   server_.start();
   EXPECT_EQ(orvctl({"route", "list", "--vias-only"}).out,
             "PREFIX      PREFERENCE  VIA\n"
             "10.0.0.0/8  1           10.1.0.1 Ethernet1 weight 2\n"
             "10.0.0.0/8  1           " +
                  std::string(tunnelText_) + "\n");
   EXPECT_THAT(lastRequest(), HasSubstr(R"("include_vias":true,"vias_only":true,"embed_vias":false})"));
   const std::string json = orvctl({"--json", "route", "list", "--vias-only"}).out;
   EXPECT_EQ(nlohmann::json::parse(json.substr(0, json.find('\n')))["via"]["intf"]["name"], "Ethernet1");
   EXPECT_EQ(orvctl({"route", "list", "--vias", "--vias-only"}).code, 2);
}

TEST_F(OrvctlRoutes, filtersTheList) {
   server_.mirror.answer("IpRouteMgrService/ip_routes");
   server_.start();
   const auto requestOf = [&](std::vector<std::string> flags) {
      flags.insert(flags.begin(), {"route", "list"});
      EXPECT_EQ(orvctl(flags).code, 0);
      return lastRequest();
   };
   EXPECT_EQ(requestOf({}), R"(IpRouteMgrService/ip_routes {"vrf_name":"","vni":0,"vtep_addr":"",)"
                            R"("include_vias":false,"vias_only":false,"embed_vias":false})");
   EXPECT_THAT(requestOf({"--vrf", "all"}), HasSubstr(R"({"vrf_name":"all",)"));
   EXPECT_THAT(requestOf({"--vni", "5"}), HasSubstr(R"("vni":5,)"));
   EXPECT_THAT(requestOf({"--vxlan-intf", "Vxlan1"}), HasSubstr(R"("vxlan_intf_id":{"name":"Vxlan1"},)"));
   EXPECT_THAT(requestOf({"--vtep", "10.2.0.1"}), HasSubstr(R"("vtep_addr":"10.2.0.1",)"));
   EXPECT_EQ(orvctl({"route", "list", "--vtep", "10.2"}).code, 2);
   EXPECT_EQ(orvctl({"route", "list", "--vni", "0"}).code, 2);
}

TEST_F(OrvctlRoutes, getsRoutesWithTheirVias) {
   rpc::IpRouteResponse found;
   *found.mutable_ip_route() = ipRoute();
   found.mutable_ip_route()->set_rib_bypass(true);
   found.mutable_ip_route()->set_command_tag("commands");
   const std::string key =
        R"({"vrf_name":"red","key":{"prefix":{"network":"10.0.0.0","prefix_length":8},"preference":9}})";
   server_.mirror.answerTo("IpRouteMgrService/ip_route", key, found);
   server_.mirror.answer("IpRouteMgrService/ip_route", rpc::IpRouteResponse());
   server_.mirror.answer("IpRouteMgrService/ip_route_vias", viaOf(hop()), viaOf(tunnel()));
   server_.start();
   const Result result =
        orvctl({"route", "get", "10.0.0.0/8", "2001:db8::/32", "--vrf", "red", "--preference", "9"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.out,
             "10.0.0.0/8: preference 1, tag 7, bypasses the RIB, command tag commands\n"
             "  10.1.0.1 Ethernet1 weight 2\n"
             "  " +
                  std::string(tunnelText_) + "\n");
   EXPECT_EQ(result.err, "2001:db8::/32: there is no such route\n");
   EXPECT_THAT(server_.mirror.requests(), testing::Contains("IpRouteMgrService/ip_route_vias " + key));
   const auto json = nlohmann::json::parse(
        orvctl({"--json", "route", "get", "10.0.0.0/8", "--vrf", "red", "--preference", "9"}).out);
   EXPECT_EQ(json["tag"], 7);
   EXPECT_EQ(json["rib_bypass"], true);
   EXPECT_EQ(json["vias"].size(), 2U);
   EXPECT_EQ(json["vias"][0]["hop"], "10.1.0.1");
   EXPECT_EQ(orvctl({"route", "get"}).code, 2);
   EXPECT_EQ(orvctl({"route", "get", "10.0.0.1/8"}).code, 2);
   EXPECT_EQ(orvctl({"route", "get", "10.0.0.0/8", "--preference", "256"}).code, 2);
}

TEST_F(OrvctlRoutes, viasOfOneRoute) {
   server_.mirror.answer("IpRouteMgrService/ip_route_vias", viaOf(hop()));
   server_.start();
   EXPECT_EQ(orvctl({"route", "vias", "10.0.0.0/8"}).out,
             "PREFIX      PREFERENCE  VIA\n"
             "10.0.0.0/8  1           10.1.0.1 Ethernet1 weight 2\n");
   EXPECT_EQ(
        lastRequest(),
        R"(IpRouteMgrService/ip_route_vias {"vrf_name":"","key":{"prefix":{"network":"10.0.0.0","prefix_length":8},"preference":1}})");
   EXPECT_EQ(orvctl({"route", "vias", "10.0.0.0/8", "11.0.0.0/8"}).code, 2);
}

}  // namespace
}  // namespace orvctl
