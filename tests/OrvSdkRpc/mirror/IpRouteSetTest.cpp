#include "OrvSdkRpc/mirror/IpRouteSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "PanicCapture.h"
#include "RouteValues.h"
#include "orv/error.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/vrf_mgr.h"
#include "testing/mock/MockIpRouteMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/sdk/Refusal.h"
#include "testing/server/TraceCapture.h"
#include "testing/softswitch/SwitchFixture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orvtest::iterOver;
using orvtest::refusal;
using testing::A;
using testing::An;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::InSequence;
using testing::IsEmpty;
using testing::Return;
using testing::StartsWith;
using testing::Throw;
using Action = orv::ip_route_action_t;
using Via = orv::ip_route_via_t;
using ViaIter = orv::ip_route_via_iter_t;

constexpr const char* usualPrefix = "10.0.0.0/8";

Via hopTo(std::string_view hop, std::uint32_t weight = 0) {
   return hopVia(usualPrefix, hop, weight);
}

// ---------------------------------------------------------------- the order of calls

class IpRouteSetTest : public testing::Test {
protected:
   void set(const remote::IpRouteSetRequest& request) { ipRouteSetImpl(request, mgr_, tracer_); }
   std::string refused(const remote::IpRouteSetRequest& request) {
      return refusal([&] { set(request); });
   }
   static remote::IpRouteSetRequest inVrf(remote::IpRouteSetRequest request, const std::string& vrf) {
      request.set_vrf_name(vrf);
      return request;
   }
   static remote::IpRouteSetRequest withAction(remote::IpRouteSetRequest request, int action) {
      request.set_action(static_cast<remote::IpRouteActions>(action));
      return request;
   }
   // What the route has; the manager is asked in this VRF.
   void routeIs(const orv::ip_route_t& route, const std::string& vrf = "default") {
      EXPECT_CALL(mgr_, ip_route(route_.key(), vrf)).WillOnce(Return(route));
   }
   void viasAre(std::vector<Via> vias, const std::string& vrf = "default") {
      EXPECT_CALL(mgr_, ip_route_via_iter(route_.key(), vrf)).WillOnce(Return(iterOver<ViaIter>(vias)));
   }
   void viaIsSet(const Via& via, const std::string& vrf = "default") {
      EXPECT_CALL(mgr_, ip_route_via_set(via, vrf));
   }
   void viaIsDeleted(const Via& via, const std::string& vrf = "default") {
      EXPECT_CALL(mgr_, ip_route_via_del(via, vrf));
   }

   const orv::ip_route_t route_ = routeTo(usualPrefix, 7);
   const Via first_ = hopTo("192.0.2.1");
   const Via second_ = hopTo("192.0.2.2");
   const Via third_ = hopTo("192.0.2.3");
   const Via group_ = groupVia(usualPrefix, "g");
   const orv::tracer tracer_{"IpRoute"};
   testing::StrictMock<orvtest::MockIpRouteMgr> mgr_;
   const InSequence order_;
};

TEST_F(IpRouteSetTest, withoutAnArgumentTheRouteAndItsViasAreInTheDefaultVrf) {
   EXPECT_CALL(mgr_, ip_route_set(route_));
   viaIsSet(first_);
   viaIsSet(second_);
   set(routeSet(route_, {first_, second_}));
   EXPECT_CALL(mgr_, ip_route_set(route_));
   set(inVrf(routeSet(route_, {}), ""));
}

TEST_F(IpRouteSetTest, withAVrfTheRouteAndItsViasAreThere) {
   EXPECT_CALL(mgr_, ip_route_set(route_, A<const std::string&>()))
        .WillOnce([](const orv::ip_route_t&, const std::string& vrf) { EXPECT_EQ(vrf, "red"); });
   viaIsSet(first_, "red");
   viaIsSet(second_, "red");
   set(inVrf(routeSet(route_, {first_, second_}), "red"));
}

TEST_F(IpRouteSetTest, withAnActionTheViasAreInTheDefaultVrf) {
   EXPECT_CALL(mgr_, ip_route_set(route_, Action::forward));
   viaIsSet(first_);
   set(withAction(routeSet(route_, {first_}), 0));
   EXPECT_CALL(mgr_, ip_route_set(route_, Action::drop));
   set(withAction(routeSet(route_, {}), 1));
}

TEST_F(IpRouteSetTest, oneViaWithAGroupSetsTheActionOfGroups) {
   const auto request = routeSet(route_, {group_});
   for (const auto& each : {request, inVrf(request, "red"), withAction(request, 1), withAction(request, 99),
                            routeSet(route_, {group_}, 2)}) {
      EXPECT_CALL(mgr_, ip_route_set(route_, Action::nexthop_group));
      viaIsSet(group_);
      set(each);
   }
}

TEST_F(IpRouteSetTest, aRouteThatAlreadyHasAGroupIsNotSetToReplaceIt) {
   EXPECT_CALL(mgr_, exists(route_.key())).WillOnce(Return(true));
   EXPECT_CALL(mgr_, ip_route_via_iter(route_.key()))
        .WillOnce(Return(iterOver<ViaIter>({groupVia(usualPrefix, "other")})));
   viaIsSet(group_);
   set(routeSet(route_, {group_}, 1));
}

TEST_F(IpRouteSetTest, aRouteWithoutAGroupIsSetToReplaceItsVias) {
   // The route does not exist, has no via, or has a hop in front.
   EXPECT_CALL(mgr_, exists(route_.key())).WillOnce(Return(false));
   EXPECT_CALL(mgr_, ip_route_set(route_, Action::nexthop_group));
   viaIsSet(group_);
   set(routeSet(route_, {group_}, 1));
   for (const auto& vias : {std::vector<Via>{}, std::vector<Via>{first_, group_}}) {
      EXPECT_CALL(mgr_, exists(route_.key())).WillOnce(Return(true));
      EXPECT_CALL(mgr_, ip_route_via_iter(route_.key())).WillOnce(Return(iterOver<ViaIter>(vias)));
      EXPECT_CALL(mgr_, ip_route_set(route_, Action::nexthop_group));
      viaIsSet(group_);
      set(routeSet(route_, {group_}, 1));
   }
}

TEST_F(IpRouteSetTest, twoViasWithGroupsAreSetAsAnyOther) {
   EXPECT_CALL(mgr_, ip_route_set(route_));
   viaIsSet(group_);
   viaIsSet(groupVia(usualPrefix, "h"));
   set(routeSet(route_, {group_, groupVia(usualPrefix, "h")}));
}

TEST_F(IpRouteSetTest, theRouteIsNotReadWhereItsViasStay) {
   // Without vias, and with an action, the number says nothing.
   for (const std::uint32_t viasAction : {0U, 1U, 2U}) {
      EXPECT_CALL(mgr_, ip_route_set(route_));
      set(routeSet(route_, {}, viasAction));
      EXPECT_CALL(mgr_, ip_route_set(route_, Action::forward));
      viaIsSet(first_);
      set(withAction(routeSet(route_, {first_}, viasAction), 0));
   }
}

TEST_F(IpRouteSetTest, aNumberThatIsNoViasActionFailsOnAnUnchangedRoute) {
   const PanicCapture panics;
   for (const std::uint32_t viasAction : {2U, 4294967295U}) {
      routeIs(route_);
      EXPECT_THROW(set(routeSet(route_, {first_}, viasAction)), orv::invalid_argument_error);
      routeIs(route_, "red");
      EXPECT_EQ(refused(inVrf(routeSet(route_, {first_}, viasAction), "red")), "vias_action");
   }
   EXPECT_EQ(panics.words, std::vector<std::string>(4, "vias_action"));
}

TEST_F(IpRouteSetTest, aChangedRouteIsSetAndItsViasAreAddedWhateverTheNumber) {
   orv::ip_route_t bypasses = route_;
   bypasses.rib_bypass_is(true);
   orv::ip_route_t grouped = route_;
   grouped.command_tag_is("commands");
   for (const std::uint32_t viasAction : {1U, 2U}) {
      for (const auto& other : {orv::ip_route_t(), routeTo(usualPrefix, 8), bypasses, grouped}) {
         routeIs(other);
         EXPECT_CALL(mgr_, ip_route_set(route_));
         viaIsSet(first_);
         set(routeSet(route_, {first_}, viasAction));
      }
   }
   routeIs(routeTo(usualPrefix, 8), "red");
   EXPECT_CALL(mgr_, ip_route_set(route_, A<const std::string&>()));
   viaIsSet(first_, "red");
   set(inVrf(routeSet(route_, {first_}, 1), "red"));
}

TEST_F(IpRouteSetTest, viasThatAreMissingAreSetBeforeThoseThatAreTooManyGo) {
   for (const std::string vrf : {"default", "red"}) {
      routeIs(route_, vrf);
      viasAre({first_, second_}, vrf);
      viaIsSet(third_, vrf);
      viaIsSet(group_, vrf);
      viaIsDeleted(first_, vrf);
      auto request = routeSet(route_, {third_, second_, group_, third_}, 1);
      if (vrf != "default") request.set_vrf_name(vrf);
      set(request);
   }
}

TEST_F(IpRouteSetTest, viasThatAreAsTheyWereAreNotTouched) {
   routeIs(route_);
   viasAre({first_, second_});
   set(routeSet(route_, {second_, first_}, 1));
}

TEST_F(IpRouteSetTest, viasThatDifferInAnyFieldAreOthers) {
   routeIs(route_);
   viasAre({hopTo("192.0.2.1", 1)});
   viaIsSet(hopTo("192.0.2.1", 2));
   viaIsDeleted(hopTo("192.0.2.1", 1));
   set(routeSet(route_, {hopTo("192.0.2.1", 2)}, 1));
}

TEST_F(IpRouteSetTest, aRefusedViaTakesTheRouteAway) {
   EXPECT_CALL(mgr_, ip_route_set(route_));
   viaIsSet(first_);
   EXPECT_CALL(mgr_, ip_route_via_set(second_, "default")).WillOnce(Throw(orv::configuration_error("no")));
   EXPECT_CALL(mgr_, ip_route_del(route_.key(), "default"));
   EXPECT_THROW(set(routeSet(route_, {first_, second_, third_})), orv::configuration_error);

   EXPECT_CALL(mgr_, ip_route_set(route_, Action::nexthop_group));
   EXPECT_CALL(mgr_, ip_route_via_set(group_, "default")).WillOnce(Throw(orv::error("full")));
   EXPECT_CALL(mgr_, ip_route_del(route_.key(), "default"));
   EXPECT_EQ(refused(inVrf(routeSet(route_, {group_}), "red")), "full");

   EXPECT_CALL(mgr_, ip_route_set(route_, A<const std::string&>()));
   EXPECT_CALL(mgr_, ip_route_via_set(first_, "red")).WillOnce(Throw(std::bad_alloc()));
   EXPECT_CALL(mgr_, ip_route_del(route_.key(), "red"));
   EXPECT_THROW(set(inVrf(routeSet(route_, {first_}), "red")), std::bad_alloc);
}

TEST_F(IpRouteSetTest, aBadViaTakesTheRouteAway) {
   auto request = routeSet(route_, {first_, second_});
   request.mutable_vias(1)->set_hop("12345");
   EXPECT_CALL(mgr_, ip_route_set(route_));
   viaIsSet(first_);
   EXPECT_CALL(mgr_, ip_route_del(route_.key(), "default"));
   EXPECT_EQ(refused(request), "bytes length 5 does not match IPv4(4) or IPv6(16)");
}

TEST_F(IpRouteSetTest, aRefusedRouteIsNotRolledBack) {
   EXPECT_CALL(mgr_, ip_route_set(route_)).WillOnce(Throw(orv::invalid_argument_error("no such route")));
   EXPECT_EQ(refused(routeSet(route_, {first_})), "no such route");
}

TEST_F(IpRouteSetTest, whatCannotBeConvertedTouchesNothing) {
   auto request = routeSet(route_, {first_});
   request.mutable_ip_route()->mutable_key()->mutable_prefix()->set_network("12345");
   EXPECT_EQ(refused(request), "bytes length 5 does not match IPv4(4) or IPv6(16)");
   EXPECT_EQ(refused(withAction(routeSet(route_, {first_}), 4)), "Unknown value for ip_route_action_t: 4");
   // Vias that are to replace others are converted before the first is set.
   request = routeSet(route_, {third_, second_}, 1);
   request.mutable_vias(1)->set_router_mac("1234567");
   routeIs(route_);
   EXPECT_EQ(refused(request), "bytes length 7 do not match MAC(6)");
}

TEST_F(IpRouteSetTest, aRefusedReplacementRestoresWhatIsGoneAndDeletesWhatIsNew) {
   routeIs(route_);
   viasAre({first_, second_});
   viaIsSet(third_);
   viaIsDeleted(first_);
   EXPECT_CALL(mgr_, ip_route_via_del(second_, "default")).WillOnce(Throw(orv::error("no")));
   EXPECT_CALL(mgr_, exists(first_, "default")).WillOnce(Return(false));
   viaIsSet(first_);
   EXPECT_CALL(mgr_, exists(second_, "default")).WillOnce(Return(true));
   viaIsDeleted(third_);
   EXPECT_EQ(refused(routeSet(route_, {third_}, 1)), "no");
}

TEST_F(IpRouteSetTest, aFailingRollBackIsTracedAndGoesOn) {
   const orvtest::TraceCapture traces("IpRoute/0");
   routeIs(route_, "red");
   viasAre({first_, second_}, "red");
   viaIsSet(third_, "red");
   EXPECT_CALL(mgr_, ip_route_via_del(first_, "red")).WillOnce(Throw(orv::error("the cause")));
   EXPECT_CALL(mgr_, exists(first_, "red")).WillOnce(Return(false));
   EXPECT_CALL(mgr_, ip_route_via_set(first_, "red")).WillOnce(Throw(orv::error("full")));
   EXPECT_CALL(mgr_, exists(second_, "red")).WillOnce(Return(true));
   EXPECT_CALL(mgr_, ip_route_via_del(third_, "red")).WillOnce(Throw(orv::error("still full")));
   EXPECT_EQ(refused(inVrf(routeSet(route_, {third_}, 1), "red")), "the cause");

   EXPECT_CALL(mgr_, ip_route_set(route_));
   EXPECT_CALL(mgr_, ip_route_via_set(first_, "default")).WillOnce(Throw(orv::error("the cause")));
   EXPECT_CALL(mgr_, ip_route_del(route_.key(), "default")).WillOnce(Throw(orv::error("full")));
   EXPECT_EQ(refused(routeSet(route_, {first_})), "the cause");
   EXPECT_THAT(traces.texts(),
               ElementsAre("Error: ip route 10.0.0.0/8 cannot be restored, exception full",
                           "Error: ip route 10.0.0.0/8 cannot be restored, exception still full",
                           "Error: ip route 10.0.0.0/8 cannot be restored, exception full"));
}

// ---------------------------------------------------------------- what the switch holds

// The switch's own manager, which refuses one write of a via.
class RefusingRoutes : public testing::NiceMock<orvtest::MockIpRouteMgr> {
public:
   explicit RefusingRoutes(orv::ip_route_mgr& real) {
      using Key = orv::ip_route_key_t;
      using Route = orv::ip_route_t;
      using Text = std::string;
      ON_CALL(*this, exists(A<const Key&>())).WillByDefault([&](const Key& key) { return real.exists(key); });
      ON_CALL(*this, exists(A<const Via&>(), A<const Text&>()))
           .WillByDefault([&](const Via& via, const Text& vrf) { return real.exists(via, vrf); });
      ON_CALL(*this, ip_route(A<const Key&>(), A<const Text&>()))
           .WillByDefault([&](const Key& key, const Text& vrf) { return real.ip_route(key, vrf); });
      ON_CALL(*this, ip_route_via_iter(A<const Key&>())).WillByDefault([&](const Key& key) {
         return real.ip_route_via_iter(key);
      });
      ON_CALL(*this, ip_route_via_iter(A<const Key&>(), A<const Text&>()))
           .WillByDefault([&](const Key& key, const Text& vrf) { return real.ip_route_via_iter(key, vrf); });
      ON_CALL(*this, ip_route_set(A<const Route&>())).WillByDefault([&](const Route& route) {
         real.ip_route_set(route);
      });
      ON_CALL(*this, ip_route_set(A<const Route&>(), An<Action>()))
           .WillByDefault([&](const Route& route, Action action) { real.ip_route_set(route, action); });
      ON_CALL(*this, ip_route_set(A<const Route&>(), A<const Text&>()))
           .WillByDefault([&](const Route& route, const Text& vrf) { real.ip_route_set(route, vrf); });
      ON_CALL(*this, ip_route_del(A<const Key&>(), A<const Text&>()))
           .WillByDefault([&](const Key& key, const Text& vrf) { real.ip_route_del(key, vrf); });
      ON_CALL(*this, ip_route_via_set(A<const Via&>(), A<const Text&>()))
           .WillByDefault([&](const Via& via, const Text& vrf) {
              count();
              real.ip_route_via_set(via, vrf);
           });
      ON_CALL(*this, ip_route_via_del(A<const Via&>(), A<const Text&>()))
           .WillByDefault([&](const Via& via, const Text& vrf) {
              count();
              real.ip_route_via_del(via, vrf);
           });
   }

   // Refuses the write of this number, counted from 0.
   void refuse(int write) {
      writes_ = 0;
      refused_ = write;
   }
   [[nodiscard]] int writes() const { return writes_; }

private:
   void count() {
      if (writes_++ == refused_) throw orv::error("refused by the test");
   }

   int writes_ = 0;
   int refused_ = -1;
};

class IpRouteSetOnASwitch : public softswitch::SwitchFixture {
protected:
   using Set = std::function<void(const remote::IpRouteSetRequest&)>;

   void SetUp() override {
      SwitchFixture::SetUp();
      sw().vrfs().vrfSet("red");
      // Neighbours that no request names.
      for (const std::string vrf : {"default", "red"}) {
         for (const char* other : {"9.0.0.0/8", "10.0.0.0/9", "2001:db8::/32"}) {
            mgr().ip_route_set(routeTo(other, 3), vrf);
            mgr().ip_route_via_set(OrvSdkRpc::hopVia(other, "192.0.2.9"), vrf);
         }
      }
   }

   orv::ip_route_mgr& mgr() { return sw().ipRoutes(); }
   void set(const remote::IpRouteSetRequest& request) { ipRouteSetImpl(request, mgr(), tracer_); }
   std::string refused(const remote::IpRouteSetRequest& request) {
      return refusal([&] { set(request); });
   }
   void routeHas(const std::vector<Via>& vias, const std::string& vrf) {
      mgr().ip_route_set(route_, vrf);
      for (const Via& via : vias)
         mgr().ip_route_via_set(via, vrf);
   }
   // Every route with its action and its vias, and whether it counts as set again in a resync.
   std::vector<std::string> tables() {
      std::vector<std::string> rows;
      for (const std::string vrf : {"default", "red"}) {
         for (auto route = mgr().ip_route_iter(vrf); route; ++route) {
            std::vector<std::string> vias;
            for (auto via = mgr().ip_route_via_iter(route->key(), vrf); via; ++via)
               vias.push_back(via->to_string());
            std::sort(vias.begin(), vias.end());
            rows.push_back(fmt::format("{} {} action {}: {}", vrf, *route,
                                       sw().ipRoutes().action(route->key(), vrf), fmt::join(vias, ", ")));
         }
      }
      return rows;
   }
   std::vector<std::string> without(std::vector<std::string> rows, const std::string& vrf) {
      std::erase_if(
           rows, [&](const std::string& row) { return row.starts_with(fmt::format("{} {}", vrf, route_)); });
      return rows;
   }

   // Vias that the switch or the conversion refuses.
   static std::vector<remote::IpRouteVia> badVias() {
      std::vector<remote::IpRouteVia> bad;
      Via unknownIntf = hopTo("192.0.2.66");
      unknownIntf.intf_is(orv::intf_id_t("Ethernet999"));
      bad.push_back(types::convert(unknownIntf));
      Via vni = hopTo("192.0.2.66");
      vni.vni_is(1 << 24);
      bad.push_back(types::convert(vni));
      // It names nothing but its route. To delete such a via would delete all vias of the route.
      bad.push_back(types::convert(bareVia(usualPrefix)));
      bad.push_back(types::convert(OrvSdkRpc::hopVia("203.0.113.0/24", "192.0.2.66")));
      Via both = OrvSdkRpc::groupVia(usualPrefix, "g");
      both.hop_is(orv::ip_addr_t("192.0.2.66"));
      bad.push_back(types::convert(both));
      bad.push_back(types::convert(hopTo("192.0.2.66")));
      bad.back().set_hop("12345");
      bad.emplace_back();
      return bad;
   }
   // The requests that have one of these vias at one position, the others as in `request`.
   static std::vector<remote::IpRouteSetRequest> eachWithABadVia(const remote::IpRouteSetRequest& request) {
      std::vector<remote::IpRouteSetRequest> requests;
      for (const remote::IpRouteVia& bad : badVias()) {
         for (int position = 0; position <= request.vias_size(); ++position) {
            auto& made = requests.emplace_back(request);
            made.clear_vias();
            for (int i = 0; i < position; ++i)
               *made.add_vias() = request.vias(i);
            *made.add_vias() = bad;
            for (int i = position; i < request.vias_size(); ++i)
               *made.add_vias() = request.vias(i);
         }
      }
      return requests;
   }

   const orv::ip_route_t route_ = routeTo(usualPrefix, 7);
   const orv::tracer tracer_{"IpRoute"};
};

TEST_F(IpRouteSetOnASwitch, aNewRouteIsNotThereIfAnyOfItsViasIsRefused) {
   const auto before = tables();
   for (const std::string vrf : {"default", "red"}) {
      for (const std::uint32_t viasAction : {0U, 1U, 2U}) {
         auto request =
              routeSet(route_, {hopTo("192.0.2.1"), hopTo("192.0.2.2"), hopTo("192.0.2.3")}, viasAction);
         request.set_vrf_name(vrf);
         for (const auto& each : eachWithABadVia(request)) {
            EXPECT_NE(refused(each), "") << each.ShortDebugString();
            EXPECT_EQ(tables(), before) << each.ShortDebugString();
         }
      }
   }
}

TEST_F(IpRouteSetOnASwitch, anExistingRouteIsGoneIfAnAddedViaIsRefused) {
   for (const std::string vrf : {"default", "red"}) {
      auto request = routeSet(route_, {hopTo("192.0.2.1"), hopTo("192.0.2.2"), hopTo("192.0.2.3")});
      request.set_vrf_name(vrf);
      for (const auto& each : eachWithABadVia(request)) {
         routeHas({hopTo("192.0.2.8")}, vrf);
         const auto before = tables();
         EXPECT_NE(refused(each), "") << each.ShortDebugString();
         EXPECT_EQ(tables(), without(before, vrf)) << each.ShortDebugString();
      }
   }
}

TEST_F(IpRouteSetOnASwitch, aRouteWithAGroupIsGoneIfItsNewGroupIsRefused) {
   set(routeSet(route_, {OrvSdkRpc::groupVia(usualPrefix, "g")}));
   const auto before = tables();
   EXPECT_THAT(refused(routeSet(route_, {OrvSdkRpc::groupVia(usualPrefix, std::string(256, 'g'))}, 1)),
               HasSubstr("nexthop group name"));
   EXPECT_EQ(tables(), without(before, "default"));
}

TEST_F(IpRouteSetOnASwitch, aRefusedReplacementChangesNothing) {
   for (const std::string vrf : {"default", "red"}) {
      routeHas({hopTo("192.0.2.1"), hopTo("192.0.2.2", 1), hopTo("192.0.2.3")}, vrf);
      const auto before = tables();
      // The second via overwrites one that the route has, the first stays.
      auto request = routeSet(
           route_, {hopTo("192.0.2.1"), hopTo("192.0.2.2", 2), hopTo("192.0.2.4"), hopTo("192.0.2.5")}, 1);
      request.set_vrf_name(vrf);
      for (const auto& each : eachWithABadVia(request)) {
         EXPECT_NE(refused(each), "") << each.ShortDebugString();
         EXPECT_EQ(tables(), before) << each.ShortDebugString();
      }
      set(request);
      EXPECT_THAT(orvtest::listOf(mgr().ip_route_via_iter(route_.key(), vrf)),
                  testing::UnorderedElementsAre(hopTo("192.0.2.1"), hopTo("192.0.2.2", 2), hopTo("192.0.2.4"),
                                                hopTo("192.0.2.5")));
   }
}

// The switch itself never refuses to delete a via, except on a broken disk.
TEST_F(IpRouteSetOnASwitch, aReplacementThatFailsAtAnyWriteChangesNothing) {
   RefusingRoutes routes(mgr());
   const auto request = routeSet(route_, {hopTo("192.0.2.1"), hopTo("192.0.2.2", 2), hopTo("192.0.2.5")}, 1);
   routeHas({hopTo("192.0.2.1"), hopTo("192.0.2.2", 1), hopTo("192.0.2.3"), hopTo("192.0.2.4")}, "default");
   const auto before = tables();
   // Two vias are set and three deleted, one of which has been overwritten.
   constexpr int writes = 5;
   for (int write = 0; write < writes; ++write) {
      routes.refuse(write);
      EXPECT_EQ(refusal([&] { ipRouteSetImpl(request, routes, tracer_); }), "refused by the test");
      EXPECT_EQ(tables(), before) << write;
   }
   routes.refuse(-1);
   ipRouteSetImpl(request, routes, tracer_);
   EXPECT_EQ(routes.writes(), writes);
   EXPECT_THAT(orvtest::listOf(mgr().ip_route_via_iter(route_.key())),
               testing::UnorderedElementsAre(hopTo("192.0.2.1"), hopTo("192.0.2.2", 2), hopTo("192.0.2.5")));
}

TEST_F(IpRouteSetOnASwitch, aRouteIsGoneIfItFailsAtAnyVia) {
   RefusingRoutes routes(mgr());
   const auto before = tables();
   const auto request = routeSet(route_, {hopTo("192.0.2.1"), hopTo("192.0.2.2"), hopTo("192.0.2.3")});
   for (int write = 0; write < 3; ++write) {
      routes.refuse(write);
      EXPECT_EQ(refusal([&] { ipRouteSetImpl(request, routes, tracer_); }), "refused by the test");
      EXPECT_EQ(tables(), before) << write;
   }
}

TEST_F(IpRouteSetOnASwitch, aRefusedReplacementLeavesTheViasOfOtherRoutes) {
   routeHas({hopTo("192.0.2.1")}, "default");
   const auto before = tables();
   // The neighbour has the first via, and another with the identity of the second.
   const auto request = routeSet(route_,
                                 {hopTo("192.0.2.2"), OrvSdkRpc::hopVia("9.0.0.0/8", "192.0.2.9"),
                                  OrvSdkRpc::hopVia("10.0.0.0/9", "192.0.2.9", 5), bareVia(usualPrefix)},
                                 1);
   EXPECT_THAT(refused(request), HasSubstr("names neither"));
   EXPECT_EQ(tables(), before);
}

TEST_F(IpRouteSetOnASwitch, aRouteForAGroupTakesNoHopsInItsPlace) {
   set(routeSet(route_, {OrvSdkRpc::groupVia(usualPrefix, "g")}));
   const auto before = tables();
   EXPECT_THAT(refused(routeSet(route_, {hopTo("192.0.2.1"), hopTo("192.0.2.2")}, 1)),
               HasSubstr("a hop on a route that is for a nexthop group"));
   EXPECT_EQ(tables(), before);
}

TEST_F(IpRouteSetOnASwitch, aGroupTakesThePlaceOfAGroup) {
   set(routeSet(route_, {OrvSdkRpc::groupVia(usualPrefix, "g")}));
   // The tag of the request differs, but the route is not set.
   set(routeSet(routeTo(usualPrefix, 8), {OrvSdkRpc::groupVia(usualPrefix, "h")}, 1));
   EXPECT_EQ(mgr().ip_route(route_.key()).tag(), 7U);
   EXPECT_THAT(orvtest::listOf(mgr().ip_route_via_iter(route_.key())),
               ElementsAre(OrvSdkRpc::groupVia(usualPrefix, "h")));
}

TEST_F(IpRouteSetOnASwitch, aReplacementNeedsRoomForBoth) {
   options_.limits.viasPerRoute = 3;
   restart();
   routeHas({hopTo("192.0.2.1"), hopTo("192.0.2.2")}, "default");
   const auto before = tables();
   EXPECT_THAT(refused(routeSet(route_, {hopTo("192.0.2.3"), hopTo("192.0.2.4")}, 1)),
               HasSubstr("the maximum"));
   EXPECT_EQ(tables(), before);
   set(routeSet(route_, {hopTo("192.0.2.3"), hopTo("192.0.2.2")}, 1));
}

// A replacement sets only what differs, so it is no replay.
TEST_F(IpRouteSetOnASwitch, aReplayAddsVias) {
   routeHas({hopTo("192.0.2.1"), hopTo("192.0.2.2")}, "default");
   mgr().resync_init();
   set(routeSet(route_, {hopTo("192.0.2.1")}));
   mgr().resync_complete();
   EXPECT_THAT(orvtest::listOf(mgr().ip_route_via_iter(route_.key())), ElementsAre(hopTo("192.0.2.1")));
   mgr().resync_init();
   set(routeSet(route_, {hopTo("192.0.2.1")}, 1));
   mgr().resync_complete();
   EXPECT_FALSE(mgr().exists(route_.key()));
}

}  // namespace
}  // namespace OrvSdkRpc
