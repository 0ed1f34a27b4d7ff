// The FIB of a daemon: what a controller programs is in its lists and in its watch, before a kill and after
// it.
#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvSdkRpcProtos/fib.grpc.pb.h"
#include "OrvSdkRpcProtos/ip_route.grpc.pb.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/process/Controller.h"
#include "testing/process/Daemon.h"
#include "testing/server/Programmed.h"
#include "testing/server/StreamClient.h"

namespace orvtest {
namespace {

namespace remote = orv::remote;

class DaemonFib : public testing::Test {
protected:
   using Stub = remote::FibMgrService::Stub;
   using Watch = StreamClient<remote::FibWatchResponse>;

   void start(const std::vector<std::string>& flags) {
      daemon_.emplace(programPath("orvsdkrpcd"), directory_.path(), flags);
      serve();
   }
   // Starts the process, also after a kill, and connects.
   void serve() {
      daemon_->start();
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
      channel_ = grpc::CreateCustomChannel(daemon_->address(), grpc::InsecureChannelCredentials(), arguments);
      fib_ = remote::FibMgrService::NewStub(channel_);
      controller_ = std::make_unique<Controller>(daemon_->address());
      EXPECT_EQ(controller_->init().status().status(), pb::RPC_STATUS_OK);
   }

   // A watch that has subscribed.
   std::unique_ptr<Watch> watch() {
      remote::FibWatchRequest request;
      request.set_ack(true);
      auto made = std::make_unique<Watch>(*fib_, &Stub::watch, request);
      const auto ack = made->next();
      EXPECT_TRUE(ack && ack->ack());
      return made;
   }
   // The next event of this kind.
   static std::optional<remote::FibWatchResponse> await(
        Watch& watch, const std::function<bool(const remote::FibWatchResponse&)>& such) {
      std::optional<remote::FibWatchResponse> event;
      while ((event = watch.next()) && !such(*event)) {
      }
      EXPECT_TRUE(event) << "the watch has ended";
      return event;
   }

   void setGroup(const std::string& name, bool exists = true) {
      pb::nexthop_group_bulk_msg bulk;
      auto& group = *bulk.add_bulk();
      group.set_name(name);
      if (exists) {
         addNexthop(group, 1, {100});
         group.mutable_nexthops(0)->set_intf("Ethernet1");
      } else {
         group.set_delete_(true);
      }
      requireAllOk(controller_->groups(bulk), 1);
   }
   // 10.0.<third>.0/24; an empty group deletes.
   void setRoute(int third, const std::string& group) {
      pb::ip_route_bulk_msg bulk;
      *bulk.add_bulk() = ipRoute(third, group);
      requireAllOk(controller_->routes(bulk), 1);
   }

   static remote::FibRouteKey keyOf(int third) {
      remote::FibRouteKey key;
      key.mutable_prefix()->set_network(ipv4({10, 0, third, 0}));
      key.mutable_prefix()->set_prefix_length(24);
      return key;
   }
   static bool same(const remote::FibRouteKey& a, const remote::FibRouteKey& b) {
      return a.SerializeAsString() == b.SerializeAsString();
   }
   std::vector<remote::FibRoutesResponse> routes() {
      return StreamClient<remote::FibRoutesResponse>(*fib_, &Stub::fib_routes, remote::FibRoutesRequest())
           .rest();
   }
   std::vector<remote::FibFecsResponse> fecs() {
      return StreamClient<remote::FibFecsResponse>(*fib_, &Stub::fib_fecs, remote::FibFecsRequest()).rest();
   }
   template <class Rq, class Rp>
   Rp ask(grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*), const Rq& request) {
      grpc::ClientContext context;
      Rp response;
      const grpc::Status status = (fib_.get()->*rpc)(&context, request, &response);
      EXPECT_TRUE(status.ok()) << status.error_message();
      return response;
   }
   // The route and its group are in every list, and each reads as it is listed.
   void expectRouteOver(int third, const std::string& group) {
      const auto listed = routes();
      ASSERT_EQ(listed.size(), 1U);
      const remote::FibRoute& route = listed[0].fib_route();
      EXPECT_TRUE(same(route.route_key(), keyOf(third)));
      const auto ways = fecs();
      ASSERT_EQ(ways.size(), 1U);
      EXPECT_EQ(ways[0].fib_fec().fec_key().fec_id(), route.fec_id());
      EXPECT_EQ(ways[0].fib_fec().nexthop_group_name(), group);
      ASSERT_EQ(ways[0].fib_fec().via_size(), 1);
      EXPECT_EQ(ways[0].fib_fec().via(0).intf().name(), "Ethernet1");

      remote::FibRouteRequest one;
      *one.mutable_key() = route.route_key();
      EXPECT_EQ(ask(&Stub::fib_route, one).fib_route().SerializeAsString(), route.SerializeAsString());
      remote::FibRouteExistsRequest exists;
      *exists.mutable_key() = route.route_key();
      EXPECT_TRUE(ask(&Stub::fib_route_exists, exists).exists());
      remote::FibFecRequest way;
      way.mutable_key()->set_fec_id(route.fec_id());
      EXPECT_EQ(ask(&Stub::fib_fec, way).fib_fec().nexthop_group_name(), group);
      remote::FibFecExistsRequest wayExists;
      wayExists.mutable_key()->set_fec_id(route.fec_id());
      EXPECT_TRUE(ask(&Stub::fib_fec_exists, wayExists).exists());
   }

   TempDir directory_{"orv-fib-"};
   std::optional<Daemon> daemon_;
   std::shared_ptr<grpc::Channel> channel_;
   std::unique_ptr<Stub> fib_;
   std::unique_ptr<Controller> controller_;
};

TEST_F(DaemonFib, aProgrammedRouteIsInTheListsAndInTheWatchUntilItGoes) {
   start({"--fib"});
   const auto events = watch();
   // In this order no watcher sees a route without its FEC.
   setRoute(1, "g");
   EXPECT_TRUE(routes().empty()) << "its group is missing";
   setGroup("g");
   bool toldOfGroup = false;
   const auto set = await(*events, [&](const auto& event) {
      toldOfGroup |= event.has_on_fec_set() && event.on_fec_set().nexthop_group_name() == "g";
      return event.has_on_route_set();
   });
   ASSERT_TRUE(set);
   EXPECT_TRUE(toldOfGroup);
   EXPECT_TRUE(same(set->on_route_set().route_key(), keyOf(1)));
   expectRouteOver(1, "g");
   EXPECT_EQ(routes().at(0).fib_route().fec_id(), set->on_route_set().fec_id());

   // Whoever opens a watch now hears only of what changes from now on.
   const auto late = watch();
   setRoute(1, "");
   for (Watch* each : {events.get(), late.get()}) {
      const auto gone = await(*each, [](const auto& event) { return event.has_on_route_del(); });
      ASSERT_TRUE(gone);
      EXPECT_TRUE(same(gone->on_route_del(), keyOf(1)));
   }
   EXPECT_TRUE(routes().empty());
   EXPECT_EQ(fecs().size(), 1U) << "the group is still in hardware";
   setGroup("g", false);
   const auto way = await(*late, [](const auto& event) { return event.has_on_fec_del(); });
   ASSERT_TRUE(way);
   EXPECT_EQ(way->on_fec_del().fec_id(), set->on_route_set().fec_id());
   EXPECT_TRUE(fecs().empty());
   remote::FibRouteExistsRequest exists;
   *exists.mutable_key() = keyOf(1);
   EXPECT_FALSE(ask(&Stub::fib_route_exists, exists).exists());
}

TEST_F(DaemonFib, aKilledDaemonHasTheFibAgain) {
   start({"--fib"});
   setGroup("g");
   setRoute(1, "g");
   ASSERT_TRUE(eventually([&] { return routes().size() == 1; }));
   daemon_->kill();
   serve();
   ASSERT_TRUE(eventually([&] { return routes().size() == 1; }));
   expectRouteOver(1, "g");
   const auto events = watch();
   setRoute(2, "g");
   const auto set = await(*events, [](const auto& event) {
      return event.has_on_route_set() && same(event.on_route_set().route_key(), keyOf(2));
   });
   ASSERT_TRUE(set);
   EXPECT_EQ(set->on_route_set().fec_id(), fecs().at(0).fib_fec().fec_key().fec_id());
}

// The programming service and the other mirror services are there without the flag.
TEST_F(DaemonFib, withoutTheFlagEveryRpcOfItIsUnimplemented) {
   start({});
   const auto unimplemented = [&](auto rpc, const auto& request) {
      StreamClient client(*fib_, rpc, request);
      EXPECT_FALSE(client.next());
      EXPECT_EQ(client.finish().error_code(), grpc::StatusCode::UNIMPLEMENTED);
   };
   unimplemented(&Stub::fib_routes, remote::FibRoutesRequest());
   unimplemented(&Stub::fib_fecs, remote::FibFecsRequest());
   unimplemented(&Stub::watch, remote::FibWatchRequest());
   const auto refused = [&](auto rpc, const auto& request, auto response) {
      grpc::ClientContext context;
      EXPECT_EQ((fib_.get()->*rpc)(&context, request, &response).error_code(),
                grpc::StatusCode::UNIMPLEMENTED);
   };
   refused(&Stub::fib_route, remote::FibRouteRequest(), remote::FibRouteResponse());
   refused(&Stub::fib_route_exists, remote::FibRouteExistsRequest(), remote::FibRouteExistsResponse());
   refused(&Stub::fib_fec, remote::FibFecRequest(), remote::FibFecResponse());
   refused(&Stub::fib_fec_exists, remote::FibFecExistsRequest(), remote::FibFecExistsResponse());

   setGroup("g");
   setRoute(1, "g");
   const auto routes = remote::IpRouteMgrService::NewStub(channel_);
   EXPECT_EQ(StreamClient<remote::IpRoutesResponse>(*routes, &remote::IpRouteMgrService::Stub::ip_routes,
                                                    remote::IpRoutesRequest())
                  .rest()
                  .size(),
             1U);
}

}  // namespace
}  // namespace orvtest
