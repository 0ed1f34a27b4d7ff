#include "OrvSdkRpc/mirror/MplsRouteService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/types/Identifiers.h"
#include "OrvSdkRpc/types/MplsRoute.h"
#include "orv/error.h"
#include "testing/base/Eventually.h"
#include "testing/mock/MockMountMgr.h"
#include "testing/mock/MockMplsRouteMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/MirrorFixture.h"
#include "testing/server/MplsTables.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orvtest::iterOver;
using testing::_;
using testing::An;
using testing::ElementsAre;
using testing::InSequence;
using testing::Return;
using testing::Throw;
using Texts = std::vector<std::string>;
using ViaIter = orv::mpls_route_via_iter_t;

orv::mpls_route_key_t routeKey(std::uint32_t label, std::uint8_t metric = 0) {
   return orv::mpls_route_key_t(orv::mpls_label_t(label), metric);
}
// A via of the route 100.
orv::mpls_route_via_t over(const std::string& group) {
   orv::mpls_route_via_t via(routeKey(100), orv::mpls_action_t::pop);
   via.nexthop_group_is(group);
   return via;
}
orv::mpls_route_via_t hop(const std::string& address, std::uint32_t label = 200) {
   orv::mpls_route_via_t via(routeKey(100), orv::mpls_action_t::swap);
   via.pushswap_label_is(orv::mpls_label_t(label));
   via.hop_is(orv::ip_addr_t(address));
   return via;
}

template <class Rq>
Rq ofRoute(std::uint32_t label, std::uint8_t metric = 0) {
   Rq request;
   *request.mutable_route_key() = types::convert(routeKey(label, metric));
   return request;
}
remote::MplsRouteSetRequest routeSet(const std::vector<orv::mpls_route_via_t>& vias, int action = 0,
                                     std::uint32_t label = 100) {
   remote::MplsRouteSetRequest request;
   *request.mutable_route()->mutable_key() = types::convert(routeKey(label));
   for (const auto& via : vias)
      *request.add_vias() = types::convert(via);
   request.set_vias_action(static_cast<remote::MplsRouteViasAction>(action));
   return request;
}
constexpr int add = remote::MPLS_ROUTE_VIAS_ACTION_ADD;
constexpr int replace = remote::MPLS_ROUTE_VIAS_ACTION_REPLACE;

// The platform's mounts, which the service asks for when it is created.
class Mounts : public MplsTables {
protected:
   Mounts() {
      EXPECT_CALL(mountMgr_, handler_add).WillOnce(testing::SaveArg<0>(&mountHandler_));
      EXPECT_CALL(mountMgr_, handler_del);
   }

   testing::StrictMock<orvtest::MockMountMgr> mountMgr_;
   orv::mount_handler* mountHandler_ = nullptr;
};

class MplsRouteServiceTest : public Mounts,
                             public orvtest::MirrorFixture<MplsRouteService, remote::MplsRouteMgrService,
                                                           orvtest::MockMplsRouteMgr> {
protected:
   using Integrated = orvtest::StreamClient<remote::MplsIntegratedAckResponse>;

   MplsRouteServiceTest() : MirrorFixture({.internalServer = true}, &mountMgr_, &groups_) {}
   ~MplsRouteServiceTest() override {
      running_.stop();
      const orv::sdk_scoped_lock lock;
      running_.destroy();
   }

   static remote::MplsRouteWatchRequest all(const std::vector<int>& fields = {}, bool value = true) {
      remote::MplsRouteWatchRequest request;
      request.set_all(value);
      return withFields(request, fields);
   }
   static remote::MplsRouteWatchRequest one(std::uint32_t label, const std::vector<int>& fields = {}) {
      return withFields(ofRoute<remote::MplsRouteWatchRequest>(label), fields);
   }
   static remote::MplsRouteWatchRequest withFields(remote::MplsRouteWatchRequest request,
                                                   const std::vector<int>& fields) {
      for (const int field : fields)
         request.mutable_fields_control()->add_fields(static_cast<remote::MplsRouteField>(field));
      return request;
   }

   void set(const orv::mpls_route_key_t& key, std::uint64_t fec, std::uint16_t version = 0) {
      EXPECT_CALL(mgr_, hw_version_id(key)).WillOnce(Return(version));
      callBack([&](auto& handler) { handler.on_mpls_route_set(key, orv::mpls_fec_id_t(fec)); });
   }
   void del(const orv::mpls_route_key_t& key) {
      callBack([&](auto& handler) { handler.on_mpls_route_del(key); });
   }
   void fecSet(std::uint64_t fec) {
      callBack([&](auto& handler) { handler.on_mpls_fec_set(orv::mpls_fec_id_t(fec)); });
   }
   void fecDel(std::uint64_t fec) {
      callBack([&](auto& handler) { handler.on_mpls_fec_del(orv::mpls_fec_id_t(fec)); });
   }

   // The table: routes, of which 100 is in hardware with version 7 over the FEC 9.
   void switchHas(std::vector<std::uint32_t> labels) {
      std::vector<orv::mpls_route_t> routes;
      for (const auto label : labels)
         routes.emplace_back(routeKey(label), 8);
      EXPECT_CALL(mgr_, mpls_route_iter()).WillRepeatedly([routes] {
         EXPECT_TRUE(locked());
         return iterOver<orv::mpls_route_iter_t>(routes);
      });
      EXPECT_CALL(mgr_, fec_id(_)).WillRepeatedly([](const orv::mpls_route_key_t& key) {
         EXPECT_TRUE(locked());
         return orv::mpls_fec_id_t(key == routeKey(100) ? 9 : 0);
      });
      EXPECT_CALL(mgr_, exists(An<const orv::mpls_route_key_t&>())).WillRepeatedly(Return(true));
      EXPECT_CALL(mgr_, hw_version_id(_)).WillRepeatedly([](const orv::mpls_route_key_t& key) {
         return static_cast<std::uint16_t>(key == routeKey(100) ? 7 : 0);
      });
   }
   void routeHasVias(const std::vector<orv::mpls_route_via_t>& vias) {
      EXPECT_CALL(mgr_, mpls_route_via_iter(_)).WillRepeatedly([vias](const orv::mpls_route_key_t& key) {
         EXPECT_TRUE(locked());
         return iterOver<ViaIter>(key == routeKey(100) ? vias : std::vector<orv::mpls_route_via_t>());
      });
   }

   // "100 metric 5"
   static std::string shownKey(const remote::MplsRouteKey& key) {
      std::string text;
      for (const auto& label : key.labels())
         text += (text.empty() ? "" : ",") + std::to_string(label.label());
      return key.metric() == 0 ? text : text + " metric " + std::to_string(key.metric());
   }
   // A message in short form: "set 100 fec=9 version=7 route 100/7 vias=2", "del 100", "fec set 9", "ack".
   static std::string shown(const std::optional<remote::MplsRouteWatchResponse>& response) {
      if (!response) return "end";
      if (response->ack()) return "ack";
      std::string text;
      switch (response->route_event_case()) {
         case remote::MplsRouteWatchResponse::kOnMplsRouteSet: {
            const auto& event = response->on_mpls_route_set();
            text = "set " + shownKey(event.route_key());
            if (event.has_fec_id()) text += " fec=" + std::to_string(event.fec_id().id());
            text += " version=" + std::to_string(event.hw_version_id());
            break;
         }
         case remote::MplsRouteWatchResponse::kOnMplsRouteDel:
            text = "del " + shownKey(response->on_mpls_route_del().route_key());
            break;
         case remote::MplsRouteWatchResponse::kOnMplsFecSet:
            text = "fec set " + std::to_string(response->on_mpls_fec_set().fec_id().id());
            break;
         case remote::MplsRouteWatchResponse::kOnMplsFecDel:
            text = "fec del " + std::to_string(response->on_mpls_fec_del().fec_id().id());
            break;
         default:
            text = "no event";
      }
      if (!response->has_dump()) return text;
      text += " dump";
      if (response->dump().has_route()) {
         text += " route " + shownKey(response->dump().route().key()) + "/" +
                 std::to_string(response->dump().route().version_id());
      }
      if (response->dump().vias_size() != 0) text += " vias=" + std::to_string(response->dump().vias_size());
      return text;
   }

   void mount() {
      const orv::sdk_scoped_lock lock;
      mountHandler_->doMounts(Pavo::makePtr<Tessel::MountGroup>(state_),
                              Pavo::makePtr<ZeltSharedMem::MountGroup>(shared_));
      mountHandler_->initialized_is(true);
      mountHandler_->onMountsComplete(state_, shared_);
   }
   std::size_t integratedWatchers() { return service_->integratedSubscriptions().getHandlers().size(); }
   // Opens a watch of acknowledgements and waits until it has subscribed.
   std::unique_ptr<Integrated> watchIntegrated(bool ack = false) {
      meetPump();
      const auto before = integratedWatchers();
      remote::MplsIntegratedAckRequest request;
      request.set_ack(ack);
      auto client = std::make_unique<Integrated>(*stub_, &Stub::watch_mpls_integrated, request);
      EXPECT_TRUE(orvtest::eventually([&] { return integratedWatchers() == before + 1; }));
      return client;
   }
   static std::string acknowledged(const std::optional<remote::MplsIntegratedAckResponse>& response) {
      if (!response) return "end";
      return response->ack() ? "ack" : MplsTables::shown(*response);
   }
};

// ---------------------------------------------------------------- reading

TEST_F(MplsRouteServiceTest, whatARouteIsReadsAsTheSwitchSaysIt) {
   EXPECT_CALL(mgr_, exists(routeKey(100, 5))).WillOnce([](const orv::mpls_route_key_t&) {
      EXPECT_TRUE(locked());
      return true;
   });
   EXPECT_TRUE(ok(&Stub::exists, ofRoute<remote::MplsRouteExistsRequest>(100, 5)).exists());
   EXPECT_CALL(mgr_, exists(routeKey(101))).WillOnce(Return(false));
   EXPECT_FALSE(ok(&Stub::exists, ofRoute<remote::MplsRouteExistsRequest>(101)).exists());
   EXPECT_CALL(mgr_, metric(routeKey(100))).WillOnce(Return(255));
   EXPECT_EQ(ok(&Stub::metric, ofRoute<remote::MplsRouteMetricRequest>(100)).metric(), 255U);
   EXPECT_CALL(mgr_, fec_id(routeKey(100))).WillOnce(Return(orv::mpls_fec_id_t(0x0300'0000'0000'0001)));
   EXPECT_EQ(ok(&Stub::fec_id, ofRoute<remote::MplsRouteFecIdRequest>(100)).fec_id().id(),
             0x0300'0000'0000'0001U);
   auto bad = ofRoute<remote::MplsRouteMetricRequest>(100);
   bad.mutable_route_key()->set_metric(256);
   fails(&Stub::metric, bad, grpc::StatusCode::INVALID_ARGUMENT, "metric 256 is out of range");
}

TEST_F(MplsRouteServiceTest, routesAndTheirStateAreListed) {
   EXPECT_CALL(mgr_, mpls_route_iter())
        .WillOnce(Return(iterOver<orv::mpls_route_iter_t>(
             {orv::mpls_route_t(routeKey(100), 3), orv::mpls_route_t(routeKey(200, 9))})));
   const auto routes = list(&Stub::mpls_routes, remote::MplsRoutesRequest());
   ASSERT_EQ(routes.size(), 2U);
   EXPECT_EQ(shownKey(routes[0].route().key()), "100");
   EXPECT_EQ(routes[0].route().version_id(), 3U);
   EXPECT_EQ(shownKey(routes[1].route().key()), "200 metric 9");

   EXPECT_CALL(mgr_, mpls_route_via_iter(routeKey(100)))
        .WillOnce(Return(iterOver<ViaIter>({hop("10.0.0.1"), hop("10.0.0.2")})));
   const auto vias = list(&Stub::mpls_route_vias, ofRoute<remote::MplsRouteViasRequest>(100));
   ASSERT_EQ(vias.size(), 2U);
   EXPECT_EQ(types::convert(vias[1].via()), hop("10.0.0.2"));

   orv::mpls_route_status_t status(routeKey(100));
   status.fec_id_is(orv::mpls_fec_id_t(9));
   status.hw_version_id_is(65535);
   EXPECT_CALL(mgr_, mpls_route_status_iter())
        .WillOnce(Return(iterOver<orv::mpls_route_status_iter_t>({status})));
   const auto statuses = list(&Stub::mpls_route_statuses, remote::MplsRouteStatusesRequest());
   ASSERT_EQ(statuses.size(), 1U);
   EXPECT_EQ(shownKey(statuses[0].status().key()), "100");
   EXPECT_EQ(statuses[0].status().fec_id().id(), 9U);
   EXPECT_EQ(statuses[0].status().hw_version_id(), 65535U);

   EXPECT_CALL(mgr_, mpls_route_via_status_iter(routeKey(100)))
        .WillOnce(Return(iterOver<orv::mpls_route_via_status_iter_t>({over("g")})));
   const auto programmed =
        list(&Stub::mpls_route_via_statuses, ofRoute<remote::MplsRouteViaStatusesRequest>(100));
   ASSERT_EQ(programmed.size(), 1U);
   EXPECT_EQ(types::convert(programmed[0].via()), over("g"));
}

TEST_F(MplsRouteServiceTest, aReplayIsTheSwitchesBusiness) {
   const InSequence order;
   EXPECT_CALL(mgr_, resync_init());
   EXPECT_CALL(mgr_, resync_complete()).WillOnce(Return()).WillOnce(Throw(orv::error("not begun")));
   ok(&Stub::resync_init, remote::ResyncMplsRouteInitRequest());
   ok(&Stub::resync_complete, remote::ResyncMplsRouteCompleteRequest());
   fails(&Stub::resync_complete, remote::ResyncMplsRouteCompleteRequest(), grpc::StatusCode::INTERNAL,
         "not begun");
}

// ---------------------------------------------------------------- editing

TEST_F(MplsRouteServiceTest, aRouteIsSetAndThenItsVias) {
   const InSequence order;
   EXPECT_CALL(mgr_, mpls_route_set(orv::mpls_route_t(routeKey(100), 65535)))
        .WillOnce([](const orv::mpls_route_t&) { EXPECT_TRUE(locked()); });
   EXPECT_CALL(mgr_, mpls_route_via_set(hop("10.0.0.1")));
   EXPECT_CALL(mgr_, mpls_route_via_set(hop("10.0.0.2")));
   auto request = routeSet({hop("10.0.0.1"), hop("10.0.0.2")});
   request.mutable_route()->set_version_id(65535);
   ok(&Stub::mpls_route_set, request);
   // A route without vias, and without a version.
   EXPECT_CALL(mgr_, mpls_route_set(orv::mpls_route_t(routeKey(100))));
   ok(&Stub::mpls_route_set, routeSet({}));
}

TEST_F(MplsRouteServiceTest, aRouteThatIsRefusedHasNoVias) {
   auto request = routeSet({hop("10.0.0.1")});
   request.mutable_route()->set_version_id(0);
   fails(&Stub::mpls_route_set, request, grpc::StatusCode::INVALID_ARGUMENT, "Versioning out of range: 0");
   EXPECT_CALL(mgr_, mpls_route_set(_)).WillRepeatedly(Throw(orv::error("the table is full")));
   for (const int action : {add, replace, 2})
      fails(&Stub::mpls_route_set, routeSet({hop("10.0.0.1")}, action), grpc::StatusCode::INTERNAL,
            "the table is full");
}

TEST_F(MplsRouteServiceTest, anUnknownActionIsRefusedWhenTheRouteHasBeenSet) {
   // The mock is strict: no via is looked at.
   for (const int action : {2, 3, -1, 2147483647}) {
      EXPECT_CALL(mgr_, mpls_route_set(orv::mpls_route_t(routeKey(100))));
      fails(&Stub::mpls_route_set, routeSet({hop("10.0.0.1")}, action), grpc::StatusCode::INVALID_ARGUMENT,
            "vias_action");
   }
}

TEST_F(MplsRouteServiceTest, aRouteWhoseViasCannotBeAddedIsTakenOutAgain) {
   const std::vector vias{hop("10.0.0.1"), hop("10.0.0.2"), hop("10.0.0.3")};
   for (std::size_t refused = 0; refused < vias.size(); ++refused) {
      const InSequence order;
      EXPECT_CALL(mgr_, mpls_route_set(_));
      for (std::size_t i = 0; i < refused; ++i)
         EXPECT_CALL(mgr_, mpls_route_via_set(vias[i]));
      EXPECT_CALL(mgr_, mpls_route_via_set(vias[refused]))
           .WillOnce(Throw(orv::invalid_range_error("label", 1, 2, 3)));
      EXPECT_CALL(mgr_, mpls_route_del(routeKey(100))).WillOnce([](const orv::mpls_route_key_t&) {
         EXPECT_TRUE(locked());
      });
      fails(&Stub::mpls_route_set, routeSet(vias), grpc::StatusCode::OUT_OF_RANGE,
            orv::invalid_range_error("label", 1, 2, 3).what());
   }
}

TEST_F(MplsRouteServiceTest, aViaThatCannotBeReadTakesTheRouteOutToo) {
   auto request = routeSet({hop("10.0.0.1"), hop("10.0.0.2")});
   request.mutable_vias(1)->set_hop("123");
   const InSequence order;
   EXPECT_CALL(mgr_, mpls_route_set(_));
   EXPECT_CALL(mgr_, mpls_route_via_set(hop("10.0.0.1")));
   EXPECT_CALL(mgr_, mpls_route_del(routeKey(100)));
   fails(&Stub::mpls_route_set, request, grpc::StatusCode::INVALID_ARGUMENT,
         "bytes length 3 does not match IPv4(4) or IPv6(16)");
}

TEST_F(MplsRouteServiceTest, theErrorOfTheViaIsToldEvenIfTheRouteStays) {
   EXPECT_CALL(mgr_, mpls_route_set(_));
   EXPECT_CALL(mgr_, mpls_route_via_set(_)).WillOnce(Throw(orv::configuration_error("via")));
   EXPECT_CALL(mgr_, mpls_route_del(_)).WillOnce(Throw(orv::error("del")));
   const orvtest::TraceCapture traces("mpls_route/0");
   fails(&Stub::mpls_route_set, routeSet({hop("10.0.0.1")}), grpc::StatusCode::FAILED_PRECONDITION, "via");
   EXPECT_EQ(traces.texts(), Texts{"MPLS route 100 stays without some of its vias: del"});
}

TEST_F(MplsRouteServiceTest, viasThatAreThereAlreadyAreNotTouched) {
   const std::vector vias{hop("10.0.0.1"), hop("10.0.0.2")};
   EXPECT_CALL(mgr_, mpls_route_set(_)).Times(2);
   routeHasVias(vias);
   // The mock is strict: no via is set or deleted.
   ok(&Stub::mpls_route_set, routeSet(vias, replace));
   ok(&Stub::mpls_route_set, routeSet({vias[1], vias[0], vias[1]}, replace));
}

TEST_F(MplsRouteServiceTest, newViasComeBeforeOldOnesGo) {
   routeHasVias({hop("10.0.0.1"), hop("10.0.0.2"), hop("10.0.0.3")});
   const InSequence order;
   EXPECT_CALL(mgr_, mpls_route_set(orv::mpls_route_t(routeKey(100))));
   EXPECT_CALL(mgr_, mpls_route_via_set(hop("10.0.0.5")));
   EXPECT_CALL(mgr_, mpls_route_via_set(hop("10.0.0.4")));
   EXPECT_CALL(mgr_, mpls_route_via_del(hop("10.0.0.1")));
   EXPECT_CALL(mgr_, mpls_route_via_del(hop("10.0.0.3")));
   ok(&Stub::mpls_route_set,
      routeSet({hop("10.0.0.5"), hop("10.0.0.2"), hop("10.0.0.4"), hop("10.0.0.5")}, replace));
   // A via that differs in one field is another.
   EXPECT_CALL(mgr_, mpls_route_set(_));
   EXPECT_CALL(mgr_, mpls_route_via_set(hop("10.0.0.1", 300)));
   EXPECT_CALL(mgr_, mpls_route_via_del(hop("10.0.0.1")));
   ok(&Stub::mpls_route_set, routeSet({hop("10.0.0.1", 300), hop("10.0.0.2"), hop("10.0.0.3")}, replace));
   // No via at all leaves none.
   EXPECT_CALL(mgr_, mpls_route_set(_));
   for (const char* address : {"10.0.0.1", "10.0.0.2", "10.0.0.3"})
      EXPECT_CALL(mgr_, mpls_route_via_del(hop(address)));
   ok(&Stub::mpls_route_set, routeSet({}, replace));
}

TEST_F(MplsRouteServiceTest, aReplacementThatFailsKeepsWhatWasDoneAndRemovesNoVia) {
   routeHasVias({hop("10.0.0.1")});
   {
      const InSequence order;
      EXPECT_CALL(mgr_, mpls_route_set(_));
      EXPECT_CALL(mgr_, mpls_route_via_set(hop("10.0.0.2")));
      EXPECT_CALL(mgr_, mpls_route_via_set(hop("10.0.0.3"))).WillOnce(Throw(orv::error("full")));
   }
   fails(&Stub::mpls_route_set, routeSet({hop("10.0.0.2"), hop("10.0.0.3"), hop("10.0.0.4")}, replace),
         grpc::StatusCode::INTERNAL, "full");
   // The service reads all vias first. If it cannot read one, it sets none.
   EXPECT_CALL(mgr_, mpls_route_set(_));
   auto request = routeSet({hop("10.0.0.2"), hop("10.0.0.3")}, replace);
   request.mutable_vias(1)->set_hop("123");
   fails(&Stub::mpls_route_set, request, grpc::StatusCode::INVALID_ARGUMENT,
         "bytes length 3 does not match IPv4(4) or IPv6(16)");
}

TEST_F(MplsRouteServiceTest, aBulkSetDoesWhatTheUnaryFormDoesUpToTheFirstFailure) {
   routeHasVias({hop("10.0.0.1")});
   const InSequence order;
   EXPECT_CALL(mgr_, mpls_route_set(orv::mpls_route_t(routeKey(100))));
   EXPECT_CALL(mgr_, mpls_route_via_set(hop("10.0.0.9")));
   EXPECT_CALL(mgr_, mpls_route_via_del(hop("10.0.0.1")));
   EXPECT_CALL(mgr_, mpls_route_set(orv::mpls_route_t(routeKey(200))));
   EXPECT_CALL(mgr_, mpls_route_via_set(over("g"))).WillOnce(Throw(orv::invalid_argument_error("no such")));
   EXPECT_CALL(mgr_, mpls_route_del(routeKey(200)));
   remote::BulkMplsRouteSetRequest bulk;
   *bulk.add_requests() = routeSet({hop("10.0.0.9")}, replace);
   *bulk.add_requests() = routeSet({over("g")}, add, 200);
   *bulk.add_requests() = routeSet({}, add, 300);
   const auto response = ok(&Stub::bulk_mpls_route_set, bulk);
   EXPECT_EQ(response.count(), 1U);
   EXPECT_EQ(response.status().code(), remote::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT);
   EXPECT_EQ(response.status().message(), "no such");
}

TEST_F(MplsRouteServiceTest, routesAreDeletedOneOrMany) {
   const InSequence order;
   EXPECT_CALL(mgr_, mpls_route_del(routeKey(100, 7)));
   ok(&Stub::mpls_route_del, ofRoute<remote::MplsRouteDelRequest>(100, 7));
   EXPECT_CALL(mgr_, mpls_route_del(routeKey(100)));
   EXPECT_CALL(mgr_, mpls_route_del(routeKey(200))).WillOnce(Throw(orv::error("in use")));
   remote::BulkMplsRouteDelRequest bulk;
   for (const std::uint32_t label : {100U, 200U, 300U})
      *bulk.add_requests() = ofRoute<remote::MplsRouteDelRequest>(label);
   const auto response = ok(&Stub::bulk_mpls_route_del, bulk);
   EXPECT_EQ(response.count(), 1U);
   EXPECT_EQ(response.status().message(), "in use");
}

TEST_F(MplsRouteServiceTest, viasAreSetAndDeletedOneOrMany) {
   const InSequence order;
   EXPECT_CALL(mgr_, mpls_route_via_set(over("g")));
   remote::MplsRouteViaSetRequest setOne;
   *setOne.mutable_via() = types::convert(over("g"));
   ok(&Stub::mpls_route_via_set, setOne);
   EXPECT_CALL(mgr_, mpls_route_via_set(over("g")));
   EXPECT_CALL(mgr_, mpls_route_via_set(hop("10.0.0.1"))).WillOnce(Throw(orv::error("mixed")));
   remote::BulkMplsRouteViaSetRequest setMany;
   *setMany.add_requests() = setOne;
   *setMany.add_requests()->mutable_via() = types::convert(hop("10.0.0.1"));
   const auto stored = ok(&Stub::bulk_mpls_route_via_set, setMany);
   EXPECT_EQ(stored.count(), 1U);
   EXPECT_EQ(stored.status().message(), "mixed");

   EXPECT_CALL(mgr_, mpls_route_via_del(over("g"))).Times(2);
   remote::MplsRouteViaDelRequest delOne;
   *delOne.mutable_via() = types::convert(over("g"));
   ok(&Stub::mpls_route_via_del, delOne);
   remote::BulkMplsRouteViaDelRequest delMany;
   *delMany.add_requests() = delOne;
   delMany.add_requests()->mutable_via()->set_hop("123");
   const auto deleted = ok(&Stub::bulk_mpls_route_via_del, delMany);
   EXPECT_EQ(deleted.count(), 1U);
   EXPECT_EQ(deleted.status().message(), "bytes length 3 does not match IPv4(4) or IPv6(16)");
}

// ---------------------------------------------------------------- watch

TEST_F(MplsRouteServiceTest, aSetAndADeleteBeforeATurnOfTheLoopAreTheLastOfThem) {
   const auto client = watch(all());
   set(routeKey(100), 9, 7);
   del(routeKey(100));
   runLoop();
   EXPECT_EQ(shown(client->next()), "del 100");
   del(routeKey(100));
   set(routeKey(100), 10);
   runLoop();
   EXPECT_EQ(shown(client->next()), "set 100 fec=10 version=0");
   set(routeKey(100), 10, 65535);
   set(routeKey(100), 11, 3);
   runLoop();
   EXPECT_EQ(shown(client->next()), "set 100 fec=11 version=3");
}

TEST_F(MplsRouteServiceTest, fecsAreEventsOfTheirOwn) {
   const auto client = watch(all());
   fecSet(9);
   set(routeKey(100), 9, 7);
   runLoop();
   EXPECT_THAT((Texts{shown(client->next()), shown(client->next())}),
               testing::UnorderedElementsAre("fec set 9", "set 100 fec=9 version=7"));
   fecSet(10);
   fecDel(10);
   fecDel(11);
   fecSet(11);
   runLoop();
   EXPECT_THAT((Texts{shown(client->next()), shown(client->next())}),
               testing::UnorderedElementsAre("fec del 10", "fec set 11"));
}

TEST_F(MplsRouteServiceTest, aWatchOfOneRouteHearsOfNothingElse) {
   const auto client = watch(one(100));
   set(routeKey(101), 9);
   set(routeKey(100, 1), 9);
   const std::vector stack{orv::mpls_label_t(100), orv::mpls_label_t(100)};
   set(orv::mpls_route_key_t(stack, 0), 9);
   del(routeKey(101));
   fecSet(9);
   fecDel(8);
   runLoop();
   set(routeKey(100), 9);
   runLoop();
   del(routeKey(100));
   runLoop();
   EXPECT_EQ(shown(client->next()), "set 100 fec=9 version=0");
   EXPECT_EQ(shown(client->next()), "del 100");
}

TEST_F(MplsRouteServiceTest, withoutASelectionNoNamedRouteIsSent) {
   const orvtest::TraceCapture traces("mpls_route/9");
   for (const auto& request : {all({}, false), remote::MplsRouteWatchRequest()}) {
      auto client = watch(request);
      set(routeKey(100), 9);
      fecSet(9);
      runLoop();
      del(orv::mpls_route_key_t());
      runLoop();
      EXPECT_EQ(shown(client->next()), "del ");
      client.reset();
      ASSERT_TRUE(orvtest::eventually([&] { return watchers() == 0; }));
   }
   EXPECT_EQ(orvtest::tracesWith(traces, "Enqueue "), 2U);
}

TEST_F(MplsRouteServiceTest, aVersionThatTheSwitchRefusesToTellCostsOneEvent) {
   const auto client = watch(all());
   const orvtest::TraceCapture traces("mpls_route/0");
   EXPECT_CALL(mgr_, hw_version_id(routeKey(100))).WillOnce(Throw(orv::error("gone")));
   callBack([&](auto& handler) { handler.on_mpls_route_set(routeKey(100), orv::mpls_fec_id_t(9)); });
   EXPECT_EQ(traces.texts(), Texts{"on_mpls_route_set is not told: gone"});
   set(routeKey(200), 9);
   runLoop();
   EXPECT_EQ(shown(client->next()), "set 200 fec=9 version=0") << "nothing was left behind for the other";
}

TEST_F(MplsRouteServiceTest, theTableComesFirstThenTheAcknowledgementThenEvents) {
   switchHas({100, 200});
   routeHasVias({hop("10.0.0.1"), hop("10.0.0.2")});
   const auto client = open(all({remote::MPLS_ROUTE_FIELD_ALL}));
   EXPECT_EQ(shown(client->next()), "set 100 fec=9 version=7 dump route 100/7 vias=2");
   EXPECT_EQ(shown(client->next()), "set 200 version=0 dump route 200/0");
   EXPECT_EQ(shown(client->next()), "ack");
   del(routeKey(100));
   runLoop();
   EXPECT_EQ(shown(client->next()), "del 100");
}

TEST_F(MplsRouteServiceTest, aRouteThatIsDeletedWhileItIsBeingDumpedIsReportedAsDeleted) {
   switchHas({100, 200});
   routeHasVias({});
   EXPECT_CALL(mgr_, exists(routeKey(200))).WillOnce(Return(false));
   const auto client = open(all({remote::MPLS_ROUTE_FIELD_ALL}));
   EXPECT_EQ(shown(client->next()), "set 100 fec=9 version=7 dump route 100/7");
   EXPECT_EQ(shown(client->next()), "del 200 dump");
   EXPECT_EQ(shown(client->next()), "ack");
}

TEST_F(MplsRouteServiceTest, fieldsSelectWhatIsShownAndNothingElse) {
   switchHas({100});
   routeHasVias({over("g")});
   const std::vector<std::pair<std::vector<int>, std::string>> selections{
        {{1}, "set 100 fec=9 version=7 dump route 100/7"},
        {{2}, "set 100 fec=9 version=7 dump vias=1"},
        {{2, 1}, "set 100 fec=9 version=7 dump route 100/7 vias=1"},
        {{3, 2, 0, 9}, "set 100 fec=9 version=7 dump route 100/7 vias=1"},
        // Numbers below 2 stand for the routes.
        {{-1}, "set 100 fec=9 version=7 dump route 100/7"},
        {{-2147483647 - 1, 3}, "set 100 fec=9 version=7 dump route 100/7"},
   };
   for (const auto& [fields, expected] : selections) {
      const auto client = open(all(fields));
      EXPECT_EQ(shown(client->next()), expected);
      EXPECT_EQ(shown(client->next()), "ack");
   }
}

TEST_F(MplsRouteServiceTest, withoutFieldsThereAreEventsButNoDumpAndNoTraceOfIt) {
   // The mock is strict: the table is not read.
   const orvtest::TraceCapture traces("mpls_route/0-8");
   auto emptyControl = all();
   emptyControl.mutable_fields_control();
   for (const auto& request : {all(), emptyControl, all({3, 99})}) {
      auto client = watch(request);
      fecSet(1);
      runLoop();
      EXPECT_EQ(shown(client->next()), "fec set 1");
      client.reset();
      ASSERT_TRUE(orvtest::eventually([&] { return watchers() == 0; }));
   }
   for (const auto& text : traces.texts())
      EXPECT_THAT(text, testing::Not(testing::HasSubstr("dump")));
   auto asking = all();
   asking.set_ack(true);
   EXPECT_EQ(shown(open(asking)->next()), "ack");
}

TEST_F(MplsRouteServiceTest, anEmptyTableIsItsAcknowledgement) {
   switchHas({});
   EXPECT_EQ(shown(open(all({1}))->next()), "ack");
}

TEST_F(MplsRouteServiceTest, aViaThatTheWireDoesNotKnowIsLeftOutOfTheDump) {
   switchHas({100});
   auto unknown = over("g");
   unknown.ttl_mode_is(static_cast<orv::mpls_ttl_mode_t>(9));
   routeHasVias({hop("10.0.0.1"), unknown, hop("10.0.0.2")});
   const orvtest::TraceCapture traces("mpls_route/0");
   const auto client = open(all({2}));
   EXPECT_EQ(shown(client->next()), "set 100 fec=9 version=7 dump vias=2");
   EXPECT_EQ(shown(client->next()), "ack");
   EXPECT_EQ(traces.texts(), Texts{"vias is not told: Unknown value for mpls ttl mode: 9"});
}

TEST_F(MplsRouteServiceTest, theSwitchIsWatchedWhileSomebodyListens) {
   EXPECT_FALSE(sdkWatched());
   {
      const auto first = watch(all());
      EXPECT_TRUE(sdkWatched());
      { const auto second = watch(one(100)); }
      EXPECT_TRUE(orvtest::eventually([&] { return watchers() == 1; }));
      EXPECT_TRUE(sdkWatched());
   }
   EXPECT_TRUE(orvtest::eventually([&] { return !sdkWatched(); }));
}

// Changes are not reported while nobody watches, so no later event would correct an old one.
TEST_F(MplsRouteServiceTest, whatWaitsWhenTheLastOneLeavesReachesNobody) {
   {
      const auto first = watch(all());
      set(routeKey(100), 9);
      fecSet(9);
   }
   ASSERT_TRUE(orvtest::eventually([&] { return !sdkWatched(); }));
   const auto late = watch(all());
   runLoop();
   del(routeKey(200));
   runLoop();
   fecDel(8);
   runLoop();
   EXPECT_EQ(shown(late->next()), "del 200");
   EXPECT_EQ(shown(late->next()), "fec del 8");
}

// ---------------------------------------------------------------- acknowledgements

TEST_F(MplsRouteServiceTest, everyWatcherHearsOfRoutesThatAreInHardwareWithTheirGroups) {
   mount();
   map_->rowIs(7, "g");
   rowIs(routeOver(100, 7, 3, 4));
   const auto first = watchIntegrated(true);
   EXPECT_EQ(acknowledged(first->next()), "ack");
   runLoop();
   EXPECT_EQ(acknowledged(first->next()), "100 metric 0 version 3 over g version 4 state 2");
   // Whoever comes second hears of what changes from then on.
   const auto second = watchIntegrated();
   runLoop();
   {
      const orv::sdk_scoped_lock lock;
      rowIs(routeOver(100, 7, 5, 4));
   }
   runLoop();
   for (auto* client : {first.get(), second.get()})
      EXPECT_EQ(acknowledged(client->next()), "100 metric 0 version 5 over g version 4 state 2");
}

TEST_F(MplsRouteServiceTest, theHardwareTableIsFollowedWhileSomebodyWatchesIt) {
   mount();
   const auto references = table_->refCount();
   const auto followed = [&] {
      const orv::sdk_scoped_lock lock;
      return table_->refCount() > references;
   };
   // The other watch does not follow it, and this one does not watch the SDK.
   auto events = watch(all());
   EXPECT_FALSE(followed());
   auto first = watchIntegrated();
   EXPECT_TRUE(orvtest::eventually(followed));
   events.reset();
   EXPECT_TRUE(orvtest::eventually([&] { return !sdkWatched(); }));
   EXPECT_TRUE(followed());
   auto second = watchIntegrated();
   first.reset();
   ASSERT_TRUE(orvtest::eventually([&] { return integratedWatchers() == 1; }));
   EXPECT_TRUE(followed());
   second.reset();
   EXPECT_TRUE(orvtest::eventually([&] { return !followed(); }));
}

TEST_F(MplsRouteServiceTest, eachRpcHasOneHandlerThatWaits) {
   expectOneHandlerPerRpc();
}

}  // namespace
}  // namespace OrvSdkRpc
