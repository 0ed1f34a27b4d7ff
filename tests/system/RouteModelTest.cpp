// Routes and labels that a mirror client, a controller and an operator change at once, in a fixed random
// order, against a model: lists, reads, what hardware has and the watches agree with it, also after a kill.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpcProtos/fib.grpc.pb.h"
#include "OrvSdkRpcProtos/ip_route.grpc.pb.h"
#include "OrvSdkRpcProtos/mpls_route.grpc.pb.h"
#include "OrvSdkRpcProtos/nexthop_group.grpc.pb.h"
#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"
#include "RouteModel.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/process/Console.h"
#include "testing/process/Controller.h"
#include "testing/process/Daemon.h"
#include "testing/process/DurableState.h"
#include "testing/server/Follower.h"
#include "testing/server/Programmed.h"
#include "testing/server/StreamClient.h"

namespace orvtest {
namespace {

namespace remote = orv::remote;

using RouteStub = remote::IpRouteMgrService::Stub;
using LabelStub = remote::MplsRouteMgrService::Stub;
using FibStub = remote::FibMgrService::Stub;

struct KnownFib {
   std::map<int, std::uint64_t> routes;  // with their FECs
   std::map<std::uint64_t, std::string> fecs;

   // The routes with the names of their groups.
   std::map<int, std::string> resolved() const {
      std::map<int, std::string> found;
      for (const auto& [third, fec] : routes) {
         const auto at = fecs.find(fec);
         found.emplace(third, at == fecs.end() ? "(no such FEC)" : at->second);
      }
      return found;
   }
};

int thirdOf(const remote::Prefix& prefix) {
   return static_cast<unsigned char>(prefix.network().at(2));
}
std::uint32_t labelOf(const remote::MplsRouteKey& key) {
   return key.labels(0).label();
}

class RouteModelTest : public testing::TestWithParam<std::uint32_t> {
protected:
   RouteModelTest() {
      serve();
      console_->run("configure vrf red");
   }

   // Starts the daemon, also after a kill, and connects everybody.
   void serve() {
      daemon_.start();
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
      const auto channel =
           grpc::CreateCustomChannel(daemon_.address(), grpc::InsecureChannelCredentials(), arguments);
      routes_ = remote::IpRouteMgrService::NewStub(channel);
      labels_ = remote::MplsRouteMgrService::NewStub(channel);
      groups_ = remote::NexthopGroupMgrService::NewStub(channel);
      fib_ = remote::FibMgrService::NewStub(channel);
      programming_ = pb::orvsdk_service::NewStub(channel);
      console_ = std::make_unique<Console>(daemon_.consolePath());
      done(*programming_, &pb::orvsdk_service::Stub::rpc_server_init, pb::rpc_server_config_msg());
      follow();
   }
   void kill() {
      knownFib_.reset();
      knownLabels_.reset();
      console_.reset();
      daemon_.kill();
   }
   void follow() {
      remote::FibWatchRequest fib;
      fib.set_ack(true);
      knownFib_.emplace(*fib_, &FibStub::watch, fib, [](KnownFib& known, const auto& event) {
         if (event.has_on_fec_set()) {
            known.fecs[event.on_fec_set().fec_key().fec_id()] = event.on_fec_set().nexthop_group_name();
         }
         if (event.has_on_route_set()) {
            known.routes[thirdOf(event.on_route_set().route_key().prefix())] = event.on_route_set().fec_id();
         }
         if (event.has_on_route_del()) known.routes.erase(thirdOf(event.on_route_del().prefix()));
         if (event.has_on_fec_del()) known.fecs.erase(event.on_fec_del().fec_id());
      });
      // The watch has no dump. Events wait while the list is read, so none is overwritten by an older list.
      knownFib_->with([this](KnownFib& known) { known = listedFib(); });
      remote::MplsRouteWatchRequest labels;
      labels.set_all(true);
      labels.mutable_fields_control()->add_fields(remote::MPLS_ROUTE_FIELD_ALL);
      knownLabels_.emplace(*labels_, &LabelStub::watch, labels,
                           [](std::set<std::uint32_t>& known, const auto& event) {
                              if (event.has_on_mpls_route_set()) {
                                 const auto label = labelOf(event.on_mpls_route_set().route_key());
                                 if (event.on_mpls_route_set().fec_id().id() != 0) {
                                    known.insert(label);
                                 } else {
                                    known.erase(label);
                                 }
                              }
                              if (event.has_on_mpls_route_del()) {
                                 known.erase(labelOf(event.on_mpls_route_del().route_key()));
                              }
                           });
   }

   // ------------------------------------------------------------- calls

   template <class Stub, class Rq, class Rp>
   static grpc::Status call(Stub& stub, grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*),
                            const Rq& request, Rp& response) {
      grpc::ClientContext context;
      return (stub.*rpc)(&context, request, &response);
   }
   // A call that must succeed.
   template <class Stub, class Rq, class Rp>
   static Rp done(Stub& stub, grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*),
                  const Rq& request) {
      Rp response;
      const grpc::Status status = call(stub, rpc, request, response);
      EXPECT_TRUE(status.ok()) << status.error_message() << ": " << request.ShortDebugString();
      return response;
   }
   // A call that must be refused.
   template <class Stub, class Rq, class Rp>
   static void refused(Stub& stub, grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*),
                       const Rq& request) {
      Rp response;
      EXPECT_FALSE(call(stub, rpc, request, response).ok()) << request.ShortDebugString();
   }
   // A request of the programming service. `there`: whether it finds what it deletes.
   template <class Rq>
   void programmed(grpc::Status (pb::orvsdk_service::Stub::*rpc)(grpc::ClientContext*, const Rq&,
                                                                 pb::rpc_status_msg*),
                   const Rq& request, bool there = true) {
      const auto status = done(*programming_, rpc, request);
      EXPECT_EQ(status.status(), there ? pb::RPC_STATUS_OK : pb::RPC_STATUS_NOT_FOUND)
           << status.debug_string() << ": " << request.ShortDebugString();
   }

   int any(int below) { return static_cast<int>(random_() % static_cast<std::uint32_t>(below)); }
   std::uint32_t oneTo(int most) { return static_cast<std::uint32_t>(1 + any(most)); }
   std::string anyVrf() { return any(2) == 0 ? "default" : "red"; }
   std::string anyGroup() { return fmt::format("g{}", any(4)); }
   // Routes of a kind have numbers of their own, since hops and groups do not mix.
   int anyHopRoute() { return any(6); }
   int anyGroupRoute() { return 10 + any(6); }

   static std::string prefixOf(int third) { return fmt::format("10.0.{}.0/24", third); }
   static remote::IpRouteKey keyOf(int third) {
      remote::IpRouteKey key;
      key.mutable_prefix()->set_network(ipv4({10, 0, third, 0}));
      key.mutable_prefix()->set_prefix_length(24);
      return key;
   }
   static remote::IpRouteVia hopVia(int third, int hop, std::uint32_t weight,
                                    const std::string& intf = "Ethernet1") {
      remote::IpRouteVia via;
      *via.mutable_route_key() = keyOf(third);
      via.set_hop(ipv4({192, 0, 2, hop}));
      via.mutable_intf()->set_name(intf);
      via.set_weight(weight);
      return via;
   }
   remote::IpRouteSetRequest anyHops(int third, const std::string& vrf, std::uint32_t tag) {
      remote::IpRouteSetRequest request;
      *request.mutable_ip_route()->mutable_key() = keyOf(third);
      request.mutable_ip_route()->set_tag(tag);
      for (int hop = 1; hop <= 6; ++hop) {
         if (any(2) == 0) *request.add_vias() = hopVia(third, hop, oneTo(3));
      }
      if (vrf != "default" || any(2) == 0) request.set_vrf_name(vrf);
      return request;
   }

   // ------------------------------------------------------------- changes of IP routes

   void setHops(bool replace) {
      const auto vrf = anyVrf();
      const int third = anyHopRoute();
      const std::uint32_t tag = oneTo(2);
      auto request = anyHops(third, vrf, tag);
      request.set_vias_action(replace ? 1 : 0);
      done(*routes_, &RouteStub::ip_route_set, request);
      const auto [at, fresh] = model_.routes[vrf].try_emplace(third);
      auto& route = at->second;
      // Without vias, and if the route differs, none is replaced.
      if (replace && !fresh && route.tag == tag && request.vias_size() != 0) route.hops.clear();
      route.tag = tag;
      for (const auto& via : request.vias())
         route.hops[via.hop().back()] = via.weight();
   }
   void setHopsOneOfWhichIsRefused() {
      const auto vrf = anyVrf();
      const int third = anyHopRoute();
      const std::uint32_t tag = oneTo(2);
      auto request = anyHops(third, vrf, tag);
      *request.add_vias() = hopVia(third, 9, 1, "Ethernet99");
      request.mutable_vias()->SwapElements(any(request.vias_size()), request.vias_size() - 1);
      const bool replace = any(2) == 0;
      request.set_vias_action(replace ? 1 : 0);
      refused(*routes_, &RouteStub::ip_route_set, request);
      auto& routes = model_.routes[vrf];
      const auto at = routes.find(third);
      // A refused replacement is rolled back, a refused addition takes the route away.
      if (at != routes.end() && !(replace && at->second.tag == tag)) routes.erase(at);
   }
   void delRoute() {
      const auto vrf = anyVrf();
      const int third = any(2) == 0 ? anyHopRoute() : anyGroupRoute();
      remote::IpRouteDelRequest request;
      request.set_vrf_name(vrf);
      *request.mutable_key() = keyOf(third);
      done(*routes_, &RouteStub::ip_route_del, request);
      model_.routes[vrf].erase(third);
   }
   void setVia() {
      const auto vrf = anyVrf();
      const int third = anyHopRoute();
      const int hop = 1 + any(6);
      remote::IpRouteViaSetRequest request;
      request.set_vrf_name(vrf);
      *request.mutable_via() = hopVia(third, hop, oneTo(3));
      auto& routes = model_.routes[vrf];
      const auto at = routes.find(third);
      if (at == routes.end()) {
         refused(*routes_, &RouteStub::ip_route_via_set, request);
         return;
      }
      done(*routes_, &RouteStub::ip_route_via_set, request);
      at->second.hops[hop] = request.via().weight();
   }
   void delVia() {
      const auto vrf = anyVrf();
      const int third = anyHopRoute();
      const int hop = 1 + any(6);
      auto& routes = model_.routes[vrf];
      const auto at = routes.find(third);
      if (at == routes.end()) return;
      remote::IpRouteViaDelRequest request;
      request.set_vrf_name(vrf);
      *request.mutable_via() = hopVia(third, hop, oneTo(3));
      done(*routes_, &RouteStub::ip_route_via_del, request);
      const auto old = at->second.hops.find(hop);
      if (old != at->second.hops.end() && old->second == request.via().weight()) at->second.hops.erase(old);
   }
   void configureHop() {
      const auto vrf = anyVrf();
      const int third = anyHopRoute();
      const int hop = 1 + any(6);
      const std::uint32_t tag = oneTo(2);
      const std::uint32_t weight = oneTo(3);
      console_->run(fmt::format("configure ip route {} 192.0.2.{} interface Ethernet1 weight {} tag {}{}",
                                prefixOf(third), hop, weight, tag, vrf == "default" ? "" : " vrf " + vrf));
      auto& route = model_.routes[vrf][third];
      route.tag = tag;
      route.hops[hop] = weight;
   }
   void configureNoRoute() {
      const auto vrf = anyVrf();
      const int third = any(2) == 0 ? anyHopRoute() : anyGroupRoute();
      const auto command =
           fmt::format("configure no ip route {}{}", prefixOf(third), vrf == "default" ? "" : " vrf " + vrf);
      if (model_.routes[vrf].erase(third) == 1) {
         console_->run(command);
      } else {
         EXPECT_THROW(console_->run(command), ConsoleError);
      }
   }
   void programRoute() {
      const int third = anyGroupRoute();
      const std::uint32_t tag = oneTo(2);
      const auto group = anyGroup();
      auto& routes = model_.routes["default"];
      if (any(4) == 0) {
         programmed(&pb::orvsdk_service::Stub::ip_route, ipRoute(third, ""), routes.erase(third) == 1);
         return;
      }
      programmed(&pb::orvsdk_service::Stub::ip_route, ipRoute(third, group, tag));
      routes[third] = {.tag = tag, .group = group, .hops = {}};
   }
   void setGroupRoute() {
      const int third = anyGroupRoute();
      const bool replace = any(2) == 0;
      remote::IpRouteSetRequest request;
      *request.mutable_ip_route()->mutable_key() = keyOf(third);
      request.mutable_ip_route()->set_tag(oneTo(2));
      request.set_vias_action(replace ? 1 : 0);
      auto& via = *request.add_vias();
      *via.mutable_route_key() = keyOf(third);
      via.set_nexthop_group(anyGroup());
      // Whatever is given here, such a route is one of the default VRF.
      if (any(2) == 0) request.set_vrf_name("red");
      done(*routes_, &RouteStub::ip_route_set, request);
      const auto [at, fresh] = model_.routes["default"].try_emplace(third);
      if (fresh || !replace) at->second.tag = request.ip_route().tag();
      at->second.group = via.nexthop_group();
   }
   void configureGroupRoute() {
      const int third = anyGroupRoute();
      const std::uint32_t tag = oneTo(2);
      const auto group = anyGroup();
      console_->run(
           fmt::format("configure ip route {} nexthop-group {} tag {}", prefixOf(third), group, tag));
      model_.routes["default"][third] = {.tag = tag, .group = group, .hops = {}};
   }

   // ------------------------------------------------------------- changes of groups and labels

   void changeGroup() {
      const auto name = anyGroup();
      const int by = any(3);
      if (any(3) == 0) {
         if (model_.groups.erase(name) == 0) return;
         if (by == 0) {
            console_->run("configure no nexthop-group " + name);
         } else if (by == 1) {
            remote::NexthopGroupDelRequest request;
            request.set_name(name);
            done(*groups_, &remote::NexthopGroupMgrService::Stub::nexthop_group_del, request);
         } else {
            pb::nexthop_group_msg request;
            request.set_name(name);
            request.set_delete_(true);
            programmed(&pb::orvsdk_service::Stub::nexthop_group, request);
         }
         return;
      }
      model_.groups.insert(name);
      if (by == 0) {
         console_->run(
              fmt::format("configure nexthop-group {} entry 0 nexthop 192.0.2.1 interface Ethernet1", name));
      } else if (by == 1) {
         remote::NexthopGroupSetRequest request;
         auto& group = *request.mutable_nexthop_group();
         group.set_name(name);
         group.set_type(remote::NEXTHOP_GROUP_ENCAP_TYPES_MPLS);
         (*group.mutable_nexthops())[0].set_nexthop(ipv4({192, 0, 2, 1}));
         done(*groups_, &remote::NexthopGroupMgrService::Stub::nexthop_group_set, request);
      } else {
         pb::nexthop_group_msg request;
         request.set_name(name);
         addNexthop(request, 1, {100});
         programmed(&pb::orvsdk_service::Stub::nexthop_group, request);
      }
   }
   static remote::MplsRouteKey labelKey(std::uint32_t label) {
      remote::MplsRouteKey key;
      key.add_labels()->set_label(label);
      return key;
   }
   void setLabel() {
      const bool hops = any(2) == 0;
      const auto label = static_cast<std::uint32_t>((hops ? 100 : 200) + any(4));
      remote::MplsRouteSetRequest request;
      *request.mutable_route()->mutable_key() = labelKey(label);
      request.mutable_route()->set_version_id(oneTo(3));
      const bool replace = any(2) == 0;
      request.set_vias_action(replace ? remote::MPLS_ROUTE_VIAS_ACTION_REPLACE
                                      : remote::MPLS_ROUTE_VIAS_ACTION_ADD);
      const auto add = [&] {
         auto& via = *request.add_vias();
         *via.mutable_route_key() = labelKey(label);
         via.set_label_action(remote::MPLS_ACTIONS_POP);
         return &via;
      };
      RouteModel::Label& route = model_.labels[label];
      route.version = request.route().version_id();
      if (hops) {
         if (replace) route.hops.clear();
         for (int hop = 1; hop <= 4; ++hop) {
            if (any(2) == 0) continue;
            auto* const via = add();
            via->set_hop(ipv4({192, 0, 2, hop}));
            via->mutable_intf()->set_name("Ethernet1");
            route.hops.insert(hop);
         }
      } else {
         route.group = anyGroup();
         add()->set_nexthop_group(route.group);
      }
      done(*labels_, &LabelStub::mpls_route_set, request);
   }
   void delLabel() {
      const auto label = static_cast<std::uint32_t>((any(2) == 0 ? 100 : 200) + any(4));
      remote::MplsRouteDelRequest request;
      *request.mutable_route_key() = labelKey(label);
      done(*labels_, &LabelStub::mpls_route_del, request);
      model_.labels.erase(label);
   }
   void programLabel() {
      const auto label = static_cast<std::uint32_t>(200 + any(4));
      pb::mpls_route_msg request;
      request.set_label(label);
      if (any(4) == 0) {
         request.set_delete_(true);
         programmed(&pb::orvsdk_service::Stub::mpls_route, request, model_.labels.erase(label) == 1);
         return;
      }
      const auto group = anyGroup();
      request.mutable_nexthop_group_msg()->set_name(group);
      programmed(&pb::orvsdk_service::Stub::mpls_route, request);
      model_.labels[label] = {.version = 0, .group = group, .hops = {}};
   }

   void change() {
      switch (any(18)) {
         case 0:
         case 1:
            return setHops(false);
         case 2:
         case 3:
            return setHops(true);
         case 4:
            return setHopsOneOfWhichIsRefused();
         case 5:
            return delRoute();
         case 6:
            return setVia();
         case 7:
            return delVia();
         case 8:
            return configureHop();
         case 9:
            return configureNoRoute();
         case 10:
            return programRoute();
         case 11:
            return setGroupRoute();
         case 12:
            return configureGroupRoute();
         case 13:
         case 14:
            return changeGroup();
         case 15:
            return setLabel();
         case 16:
            return delLabel();
         default:
            return programLabel();
      }
   }

   // ------------------------------------------------------------- what the switch shows

   std::vector<std::string> listedRoutes(const std::string& vrf) {
      remote::IpRoutesRequest request;
      request.set_vrf_name(vrf);
      request.set_embed_vias(true);
      std::vector<std::string> rows;
      for (const auto& response :
           StreamClient<remote::IpRoutesResponse>(*routes_, &RouteStub::ip_routes, request).rest()) {
         RouteModel::Route route{.tag = response.route().tag(), .group = {}, .hops = {}};
         for (const auto& via : response.vias()) {
            if (via.nexthop_group().empty()) {
               route.hops[via.hop().back()] = via.weight();
            } else {
               route.group += via.nexthop_group();
            }
         }
         rows.push_back(RouteModel::shown(thirdOf(response.route().key().prefix()), route));
      }
      return rows;
   }
   std::vector<std::string> listedLabels() {
      std::vector<std::string> rows;
      for (const auto& response : StreamClient<remote::MplsRoutesResponse>(*labels_, &LabelStub::mpls_routes,
                                                                           remote::MplsRoutesRequest())
                                       .rest()) {
         remote::MplsRouteViasRequest request;
         *request.mutable_route_key() = response.route().key();
         RouteModel::Label route{.version = response.route().version_id(), .group = {}, .hops = {}};
         for (const auto& each :
              StreamClient<remote::MplsRouteViasResponse>(*labels_, &LabelStub::mpls_route_vias, request)
                   .rest()) {
            if (each.via().nexthop_group().empty()) {
               route.hops.insert(each.via().hop().back());
            } else {
               route.group += each.via().nexthop_group();
            }
         }
         rows.push_back(RouteModel::shown(labelOf(response.route().key()), route));
      }
      return rows;
   }
   KnownFib listedFib() {
      KnownFib listed;
      for (const auto& response :
           StreamClient<remote::FibRoutesResponse>(*fib_, &FibStub::fib_routes, remote::FibRoutesRequest())
                .rest()) {
         listed.routes[thirdOf(response.fib_route().route_key().prefix())] = response.fib_route().fec_id();
      }
      for (const auto& response :
           StreamClient<remote::FibFecsResponse>(*fib_, &FibStub::fib_fecs, remote::FibFecsRequest())
                .rest()) {
         listed.fecs[response.fib_fec().fec_key().fec_id()] = response.fib_fec().nexthop_group_name();
      }
      return listed;
   }
   std::set<std::uint32_t> labelsInHardware() {
      std::set<std::uint32_t> listed;
      for (const auto& response :
           StreamClient<remote::MplsRouteStatusesResponse>(*labels_, &LabelStub::mpls_route_statuses,
                                                           remote::MplsRouteStatusesRequest())
                .rest()) {
         listed.insert(labelOf(response.status().key()));
      }
      return listed;
   }
   // One route of each VRF, present or not.
   void readOne(int third) {
      for (const auto& [vrf, routes] : model_.routes) {
         const auto at = routes.find(third);
         remote::IpRouteExistsRequest exists;
         exists.set_vrf_name(vrf);
         *exists.mutable_key() = keyOf(third);
         EXPECT_EQ(done(*routes_, &RouteStub::ip_route_exists, exists).exists(), at != routes.end());
         remote::IpRouteRequest request;
         request.set_vrf_name(vrf);
         *request.mutable_key() = keyOf(third);
         EXPECT_EQ(done(*routes_, &RouteStub::ip_route, request).ip_route().tag(),
                   at == routes.end() ? 0 : at->second.tag);
      }
   }
   // Configuration agrees at once, hardware and the watches soon.
   void expectAgreement() {
      const auto inDefault = model_.rowsOf("default");
      const auto inRed = model_.rowsOf("red");
      EXPECT_EQ(listedRoutes(""), inDefault);
      EXPECT_EQ(listedRoutes("red"), inRed);
      auto everywhere = inDefault;
      everywhere.insert(everywhere.end(), inRed.begin(), inRed.end());
      EXPECT_EQ(listedRoutes("all"), everywhere);
      EXPECT_EQ(listedLabels(), model_.labelRows());
      readOne(anyHopRoute());
      readOne(anyGroupRoute());

      const auto fib = model_.fib();
      ASSERT_TRUE(eventually([&] { return listedFib().resolved() == fib; }))
           << testing::PrintToString(listedFib().resolved()) << " instead of " << testing::PrintToString(fib);
      const auto told = [&] {
         return knownFib_->with([](const KnownFib& known) { return known.resolved(); });
      };
      ASSERT_TRUE(eventually([&] { return told() == fib; }))
           << testing::PrintToString(told()) << " instead of " << testing::PrintToString(fib);
      const auto labels = model_.labelsInHardware();
      ASSERT_TRUE(eventually([&] { return labelsInHardware() == labels; }))
           << testing::PrintToString(labelsInHardware()) << " instead of " << testing::PrintToString(labels);
      const auto toldLabels = [&] { return knownLabels_->with([](const auto& known) { return known; }); };
      ASSERT_TRUE(eventually([&] { return toldLabels() == labels; }))
           << testing::PrintToString(toldLabels()) << " instead of " << testing::PrintToString(labels);
   }

   TempDir directory_{"orv-model-"};
   Daemon daemon_{programPath("orvsdkrpcd"), directory_.path(), {"--fib"}};
   std::mt19937 random_{GetParam()};
   RouteModel model_;
   std::unique_ptr<RouteStub> routes_;
   std::unique_ptr<LabelStub> labels_;
   std::unique_ptr<remote::NexthopGroupMgrService::Stub> groups_;
   std::unique_ptr<remote::FibMgrService::Stub> fib_;
   std::unique_ptr<pb::orvsdk_service::Stub> programming_;
   std::unique_ptr<Console> console_;
   std::optional<Follower<remote::FibWatchResponse, KnownFib>> knownFib_;
   std::optional<Follower<remote::MplsRouteWatchResponse, std::set<std::uint32_t>>> knownLabels_;
};

TEST_P(RouteModelTest, everyViewAgreesWithTheModelAlsoAfterAKill) {
   constexpr int stepsBetweenLooks = 20;
   for (int life = 0; life < 2; ++life) {
      for (int step = 1; step <= 120; ++step) {
         change();
         if (step % stepsBetweenLooks != 0) continue;
         ASSERT_NO_FATAL_FAILURE(expectAgreement()) << "life " << life << ", step " << step;
         ASSERT_FALSE(HasNonfatalFailure()) << "life " << life << ", step " << step;
      }
      const std::string before = durableState(*console_);
      kill();
      serve();
      EXPECT_EQ(durableState(*console_), before);
      ASSERT_NO_FATAL_FAILURE(expectAgreement()) << "after the kill of life " << life;
   }
}

INSTANTIATE_TEST_SUITE_P(Seed, RouteModelTest, testing::Values(1U, 2U, 3U));

}  // namespace
}  // namespace orvtest
