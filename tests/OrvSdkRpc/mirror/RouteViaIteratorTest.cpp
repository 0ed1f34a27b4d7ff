#include "OrvSdkRpc/mirror/RouteViaIterator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OrvSdkRpc/mirror/IpRouteService.h"
#include "RouteValues.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/vrf_mgr.h"
#include "testing/mock/MockIpRouteMgr.h"
#include "testing/mock/MockVrfMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/softswitch/SwitchFixture.h"

namespace OrvSdkRpc {
namespace {

using orvtest::iterOver;
using testing::ElementsAre;
using testing::InSequence;
using testing::IsEmpty;
using testing::Return;
using Texts = std::vector<std::string>;

// An item in short form: "default 10.0.0.0/8", with embedded vias "default 10.0.0.0/8 [192.0.2.1]", and
// "via 192.0.2.1".
std::string shownItem(const RouteViaIterator::Item& item) {
   const auto hopOf = [](const orv::ip_route_via_t& via) { return via.hop().to_string(); };
   if (const auto* const via = std::get_if<orv::ip_route_via_t>(&item)) return "via " + hopOf(*via);
   const auto& route = std::get<RouteViaIterator::Route>(item);
   std::string text = route.vrfName + " " + route.route.key().to_string();
   if (route.vias) {
      text += " [";
      for (const auto& via : *route.vias)
         text += (text.back() == '[' ? "" : " ") + hopOf(via);
      text += "]";
   }
   return text;
}
Texts shownItems(RouteViaIterator it) {
   Texts texts;
   for (; it; ++it)
      texts.push_back(shownItem(*it));
   return texts;
}

// ---------------------------------------------------------------- the order of calls

class RouteViaIteratorTest : public testing::Test {
protected:
   static std::vector<orv::ip_route_t> routesTo(const std::vector<std::string>& prefixes) {
      std::vector<orv::ip_route_t> routes;
      for (const auto& prefix : prefixes)
         routes.push_back(routeTo(prefix));
      return routes;
   }
   void plainRoutesAre(const std::vector<std::string>& prefixes) {
      EXPECT_CALL(mgr_, ip_route_iter()).WillOnce(Return(iterOver<orv::ip_route_iter_t>(routesTo(prefixes))));
   }
   void routesAre(const std::string& vrf, const std::vector<std::string>& prefixes) {
      EXPECT_CALL(mgr_, ip_route_iter(vrf))
           .WillOnce(Return(iterOver<orv::ip_route_iter_t>(routesTo(prefixes))));
   }
   void vrfsAre(std::vector<std::string> names) {
      EXPECT_CALL(vrfMgr_, vrf_iter()).WillOnce(Return(iterOver<orv::vrf_iter_t>(std::move(names))));
   }
   void viasAre(const std::string& vrf, const std::string& prefix, const std::vector<std::string>& hops) {
      std::vector<orv::ip_route_via_t> vias;
      for (const auto& hop : hops)
         vias.push_back(hopVia(prefix, hop));
      EXPECT_CALL(mgr_, ip_route_via_iter(routeKey(prefix), vrf))
           .WillOnce(Return(iterOver<orv::ip_route_via_iter_t>(std::move(vias))));
   }

   testing::StrictMock<orvtest::MockIpRouteMgr> mgr_;
   testing::StrictMock<orvtest::MockVrfMgr> vrfMgr_;
   const IpRouteService service_{&mgr_, &vrfMgr_};
   const InSequence order_;
};

TEST_F(RouteViaIteratorTest, withoutAVrfThePlainIteratorIsWalked) {
   plainRoutesAre({"10.0.0.0/8", "11.0.0.0/8"});
   EXPECT_THAT(shownItems(RouteViaIterator(service_, "", {})),
               ElementsAre("default 10.0.0.0/8", "default 11.0.0.0/8"));
   plainRoutesAre({});
   EXPECT_FALSE(RouteViaIterator(service_, "", {}));
}

TEST_F(RouteViaIteratorTest, oneVrfIsWalkedByItsName) {
   for (const std::string vrf : {"red", "default"}) {
      routesAre(vrf, {"10.0.0.0/8"});
      EXPECT_THAT(shownItems(RouteViaIterator(service_, vrf, {})), ElementsAre(vrf + " 10.0.0.0/8"));
   }
   routesAre("unknown", {});
   EXPECT_FALSE(RouteViaIterator(service_, "unknown", {}));
}

TEST_F(RouteViaIteratorTest, allIsTheDefaultVrfAndThenEachOther) {
   plainRoutesAre({"10.0.0.0/8"});
   vrfsAre({"blue", "empty", "red"});
   routesAre("blue", {"9.0.0.0/8", "10.0.0.0/8"});
   routesAre("empty", {});
   routesAre("red", {"8.0.0.0/8"});
   EXPECT_THAT(shownItems(RouteViaIterator(service_, "all", {})),
               ElementsAre("default 10.0.0.0/8", "blue 9.0.0.0/8", "blue 10.0.0.0/8", "red 8.0.0.0/8"));
}

TEST_F(RouteViaIteratorTest, allBeginsAtTheFirstVrfWithRoutes) {
   plainRoutesAre({});
   vrfsAre({"blue", "red"});
   routesAre("blue", {});
   routesAre("red", {"10.0.0.0/8"});
   EXPECT_THAT(shownItems(RouteViaIterator(service_, "all", {})), ElementsAre("red 10.0.0.0/8"));

   plainRoutesAre({});
   vrfsAre({"blue"});
   routesAre("blue", {});
   EXPECT_FALSE(RouteViaIterator(service_, "all", {}));
   plainRoutesAre({});
   vrfsAre({});
   EXPECT_FALSE(RouteViaIterator(service_, "all", {}));
}

TEST_F(RouteViaIteratorTest, viasComeBehindTheirRoute) {
   plainRoutesAre({"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8"});
   viasAre("default", "10.0.0.0/8", {"192.0.2.1", "192.0.2.2"});
   viasAre("default", "11.0.0.0/8", {});
   viasAre("default", "12.0.0.0/8", {"192.0.2.3"});
   EXPECT_THAT(shownItems(RouteViaIterator(service_, "", {.includeVias = true})),
               ElementsAre("default 10.0.0.0/8", "via 192.0.2.1", "via 192.0.2.2", "default 11.0.0.0/8",
                           "default 12.0.0.0/8", "via 192.0.2.3"));
}

TEST_F(RouteViaIteratorTest, viasAreLookedUpInTheVrfOfTheirRoute) {
   plainRoutesAre({"10.0.0.0/8"});
   viasAre("default", "10.0.0.0/8", {"192.0.2.1"});
   vrfsAre({"red"});
   routesAre("red", {"10.0.0.0/8"});
   viasAre("red", "10.0.0.0/8", {"192.0.2.2"});
   EXPECT_THAT(shownItems(RouteViaIterator(service_, "all", {.includeVias = true})),
               ElementsAre("default 10.0.0.0/8", "via 192.0.2.1", "red 10.0.0.0/8", "via 192.0.2.2"));
   routesAre("red", {"10.0.0.0/8"});
   viasAre("red", "10.0.0.0/8", {});
   EXPECT_THAT(shownItems(RouteViaIterator(service_, "red", {.includeVias = true})),
               ElementsAre("red 10.0.0.0/8"));
}

TEST_F(RouteViaIteratorTest, embeddedViasAreReadWithTheirRouteAndDoNotComeAlone) {
   for (const bool includeVias : {false, true}) {
      plainRoutesAre({"10.0.0.0/8", "11.0.0.0/8"});
      viasAre("default", "10.0.0.0/8", {"192.0.2.1", "192.0.2.2"});
      viasAre("default", "11.0.0.0/8", {});
      EXPECT_THAT(shownItems(RouteViaIterator(service_, "", {.includeVias = includeVias, .embedVias = true})),
                  ElementsAre("default 10.0.0.0/8 [192.0.2.1 192.0.2.2]", "default 11.0.0.0/8 []"));
   }
}

TEST_F(RouteViaIteratorTest, nextRouteLeavesTheViasOut) {
   plainRoutesAre({"10.0.0.0/8", "11.0.0.0/8"});
   viasAre("default", "10.0.0.0/8", {"192.0.2.1", "192.0.2.2"});
   vrfsAre({"red"});
   routesAre("red", {"12.0.0.0/8"});
   RouteViaIterator it(service_, "all", {.includeVias = true});
   ++it;
   EXPECT_EQ(shownItem(*it), "via 192.0.2.1");
   it.nextRoute();
   EXPECT_EQ(shownItem(*it), "default 11.0.0.0/8");
   it.nextRoute();
   EXPECT_EQ(shownItem(*it), "red 12.0.0.0/8");
   it.nextRoute();
   EXPECT_FALSE(it);
}

// ---------------------------------------------------------------- changes between steps

class RouteViaIteratorOnASwitch : public softswitch::SwitchFixture {
protected:
   void SetUp() override {
      SwitchFixture::SetUp();
      for (const char* vrf : {"blue", "red"})
         sw().vrfs().vrfSet(vrf);
      service_ = std::make_unique<IpRouteService>(sw().get_ip_route_mgr(), sw().get_vrf_mgr());
   }

   void set(const std::string& prefix, const std::string& vrf, const std::vector<std::string>& hops = {}) {
      sw().ipRoutes().ip_route_set(OrvSdkRpc::routeTo(prefix), vrf);
      for (const auto& hop : hops)
         sw().ipRoutes().ip_route_via_set(OrvSdkRpc::hopVia(prefix, hop), vrf);
   }
   void del(const std::string& prefix, const std::string& vrf) {
      sw().ipRoutes().ip_route_del(routeKey(prefix), vrf);
   }
   RouteViaIterator begin(RouteViaIterator::Options options = {}, const std::string& vrf = "all") {
      return {*service_, vrf, options};
   }
   // The item at the position, then the next position.
   static std::string take(RouteViaIterator& it) {
      if (!it) return "end";
      const std::string text = shownItem(*it);
      ++it;
      return text;
   }

   std::unique_ptr<IpRouteService> service_;
};

TEST_F(RouteViaIteratorOnASwitch, routesOfThreeVrfsComeInOrder) {
   EXPECT_THAT(shownItems(begin()), IsEmpty());
   for (const char* vrf : {"red", "default", "blue"}) {
      set("11.0.0.0/8", vrf, {"192.0.2.1"});
      set("10.0.0.0/8", vrf);
   }
   EXPECT_THAT(shownItems(begin()), ElementsAre("default 10.0.0.0/8", "default 11.0.0.0/8", "blue 10.0.0.0/8",
                                                "blue 11.0.0.0/8", "red 10.0.0.0/8", "red 11.0.0.0/8"));
   EXPECT_THAT(shownItems(begin({.includeVias = true}, "red")),
               ElementsAre("red 10.0.0.0/8", "red 11.0.0.0/8", "via 192.0.2.1"));
   EXPECT_THAT(shownItems(begin({.embedVias = true}, "")),
               ElementsAre("default 10.0.0.0/8 []", "default 11.0.0.0/8 [192.0.2.1]"));
   EXPECT_THAT(shownItems(begin({}, "unknown")), IsEmpty());
}

TEST_F(RouteViaIteratorOnASwitch, routesThatComeAndGoBetweenSteps) {
   for (const char* vrf : {"default", "blue", "red"}) {
      set("10.0.0.0/8", vrf);
      set("12.0.0.0/8", vrf);
   }
   RouteViaIterator it = begin();
   set("11.0.0.0/8", "default");
   del("12.0.0.0/8", "default");
   EXPECT_EQ(take(it), "default 10.0.0.0/8");
   // The iterator holds this route already.
   del("11.0.0.0/8", "default");
   set("9.0.0.0/8", "default");
   EXPECT_EQ(take(it), "default 11.0.0.0/8");
   // Blue has begun, red has not.
   set("9.0.0.0/8", "blue");
   set("9.0.0.0/8", "red");
   EXPECT_EQ(take(it), "blue 10.0.0.0/8");
   EXPECT_EQ(take(it), "blue 12.0.0.0/8");
   EXPECT_EQ(take(it), "red 9.0.0.0/8");
   EXPECT_EQ(take(it), "red 10.0.0.0/8");
   EXPECT_EQ(take(it), "red 12.0.0.0/8");
   EXPECT_EQ(take(it), "end");
}

TEST_F(RouteViaIteratorOnASwitch, vrfsThatComeAndGoBetweenSteps) {
   for (const char* vrf : {"default", "blue", "red"})
      set("10.0.0.0/8", vrf);
   RouteViaIterator it = begin();
   // The next VRF is gone before it was reached, and a new one stands in its place.
   del("10.0.0.0/8", "blue");
   sw().vrfs().vrfDel("blue");
   sw().vrfs().vrfSet("green");
   set("10.0.0.0/8", "green");
   EXPECT_EQ(take(it), "default 10.0.0.0/8");
   // This one is gone while the iterator is in it.
   del("10.0.0.0/8", "green");
   sw().vrfs().vrfDel("green");
   sw().vrfs().vrfSet("amber");
   set("10.0.0.0/8", "amber");
   EXPECT_EQ(take(it), "green 10.0.0.0/8");
   EXPECT_EQ(take(it), "red 10.0.0.0/8") << "amber is in front of green";
   sw().vrfs().vrfSet("violet");
   set("10.0.0.0/8", "violet");
   EXPECT_EQ(take(it), "end");
}

TEST_F(RouteViaIteratorOnASwitch, aVrfThatIsMadeBehindTheLastIsReachedToo) {
   set("10.0.0.0/8", "red");
   RouteViaIterator it = begin();
   sw().vrfs().vrfSet("violet");
   set("10.0.0.0/8", "violet");
   EXPECT_EQ(take(it), "red 10.0.0.0/8");
   EXPECT_EQ(take(it), "violet 10.0.0.0/8");
   EXPECT_EQ(take(it), "end");
}

TEST_F(RouteViaIteratorOnASwitch, viasThatComeAndGoBetweenSteps) {
   set("10.0.0.0/8", "red", {"192.0.2.1", "192.0.2.2", "192.0.2.3"});
   set("11.0.0.0/8", "red", {"192.0.2.4"});
   set("12.0.0.0/8", "red", {"192.0.2.5", "192.0.2.6"});
   RouteViaIterator it = begin({.includeVias = true});
   auto& mgr = sw().ipRoutes();
   EXPECT_EQ(take(it), "red 10.0.0.0/8");
   mgr.ip_route_via_del(OrvSdkRpc::hopVia("10.0.0.0/8", "192.0.2.2"), "red");
   EXPECT_EQ(take(it), "via 192.0.2.1");
   EXPECT_EQ(take(it), "via 192.0.2.3");
   // The iterator holds this route already; its via is gone.
   del("11.0.0.0/8", "red");
   EXPECT_EQ(take(it), "red 11.0.0.0/8");
   EXPECT_EQ(take(it), "red 12.0.0.0/8");
   // The whole route is gone while its vias are yielded.
   del("12.0.0.0/8", "red");
   EXPECT_EQ(take(it), "via 192.0.2.5");
   EXPECT_EQ(take(it), "end");
}

TEST_F(RouteViaIteratorOnASwitch, embeddedViasOfARouteThatIsGoneAreNone) {
   set("10.0.0.0/8", "red", {"192.0.2.1"});
   RouteViaIterator it = begin({.embedVias = true});
   del("10.0.0.0/8", "red");
   EXPECT_EQ(take(it), "red 10.0.0.0/8 []");
   EXPECT_EQ(take(it), "end");
}

}  // namespace
}  // namespace OrvSdkRpc
