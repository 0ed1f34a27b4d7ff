#include "OrvSdkRpc/mirror/IpRoutesAdapter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/types/Addresses.h"
#include "RouteValues.h"
#include "testing/mock/MockIpRouteMgr.h"
#include "testing/mock/MockVrfMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orvtest::iterOver;
using testing::A;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;

class IpRoutesAdapterTest : public testing::Test {
protected:
   using Vias = std::vector<orv::ip_route_via_t>;
   using Rows = std::vector<std::string>;

   IpRoutesAdapterTest() {
      ON_CALL(mgr_, ip_route_iter()).WillByDefault([this] { return routesOf("default"); });
      ON_CALL(mgr_, ip_route_iter(A<const std::string&>())).WillByDefault([this](const std::string& vrf) {
         return routesOf(vrf);
      });
      ON_CALL(mgr_, ip_route_via_iter(A<const orv::ip_route_key_t&>(), A<const std::string&>()))
           .WillByDefault([this](const orv::ip_route_key_t& key, const std::string& vrf) {
              ++lookUps_;
              return iterOver<orv::ip_route_via_iter_t>(table_[vrf][key]);
           });
      ON_CALL(vrfMgr_, vrf_iter()).WillByDefault([this] {
         std::vector<std::string> names;
         for (const auto& [name, routes] : table_) {
            if (name != "default") names.push_back(name);
         }
         return iterOver<orv::vrf_iter_t>(names);
      });
   }

   static orv::ip_route_via_t tunnel(std::uint32_t vni, const std::string& intf, const std::string& vtep) {
      orv::ip_route_via_t via;
      via.vni_is(vni);
      via.vxlan_intf_is(orv::intf_id_t(intf));
      via.vtep_addr_is(orv::ip_addr_t(vtep));
      return via;
   }
   static std::string bytesOf(std::string_view address) {
      return types::ip_addr_bytes(orv::ip_addr_t(address));
   }
   void add(const std::string& prefix, Vias vias, const std::string& vrf = "default") {
      for (auto& via : vias)
         via.route_key_is(routeKey(prefix));
      table_[vrf][routeKey(prefix)] = std::move(vias);
   }

   // What is sent, in short form: "10.0.0.0/8", "10.0.0.0/8 [5 6]" with the VNIs of embedded vias, and
   // "via 5" with that of a via.
   static std::string shown(const remote::IpRoutesResponse& response) {
      if (response.has_via()) {
         EXPECT_TRUE(response.vias().empty());
         return "via " + std::to_string(response.via().vni());
      }
      EXPECT_TRUE(response.has_route());
      std::string text = types::convert(response.route()).key().to_string();
      for (int i = 0; i < response.vias_size(); ++i)
         text += (i == 0 ? " [" : " ") + std::to_string(response.vias(i).vni());
      return response.vias().empty() ? text : text + "]";
   }
   Rows rows(const remote::IpRoutesRequest& request) {
      Rows sent;
      for (auto it = IpRoutesAdapter::iterator(request, service_); found(it); ++it)
         sent.push_back(shown(IpRoutesAdapter::convert(*it)));
      return sent;
   }
   static bool found(IpRoutesAdapter::Iterator& it) {
      while (it.searching()) {
         EXPECT_FALSE(it);
         it.search();
      }
      return static_cast<bool>(it);
   }

   // Three routes with two vias each, and one without; their VNIs say which.
   void addUsualRoutes() {
      add("10.0.0.0/8", {tunnel(11, "Vxlan1", "192.0.2.1"), tunnel(12, "Vxlan2", "198.51.100.2")});
      add("11.0.0.0/8", {tunnel(21, "Vxlan1", "2001:db8::1"), tunnel(22, "", "")});
      add("12.0.0.0/8", {tunnel(12, "Vxlan1", "192.0.2.3"), tunnel(31, "Vxlan2", "192.0.2.1")});
      add("13.0.0.0/8", {});
   }

   std::map<std::string, std::map<orv::ip_route_key_t, Vias>> table_;
   int lookUps_ = 0;
   testing::NiceMock<orvtest::MockIpRouteMgr> mgr_;
   testing::NiceMock<orvtest::MockVrfMgr> vrfMgr_;
   const IpRouteService service_{&mgr_, &vrfMgr_};

private:
   orv::ip_route_iter_t routesOf(const std::string& vrf) {
      std::vector<orv::ip_route_t> routes;
      for (const auto& [key, vias] : table_[vrf])
         routes.emplace_back(key);
      return iterOver<orv::ip_route_iter_t>(std::move(routes));
   }
};

// Every combination of the three flags, with a filter and without.
TEST_F(IpRoutesAdapterTest, theFlagsSayWhatOfARouteIsSent) {
   addUsualRoutes();
   const Rows routes{"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8", "13.0.0.0/8"};
   const Rows routesAndVias{"10.0.0.0/8", "via 11",     "via 12", "11.0.0.0/8", "via 21",
                            "via 22",     "12.0.0.0/8", "via 12", "via 31",     "13.0.0.0/8"};
   const Rows vias{"via 11", "via 12", "via 21", "via 22", "via 12", "via 31"};
   const Rows embedded{"10.0.0.0/8 [11 12]", "11.0.0.0/8 [21 22]", "12.0.0.0/8 [12 31]", "13.0.0.0/8"};
   const Rows matching{"10.0.0.0/8", "12.0.0.0/8"};
   const Rows matchingAndVias{"10.0.0.0/8", "via 11", "via 12", "12.0.0.0/8", "via 12", "via 31"};
   const Rows matchingVias{"via 11", "via 12", "via 12", "via 31"};
   const Rows matchingEmbedded{"10.0.0.0/8 [11 12]", "12.0.0.0/8 [12 31]"};
   struct {
      bool include, only, embed;
      Rows all, filtered;
   } const cases[] = {
        {false, false, false, routes, matching},
        {true, false, false, routesAndVias, matchingAndVias},
        {false, true, false, {}, {}},
        {true, true, false, vias, matchingVias},
        {false, false, true, embedded, matchingEmbedded},
        {true, false, true, embedded, matchingEmbedded},
        {false, true, true, embedded, matchingEmbedded},
        {true, true, true, embedded, matchingEmbedded},
   };
   for (const auto& each : cases) {
      remote::IpRoutesRequest request;
      request.set_include_vias(each.include);
      request.set_vias_only(each.only);
      request.set_embed_vias(each.embed);
      EXPECT_EQ(rows(request), each.all) << request.ShortDebugString();
      request.set_vni(12);
      EXPECT_EQ(rows(request), each.filtered) << request.ShortDebugString();
   }
}

TEST_F(IpRoutesAdapterTest, withoutAFilterNoViaIsRead) {
   addUsualRoutes();
   EXPECT_EQ(rows({}).size(), 4U);
   EXPECT_EQ(lookUps_, 0);
}

TEST_F(IpRoutesAdapterTest, embeddedViasAreReadOnce) {
   addUsualRoutes();
   remote::IpRoutesRequest request;
   request.set_embed_vias(true);
   request.set_vni(12);
   EXPECT_EQ(rows(request).size(), 2U);
   EXPECT_EQ(lookUps_, 4);
}

TEST_F(IpRoutesAdapterTest, theViasOfARouteThatDoesNotMatchAreNotReadAgain) {
   addUsualRoutes();
   remote::IpRoutesRequest request;
   request.set_include_vias(true);
   request.set_vni(99);
   EXPECT_THAT(rows(request), IsEmpty());
   EXPECT_EQ(lookUps_, 4);
}

TEST_F(IpRoutesAdapterTest, eachFilterLooksAtItsField) {
   addUsualRoutes();
   remote::IpRoutesRequest request;
   request.set_vni(21);
   EXPECT_THAT(rows(request), ElementsAre("11.0.0.0/8"));
   request = {};
   request.mutable_vxlan_intf_id()->set_name("Vxlan2");
   EXPECT_THAT(rows(request), ElementsAre("10.0.0.0/8", "12.0.0.0/8"));
   // An interface without a name is that of a via without one.
   request.mutable_vxlan_intf_id()->clear_name();
   EXPECT_THAT(rows(request), ElementsAre("11.0.0.0/8"));
   request = {};
   request.set_vtep_addr(bytesOf("192.0.2.1"));
   EXPECT_THAT(rows(request), ElementsAre("10.0.0.0/8", "12.0.0.0/8"));
   request.set_vtep_addr(bytesOf("192.0.2.3"));
   EXPECT_THAT(rows(request), ElementsAre("12.0.0.0/8"));
}

TEST_F(IpRoutesAdapterTest, oneViaMustPassEveryFilter) {
   addUsualRoutes();
   remote::IpRoutesRequest request;
   // Each route has a via with either, but only one has a via with both.
   request.set_vni(12);
   request.mutable_vxlan_intf_id()->set_name("Vxlan1");
   EXPECT_THAT(rows(request), ElementsAre("12.0.0.0/8"));
   request.set_vtep_addr(bytesOf("192.0.2.1"));
   EXPECT_THAT(rows(request), IsEmpty());
   request.set_vtep_addr(bytesOf("192.0.2.3"));
   EXPECT_THAT(rows(request), ElementsAre("12.0.0.0/8"));
}

TEST_F(IpRoutesAdapterTest, anAddressIsComparedAsFarAsTheFilterGoes) {
   addUsualRoutes();
   remote::IpRoutesRequest request;
   const auto matching = [&](const std::string& bytes) {
      request.set_vtep_addr(bytes);
      return rows(request);
   };
   const std::string v4 = bytesOf("192.0.2.1");
   EXPECT_THAT(matching(v4.substr(0, 1)), ElementsAre("10.0.0.0/8", "12.0.0.0/8"));
   EXPECT_THAT(matching(bytesOf("198.51.100.2").substr(0, 3)), ElementsAre("10.0.0.0/8"));
   EXPECT_THAT(matching(v4 + std::string(1, '\0')), ElementsAre("10.0.0.0/8", "12.0.0.0/8"));
   EXPECT_THAT(matching(v4 + "1"), IsEmpty());
   const std::string whole = bytesOf("2001:db8::1");
   EXPECT_THAT(matching(whole), ElementsAre("11.0.0.0/8"));
   EXPECT_THAT(matching(whole.substr(0, 4)), ElementsAre("11.0.0.0/8"));
   // Longer than any address.
   EXPECT_THAT(matching(whole + std::string(1, '\0')), IsEmpty());
   EXPECT_THAT(matching(std::string(1 << 20, '\0')), IsEmpty());
   // A via without an endpoint has an address of zeros.
   EXPECT_THAT(matching(std::string(4, '\0')), ElementsAre("11.0.0.0/8"));
}

TEST_F(IpRoutesAdapterTest, filtersApplyInEveryVrf) {
   addUsualRoutes();
   add("10.0.0.0/8", {tunnel(12, "", "")}, "red");
   add("10.0.0.0/8", {tunnel(13, "", "")}, "blue");
   add("20.0.0.0/8", {tunnel(13, "", ""), tunnel(12, "", "")}, "blue");
   remote::IpRoutesRequest request;
   request.set_vrf_name("all");
   request.set_include_vias(true);
   request.set_vni(12);
   EXPECT_THAT(rows(request), ElementsAre("10.0.0.0/8", "via 11", "via 12", "12.0.0.0/8", "via 12", "via 31",
                                          "20.0.0.0/8", "via 13", "via 12", "10.0.0.0/8", "via 12"));
   request.set_vrf_name("blue");
   EXPECT_THAT(rows(request), ElementsAre("20.0.0.0/8", "via 13", "via 12"));
   request.set_vrf_name("unknown");
   EXPECT_THAT(rows(request), IsEmpty());
}

TEST_F(IpRoutesAdapterTest, eachFailedFilterIsTraced) {
   add("10.0.0.0/8",
       {tunnel(1, "Vxlan1", "192.0.2.1"), tunnel(2, "Vxlan9", "192.0.2.1"), tunnel(2, "Vxlan1", "192.0.2.9"),
        tunnel(2, "Vxlan1", "192.0.2.1"), tunnel(3, "Vxlan1", "192.0.2.1")});
   add("11.0.0.0/8", {});
   remote::IpRoutesRequest request;
   request.set_vni(2);
   request.mutable_vxlan_intf_id()->set_name("Vxlan1");
   request.set_vtep_addr(bytesOf("192.0.2.1"));
   {
      const orvtest::TraceCapture traces("IpRoute/9");
      EXPECT_THAT(rows(request), ElementsAre("10.0.0.0/8"));
      // Nothing of the last via: the one in front of it passed.
      EXPECT_EQ(traces.texts(), (Rows{"VNI 1 does not match 2", "VXLAN intf Vxlan9 does not match Vxlan1",
                                      "VTEP address mismatch", "no vias to match filters"}));
      EXPECT_EQ(traces.countAt(9), 4U);
   }
   const orvtest::TraceCapture traces("IpRoute/0-8");
   rows(request);
   EXPECT_THAT(traces.texts(), IsEmpty());
}

TEST_F(IpRoutesAdapterTest, messagesCarryEveryField) {
   orv::ip_route_t route = routeTo("10.0.0.0/8", 7);
   route.rib_bypass_is(true);
   route.command_tag_is("commands");
   EXPECT_CALL(mgr_, ip_route_iter()).WillRepeatedly(Return(iterOver<orv::ip_route_iter_t>({route})));
   add("10.0.0.0/8", {tunnel(5, "Vxlan1", "192.0.2.1")});
   const auto via = table_["default"][routeKey("10.0.0.0/8")].front();
   remote::IpRoutesRequest request;
   request.set_embed_vias(true);
   const auto response = IpRoutesAdapter::convert(*IpRoutesAdapter::iterator(request, service_));
   EXPECT_EQ(types::convert(response.route()), route);
   ASSERT_EQ(response.vias_size(), 1);
   EXPECT_EQ(types::convert(response.vias(0)), via);
   request = {};
   request.set_include_vias(true);
   request.set_vias_only(true);
   EXPECT_EQ(types::convert(IpRoutesAdapter::convert(*IpRoutesAdapter::iterator(request, service_)).via()),
             via);
}

TEST_F(IpRoutesAdapterTest, aLongSearchIsInterruptedAndContinues) {
   std::vector<orv::ip_route_t> routes(200'000, routeTo("10.0.0.0/8"));
   routes.push_back(routeTo("11.0.0.0/8"));
   EXPECT_CALL(mgr_, ip_route_iter())
        .WillOnce(Return(iterOver<orv::ip_route_iter_t>({})))
        .WillOnce(Return(iterOver<orv::ip_route_iter_t>(std::move(routes))));
   add("11.0.0.0/8", {tunnel(5, "", "")});
   remote::IpRoutesRequest request;
   request.set_vni(5);
   request.set_include_vias(true);
   EXPECT_FALSE(IpRoutesAdapter::iterator(request, service_).searching());
   auto it = IpRoutesAdapter::iterator(request, service_);
   // A search through so many routes takes more than a millisecond.
   ASSERT_TRUE(it.searching());
   ASSERT_TRUE(found(it));
   EXPECT_EQ(shown(IpRoutesAdapter::convert(*it)), "11.0.0.0/8");
   ASSERT_TRUE(found(++it));
   EXPECT_EQ(shown(IpRoutesAdapter::convert(*it)), "via 5");
   EXPECT_FALSE(found(++it));
   EXPECT_FALSE(it.searching());
}

}  // namespace
}  // namespace OrvSdkRpc
