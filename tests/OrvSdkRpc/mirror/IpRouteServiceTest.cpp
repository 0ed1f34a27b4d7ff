#include "OrvSdkRpc/mirror/IpRouteService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "RouteValues.h"
#include "orv/error.h"
#include "testing/base/Eventually.h"
#include "testing/mock/MockIpRouteMgr.h"
#include "testing/mock/MockVrfMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/MainLoop.h"
#include "testing/server/MirrorFixture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orvtest::iterOver;
using testing::A;
using testing::An;
using testing::InSequence;
using testing::Return;
using testing::Throw;

// The fixture's service takes this manager too, so it comes first.
struct VrfsOfTheSwitch {
   testing::StrictMock<orvtest::MockVrfMgr> vrfMgr_;
};

class IpRouteServiceTest
     : public MainLoop,
       public VrfsOfTheSwitch,
       public orvtest::MirrorFixture<IpRouteService, remote::IpRouteMgrService, orvtest::MockIpRouteMgr> {
protected:
   IpRouteServiceTest() : MirrorFixture({.internalServer = true}, &vrfMgr_) {}
   ~IpRouteServiceTest() override {
      running_.stop();
      const orv::sdk_scoped_lock lock;
      running_.destroy();
   }

   // A request about the route or the via, in a VRF.
   template <class Rq>
   static Rq ofKey(const std::string& vrf = "") {
      Rq request;
      request.set_vrf_name(vrf);
      *request.mutable_key() = types::convert(routeKey("10.0.0.0/8"));
      return request;
   }
   template <class Rq>
   Rq ofVia(const std::string& vrf = "") const {
      Rq request;
      request.set_vrf_name(vrf);
      *request.mutable_via() = types::convert(via_);
      return request;
   }
   // The same request with an address that cannot be converted.
   template <class Rq>
   static Rq spoilt(Rq request) {
      if constexpr (requires { request.mutable_key(); }) {
         request.mutable_key()->mutable_prefix()->set_network("12345");
      } else {
         request.mutable_via()->set_hop("12345");
      }
      return request;
   }

   const orv::ip_route_key_t key_ = routeKey("10.0.0.0/8");
   const orv::ip_route_t route_ = routeTo("10.0.0.0/8", 7);
   const orv::ip_route_via_t via_ = hopVia("10.0.0.0/8", "192.0.2.1");
   static constexpr char badAddress_[] = "bytes length 5 does not match IPv4(4) or IPv6(16)";
};

// ---------------------------------------------------------------- changes

TEST_F(IpRouteServiceTest, aRouteIsSetWithItsVias) {
   const InSequence order;
   EXPECT_CALL(mgr_, ip_route_set(route_, A<const std::string&>()))
        .WillOnce([](const orv::ip_route_t&, const std::string& vrf) {
           EXPECT_TRUE(locked());
           EXPECT_EQ(vrf, "red");
        });
   EXPECT_CALL(mgr_, ip_route_via_set(via_, "red"));
   auto request = routeSet(route_, {via_});
   request.set_vrf_name("red");
   ok(&Stub::ip_route_set, request);
   EXPECT_CALL(mgr_, ip_route_set(route_)).WillOnce(Throw(orv::configuration_error("not now")));
   fails(&Stub::ip_route_set, routeSet(route_, {via_}), grpc::StatusCode::FAILED_PRECONDITION, "not now");
   EXPECT_CALL(mgr_, ip_route(key_, "default")).WillOnce(Return(route_));
   fails(&Stub::ip_route_set, routeSet(route_, {via_}, 2), grpc::StatusCode::INVALID_ARGUMENT, "vias_action");
   // After a roll-back the client gets the error of the via.
   EXPECT_CALL(mgr_, ip_route_set(route_));
   EXPECT_CALL(mgr_, ip_route_via_set(via_, "default")).WillOnce(Throw(orv::invalid_range_error("x", 1, 2)));
   EXPECT_CALL(mgr_, ip_route_del(key_, "default"));
   fails(&Stub::ip_route_set, routeSet(route_, {via_}), grpc::StatusCode::OUT_OF_RANGE,
         "x is out of range, expected 1 to 2");
}

TEST_F(IpRouteServiceTest, aBulkOfRoutesStopsAtTheFirstThatFails) {
   remote::BulkIpRouteSetRequest request;
   *request.add_requests() = routeSet(route_, {via_});
   *request.add_requests() = routeSet(routeTo("11.0.0.0/8"), {hopVia("11.0.0.0/8", "192.0.2.2")});
   *request.add_requests() = routeSet(routeTo("12.0.0.0/8"), {});
   const InSequence order;
   EXPECT_CALL(mgr_, ip_route_set(route_));
   EXPECT_CALL(mgr_, ip_route_via_set(via_, "default"));
   EXPECT_CALL(mgr_, ip_route_set(routeTo("11.0.0.0/8")));
   EXPECT_CALL(mgr_, ip_route_via_set(hopVia("11.0.0.0/8", "192.0.2.2"), "default"))
        .WillOnce(Throw(orv::invalid_argument_error("no such hop")));
   EXPECT_CALL(mgr_, ip_route_del(routeKey("11.0.0.0/8"), "default"));
   const auto response = ok(&Stub::bulk_ip_route_set, request);
   EXPECT_EQ(response.count(), 1U);
   EXPECT_EQ(response.status().code(), remote::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT);
   EXPECT_EQ(response.status().message(), "no such hop");
}

TEST_F(IpRouteServiceTest, routesAndViasAreChangedWithAVrfOrWithout) {
   const InSequence order;
   EXPECT_CALL(mgr_, ip_route_del(key_)).WillOnce([](const auto&) { EXPECT_TRUE(locked()); });
   ok(&Stub::ip_route_del, ofKey<remote::IpRouteDelRequest>());
   EXPECT_CALL(mgr_, ip_route_del(key_, "red"));
   ok(&Stub::ip_route_del, ofKey<remote::IpRouteDelRequest>("red"));
   EXPECT_CALL(mgr_, ip_route_via_set(via_)).WillOnce([](const auto&) { EXPECT_TRUE(locked()); });
   ok(&Stub::ip_route_via_set, ofVia<remote::IpRouteViaSetRequest>());
   EXPECT_CALL(mgr_, ip_route_via_set(via_, "default"));
   ok(&Stub::ip_route_via_set, ofVia<remote::IpRouteViaSetRequest>("default"));
   EXPECT_CALL(mgr_, ip_route_via_del(via_)).WillOnce([](const auto&) { EXPECT_TRUE(locked()); });
   ok(&Stub::ip_route_via_del, ofVia<remote::IpRouteViaDelRequest>());
   EXPECT_CALL(mgr_, ip_route_via_del(via_, "red")).WillOnce(Throw(orv::error("full")));
   fails(&Stub::ip_route_via_del, ofVia<remote::IpRouteViaDelRequest>("red"), grpc::StatusCode::INTERNAL,
         "full");
}

TEST_F(IpRouteServiceTest, aBadKeyOrViaTouchesNothing) {
   const auto bad = [this](auto rpc, const auto& request) {
      fails(rpc, spoilt(request), grpc::StatusCode::INVALID_ARGUMENT, badAddress_);
   };
   bad(&Stub::ip_route_del, ofKey<remote::IpRouteDelRequest>());
   bad(&Stub::ip_route_exists, ofKey<remote::IpRouteExistsRequest>());
   bad(&Stub::ip_route, ofKey<remote::IpRouteRequest>());
   bad(&Stub::ip_route_via_set, ofVia<remote::IpRouteViaSetRequest>());
   bad(&Stub::ip_route_via_del, ofVia<remote::IpRouteViaDelRequest>());
   bad(&Stub::ip_route_via_exists, ofVia<remote::IpRouteViaExistsRequest>());
   listFails(&Stub::ip_route_vias, spoilt(ofKey<remote::IpRouteViasRequest>()),
             grpc::StatusCode::INVALID_ARGUMENT, badAddress_);
}

TEST_F(IpRouteServiceTest, bulksChangeEachItemInItsVrf) {
   const InSequence order;
   remote::BulkIpRouteDelRequest del;
   *del.add_requests() = ofKey<remote::IpRouteDelRequest>();
   *del.add_requests() = ofKey<remote::IpRouteDelRequest>("red");
   EXPECT_CALL(mgr_, ip_route_del(key_));
   EXPECT_CALL(mgr_, ip_route_del(key_, "red"));
   EXPECT_EQ(ok(&Stub::bulk_ip_route_del, del).count(), 2U);

   remote::BulkIpRouteViaSetRequest viaSet;
   *viaSet.add_requests() = ofVia<remote::IpRouteViaSetRequest>("red");
   *viaSet.add_requests() = spoilt(ofVia<remote::IpRouteViaSetRequest>());
   *viaSet.add_requests() = ofVia<remote::IpRouteViaSetRequest>();
   EXPECT_CALL(mgr_, ip_route_via_set(via_, "red"));
   const auto set = ok(&Stub::bulk_ip_route_via_set, viaSet);
   EXPECT_EQ(set.count(), 1U);
   EXPECT_EQ(set.status().code(), remote::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT);
   EXPECT_EQ(set.status().message(), badAddress_);

   remote::BulkIpRouteViaDelRequest viaDel;
   *viaDel.add_requests() = ofVia<remote::IpRouteViaDelRequest>();
   *viaDel.add_requests() = ofVia<remote::IpRouteViaDelRequest>("red");
   EXPECT_CALL(mgr_, ip_route_via_del(via_));
   EXPECT_CALL(mgr_, ip_route_via_del(via_, "red"));
   EXPECT_EQ(ok(&Stub::bulk_ip_route_via_del, viaDel).count(), 2U);
}

// ---------------------------------------------------------------- reading

TEST_F(IpRouteServiceTest, routesAndViasAreReadWithAVrfOrWithout) {
   const InSequence order;
   EXPECT_CALL(mgr_, exists(key_)).WillOnce([](const orv::ip_route_key_t&) {
      EXPECT_TRUE(locked());
      return true;
   });
   EXPECT_TRUE(ok(&Stub::ip_route_exists, ofKey<remote::IpRouteExistsRequest>()).exists());
   EXPECT_CALL(mgr_, exists(key_, "red")).WillOnce(Return(false)).WillOnce(Return(true));
   EXPECT_FALSE(ok(&Stub::ip_route_exists, ofKey<remote::IpRouteExistsRequest>("red")).exists());
   EXPECT_TRUE(ok(&Stub::ip_route_exists, ofKey<remote::IpRouteExistsRequest>("red")).exists());
   EXPECT_CALL(mgr_, exists(via_)).WillOnce([](const orv::ip_route_via_t&) {
      EXPECT_TRUE(locked());
      return true;
   });
   EXPECT_TRUE(ok(&Stub::ip_route_via_exists, ofVia<remote::IpRouteViaExistsRequest>()).exists());
   EXPECT_CALL(mgr_, exists(via_, "red")).WillOnce(Return(false));
   EXPECT_FALSE(ok(&Stub::ip_route_via_exists, ofVia<remote::IpRouteViaExistsRequest>("red")).exists());
   EXPECT_CALL(mgr_, ip_route(key_)).WillOnce([this](const orv::ip_route_key_t&) {
      EXPECT_TRUE(locked());
      return route_;
   });
   EXPECT_EQ(types::convert(ok(&Stub::ip_route, ofKey<remote::IpRouteRequest>()).ip_route()), route_);
   EXPECT_CALL(mgr_, ip_route(key_, "red")).WillOnce(Return(orv::ip_route_t()));
   const auto none = ok(&Stub::ip_route, ofKey<remote::IpRouteRequest>("red")).ip_route();
   EXPECT_TRUE(none.key().prefix().network().empty());
}

TEST_F(IpRouteServiceTest, theTagIsTheManagers) {
   const InSequence order;
   EXPECT_CALL(mgr_, tag_is(4294967295U));
   remote::TagIsRequest request;
   request.set_tag(4294967295U);
   ok(&Stub::tag_is, request);
   EXPECT_CALL(mgr_, tag()).WillOnce(Return(4294967295U));
   EXPECT_EQ(ok(&Stub::tag, remote::TagRequest()).tag(), 4294967295U);
}

TEST_F(IpRouteServiceTest, aReplayIsTheManagers) {
   const InSequence order;
   EXPECT_CALL(mgr_, resync_init());
   ok(&Stub::resync_init, remote::IpRouteResyncInitRequest());
   EXPECT_CALL(mgr_, resync_complete()).WillOnce(Return()).WillOnce(Throw(orv::error("not begun")));
   ok(&Stub::resync_complete, remote::IpRouteResyncCompleteRequest());
   fails(&Stub::resync_complete, remote::IpRouteResyncCompleteRequest(), grpc::StatusCode::INTERNAL,
         "not begun");
}

// ---------------------------------------------------------------- lists

TEST_F(IpRouteServiceTest, theViasOfOneRoute) {
   const auto other = hopVia("10.0.0.0/8", "192.0.2.2");
   EXPECT_CALL(mgr_, ip_route_via_iter(key_)).WillOnce([&](const orv::ip_route_key_t&) {
      EXPECT_TRUE(locked());
      return iterOver<orv::ip_route_via_iter_t>({via_, other});
   });
   const auto vias = list(&Stub::ip_route_vias, ofKey<remote::IpRouteViasRequest>());
   ASSERT_EQ(vias.size(), 2U);
   EXPECT_EQ(types::convert(vias[0].via()), via_);
   EXPECT_EQ(types::convert(vias[1].via()), other);
   EXPECT_CALL(mgr_, ip_route_via_iter(key_, "red")).WillOnce(Return(iterOver<orv::ip_route_via_iter_t>({})));
   EXPECT_TRUE(list(&Stub::ip_route_vias, ofKey<remote::IpRouteViasRequest>("red")).empty());
}

TEST_F(IpRouteServiceTest, routesOfEveryVrfWithTheirVias) {
   const auto reads = [](auto value) {
      return [value = std::move(value)](const auto&...) {
         EXPECT_TRUE(locked());
         return value;
      };
   };
   const InSequence order;
   EXPECT_CALL(mgr_, ip_route_iter()).WillOnce(reads(iterOver<orv::ip_route_iter_t>({route_})));
   EXPECT_CALL(mgr_, ip_route_via_iter(key_, "default"))
        .WillOnce(reads(iterOver<orv::ip_route_via_iter_t>({via_})));
   EXPECT_CALL(vrfMgr_, vrf_iter()).WillOnce(reads(iterOver<orv::vrf_iter_t>({"red"})));
   EXPECT_CALL(mgr_, ip_route_iter("red"))
        .WillOnce(reads(iterOver<orv::ip_route_iter_t>({routeTo("11.0.0.0/8")})));
   EXPECT_CALL(mgr_, ip_route_via_iter(routeKey("11.0.0.0/8"), "red"))
        .WillOnce(reads(iterOver<orv::ip_route_via_iter_t>({})));
   remote::IpRoutesRequest request;
   request.set_vrf_name("all");
   request.set_embed_vias(true);
   const auto routes = list(&Stub::ip_routes, request);
   ASSERT_EQ(routes.size(), 2U);
   EXPECT_EQ(types::convert(routes[0].route()), route_);
   ASSERT_EQ(routes[0].vias_size(), 1);
   EXPECT_EQ(types::convert(routes[0].vias(0)), via_);
   EXPECT_EQ(types::convert(routes[1].route()), routeTo("11.0.0.0/8"));
   EXPECT_EQ(routes[1].vias_size(), 0);
}

TEST_F(IpRouteServiceTest, aRefusedListFailsWithItsWords) {
   EXPECT_CALL(mgr_, ip_route_iter("red")).WillOnce(Throw(orv::invalid_argument_error("no such VRF")));
   remote::IpRoutesRequest request;
   request.set_vrf_name("red");
   listFails(&Stub::ip_routes, request, grpc::StatusCode::INVALID_ARGUMENT, "no such VRF");
}

// An endless table of routes, none of which passes the filter.
class EndlessRoutes final : public orv::ip_route_iter_t::impl_type {
public:
   explicit EndlessRoutes(std::shared_ptr<const int> alive) : alive_(std::move(alive)) {}

   bool next(orv::ip_route_t& route) override {
      route = routeTo("10.0.0.0/8");
      return true;
   }
   std::unique_ptr<orv::iter_impl<orv::ip_route_t>> clone() const override {
      return std::make_unique<EndlessRoutes>(*this);
   }

private:
   const std::shared_ptr<const int> alive_;
};

class RouteSearchTest : public IpRouteServiceTest {
protected:
   using Client = orvtest::StreamClient<remote::IpRoutesResponse>;

   // Opens a list that sends nothing: it leaves all routes out, and never ends.
   std::unique_ptr<Client> search() {
      auto alive = std::make_shared<const int>();
      searching_ = alive;
      std::atomic<bool> begun = false;
      EXPECT_CALL(mgr_, ip_route_iter()).WillOnce([&, alive] {
         begun = true;
         return orv::ip_route_iter_t(std::make_unique<EndlessRoutes>(alive));
      });
      alive.reset();
      remote::IpRoutesRequest request;
      request.set_vias_only(true);
      auto client = std::make_unique<Client>(*stub_, &Stub::ip_routes, request);
      EXPECT_TRUE(orvtest::eventually([&] { return begun.load(); }));
      testing::Mock::VerifyAndClearExpectations(&mgr_);
      return client;
   }
   [[nodiscard]] bool over() const { return searching_.expired(); }

private:
   std::weak_ptr<const int> searching_;
};

TEST_F(RouteSearchTest, aListThatSendsNothingLeavesThePumpToOthers) {
   const auto client = search();
   EXPECT_CALL(mgr_, exists(key_)).Times(20).WillRepeatedly(Return(true));
   for (int i = 0; i < 20; ++i)
      EXPECT_TRUE(ok(&Stub::ip_route_exists, ofKey<remote::IpRouteExistsRequest>()).exists());
   EXPECT_FALSE(over());
}

TEST_F(RouteSearchTest, aListThatSendsNothingEndsWithItsClient) {
   const auto client = search();
   client->cancel();
   EXPECT_TRUE(orvtest::eventually([this] { return over(); }));
}

TEST_F(RouteSearchTest, aStopDoesNotWaitForAListThatSendsNothing) {
   const auto client = search();
   running_.stop();
   EXPECT_FALSE(client->finish().ok());
   EXPECT_TRUE(over());
}

TEST_F(IpRouteServiceTest, eachRpcHasOneHandlerThatWaits) {
   expectOneHandlerPerRpc();
}

}  // namespace
}  // namespace OrvSdkRpc
