#include "OrvSdkRpc/mirror/FibService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orv/error.h"
#include "orv/lock.h"
#include "testing/base/Eventually.h"
#include "testing/mock/MockFibMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/MirrorFixture.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orvtest::iterOver;
using testing::Return;
using testing::Throw;

orv::fib_route_key_t tenSlash(std::uint8_t length) {
   return orv::fib_route_key_t(orv::ip_prefix_t("10.0.0.0/" + std::to_string(length)));
}
template <class Rq>
Rq ofTenSlash(std::uint32_t length) {
   Rq request;
   request.mutable_key()->mutable_prefix()->set_network(std::string("\x0a\0\0\0", 4));
   request.mutable_key()->mutable_prefix()->set_prefix_length(length);
   return request;
}
template <class Rq>
Rq ofFec(std::uint64_t id) {
   Rq request;
   request.mutable_key()->set_fec_id(id);
   return request;
}
orv::fib_route_t fibRoute(std::uint8_t length, std::uint64_t fec) {
   orv::fib_route_t route(tenSlash(length));
   route.fec_id_is(fec);
   return route;
}
orv::fib_fec_t groupFec(std::uint64_t id, const std::string& group) {
   orv::fib_fec_t fec;
   fec.fec_key_is(orv::fib_fec_key_t(id));
   fec.fec_type_is(orv::fib_fec_type_t::nexthop_group);
   fec.nexthop_group_name_is(group);
   return fec;
}

class FibServiceTest : public orvtest::MirrorFixture<FibService, remote::FibMgrService, orvtest::MockFibMgr> {
protected:
   // A watch that is open, with events on.
   auto watching() {
      EXPECT_CALL(mgr_, events_enabled()).WillOnce([] {
         EXPECT_TRUE(orv::sdk_call_allowed());
         return true;
      });
      return watch(remote::FibWatchRequest());
   }
   // The SDK calls FIB handlers whether or not they watch.
   template <class Call>
   void callBack(Call&& call) {
      const orv::sdk_scoped_lock lock;
      mgr_.handlers().notify_every(call);
   }
};

TEST_F(FibServiceTest, routesAndFecsReadAsTheSwitchSaysThem) {
   EXPECT_CALL(mgr_, fib_route(tenSlash(8))).WillOnce([](const orv::fib_route_key_t&) {
      EXPECT_TRUE(orv::sdk_call_allowed());
      return fibRoute(8, 7);
   });
   const auto route = ok(&Stub::fib_route, ofTenSlash<remote::FibRouteRequest>(8)).fib_route();
   EXPECT_EQ(route.route_key().prefix().prefix_length(), 8U);
   EXPECT_EQ(route.fec_id(), 7U);
   EXPECT_CALL(mgr_, fib_route_exists(tenSlash(9))).WillOnce(Return(true)).WillOnce(Return(false));
   const auto exists = ofTenSlash<remote::FibRouteExistsRequest>(9);
   EXPECT_TRUE(ok(&Stub::fib_route_exists, exists).exists());
   EXPECT_FALSE(ok(&Stub::fib_route_exists, exists).exists());

   EXPECT_CALL(mgr_, fib_fec(orv::fib_fec_key_t(7))).WillOnce(Return(groupFec(7, "g")));
   EXPECT_EQ(ok(&Stub::fib_fec, ofFec<remote::FibFecRequest>(7)).fib_fec().nexthop_group_name(), "g");
   EXPECT_CALL(mgr_, fib_fec_exists(orv::fib_fec_key_t(8))).WillOnce(Return(true));
   EXPECT_TRUE(ok(&Stub::fib_fec_exists, ofFec<remote::FibFecExistsRequest>(8)).exists());
}

TEST_F(FibServiceTest, routesAndFecsAreListedInTheSwitchesOrder) {
   EXPECT_CALL(mgr_, fib_route_iter())
        .WillOnce(Return(iterOver<orv::fib_route_iter_t>({fibRoute(24, 2), fibRoute(8, 1)})));
   const auto routes = list(&Stub::fib_routes, remote::FibRoutesRequest());
   ASSERT_EQ(routes.size(), 2U);
   EXPECT_EQ(routes[0].fib_route().fec_id(), 2U);
   EXPECT_EQ(routes[1].fib_route().fec_id(), 1U);
   EXPECT_CALL(mgr_, fib_fec_iter()).WillOnce(Return(iterOver<orv::fib_fec_iter_t>({groupFec(1, "a")})));
   const auto fecs = list(&Stub::fib_fecs, remote::FibFecsRequest());
   ASSERT_EQ(fecs.size(), 1U);
   EXPECT_EQ(fecs[0].fib_fec().nexthop_group_name(), "a");
}

TEST_F(FibServiceTest, theSwitchesErrorsBecomeTheStatusOfTheCall) {
   EXPECT_CALL(mgr_, fib_route_iter()).WillOnce(Throw(orv::error("not now")));
   listFails(&Stub::fib_routes, remote::FibRoutesRequest(), grpc::StatusCode::INTERNAL, "not now");
   remote::FibRouteResponse response;
   EXPECT_EQ(call(&Stub::fib_route, ofTenSlash<remote::FibRouteRequest>(33), response).error_code(),
             grpc::StatusCode::INVALID_ARGUMENT);
}

TEST_F(FibServiceTest, everyChangeIsToldAtOnceAndInOrder) {
   const auto client = watching();
   callBack([](auto& handler) {
      handler.on_fec_set(groupFec(1, "g"));
      handler.on_route_set(fibRoute(8, 1));
      handler.on_route_set(fibRoute(8, 1));
      handler.on_route_del(tenSlash(8));
      handler.on_fec_del(orv::fib_fec_key_t(1));
   });
   std::vector<std::string> told;
   for (int i = 0; i < 5; ++i) {
      const auto response = client->next();
      ASSERT_TRUE(response);
      EXPECT_FALSE(response->ack());
      if (response->has_on_fec_set()) told.push_back("fec " + response->on_fec_set().nexthop_group_name());
      if (response->has_on_route_set()) {
         told.push_back("route to " + std::to_string(response->on_route_set().fec_id()));
      }
      if (response->has_on_route_del()) {
         told.push_back("no route " + std::to_string(response->on_route_del().prefix().prefix_length()));
      }
      if (response->has_on_fec_del()) {
         told.push_back("no fec " + std::to_string(response->on_fec_del().fec_id()));
      }
   }
   EXPECT_EQ(told, (std::vector<std::string>{"fec g", "route to 1", "route to 1", "no route 8", "no fec 1"}));
}

TEST_F(FibServiceTest, theAcknowledgementComesWhereItIsAskedFor) {
   EXPECT_CALL(mgr_, events_enabled()).WillOnce(Return(true));
   remote::FibWatchRequest request;
   request.set_ack(true);
   const auto client = watch(request);
   const auto response = client->next();
   ASSERT_TRUE(response);
   EXPECT_TRUE(response->ack());
}

TEST_F(FibServiceTest, aWatchIsRefusedWhileTheSwitchesEventsAreOff) {
   EXPECT_CALL(mgr_, events_enabled()).WillOnce([] {
      EXPECT_TRUE(orv::sdk_call_allowed());
      return false;
   });
   const auto client = open(remote::FibWatchRequest());
   EXPECT_FALSE(client->next());
   const grpc::Status status = client->finish();
   EXPECT_EQ(status.error_code(), grpc::StatusCode::FAILED_PRECONDITION);
   EXPECT_EQ(status.error_message(), "Events are disabled. Watch failed.");
   EXPECT_EQ(watchers(), 0U);
}

TEST_F(FibServiceTest, aKindOfFecThatTheWireDoesNotKnowCostsItsEventAndATrace) {
   const auto client = watching();
   const orvtest::TraceCapture traces("fib/0");
   callBack([](auto& handler) {
      orv::fib_fec_t unknown;
      unknown.fec_type_is(static_cast<orv::fib_fec_type_t>(99));
      handler.on_fec_set(unknown);
      handler.on_fec_set(groupFec(1, "next"));
   });
   EXPECT_EQ(client->next()->on_fec_set().nexthop_group_name(), "next");
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"on_fec_set is not told: Invalid FIB FEC TYPE 99"});
}

// Millions of routes may be told while nobody listens.
TEST_F(FibServiceTest, whatNobodyListensToIsNotEvenConverted) {
   const orvtest::TraceCapture traces("fib/0");
   callBack([](auto& handler) {
      orv::fib_fec_t unknown;
      unknown.fec_type_is(static_cast<orv::fib_fec_type_t>(99));
      handler.on_fec_set(unknown);
   });
   EXPECT_TRUE(traces.texts().empty());
}

TEST_F(FibServiceTest, eachRpcHasOneHandlerThatWaits) {
   EXPECT_CALL(mgr_, events_enabled()).WillRepeatedly(Return(true));
   expectOneHandlerPerRpc();
}

}  // namespace
}  // namespace OrvSdkRpc
