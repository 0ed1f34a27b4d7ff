// The contract between a controller and a real switch: what a resync removes, what it leaves alone, and the
// notes.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "OrvSdkRpc/programming/BfdProgrammer.h"
#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"
#include "OrvSdkRpc/programming/ClientInit.h"
#include "OrvSdkRpc/programming/IpRouteProgrammer.h"
#include "OrvSdkRpc/programming/MplsRouteProgrammer.h"
#include "OrvSdkRpc/programming/NexthopGroupProgrammer.h"
#include "OrvSdkRpc/programming/OpaqueProgrammer.h"
#include "Programming.h"
#include "orv/agent.h"
#include "orv/ip_route.h"
#include "orv/lock.h"
#include "orv/mpls_route.h"
#include "orv/mpls_vrf_label.h"
#include "orv/nexthop_group.h"
#include "orv/nexthop_group_tunnel.h"
#include "testing/base/TempDir.h"
#include "testing/server/Contract.h"
#include "testing/server/Programmed.h"
#include "testing/softswitch/RunningSwitch.h"

namespace orvtest {
namespace {

namespace pb = OrvSdkRpc::pb;
using Phase = pb::rpc_server_resync_msg;

// The programmers over a running switch, as a server process has them.
class Server {
public:
   explicit Server(const std::string& stateDirectory)
        : switch_([&] {
             softswitch::Options options;
             options.stateDirectory = stateDirectory;
             return options;
          }()) {
      {
         orv::sdk_scoped_lock lock;
         watching_.emplace(*this);
      }
      client_.programmersAre({.ipRoute = &ip_, .cbf = &watching_->cbf, .bfd = &watching_->bfd});
      pb::rpc_server_init_status_msg response;
      client_.processInitRequest({}, response);
      EXPECT_EQ(response.status().status(), pb::RPC_STATUS_OK) << response.status().debug_string();
   }

   ~Server() {
      orv::sdk_scoped_lock lock;
      watching_.reset();
   }

   softswitch::SoftSwitch& sdk() { return *switch_; }

   pb::rpc_status_msg resync(Phase::resync_phase_enum phase) {
      Phase request;
      request.set_resync_phase(phase);
      pb::rpc_status_msg response;
      client_.processResync(request, response);
      return response;
   }
   void group(const std::string& name) { programGroup(groups_, name); }
   void route(int third, const std::string& group) { programRoute(ip_, third, group); }
   // The text of the refusal; "" when there was none.
   std::string label(std::uint32_t number, const std::string& group) {
      pb::mpls_route_msg request;
      request.set_label(number);
      request.mutable_nexthop_group_msg()->set_name(group);
      pb::rpc_status_msg response;
      mpls_.processMPLSRouteRequest(request, response);
      return response.debug_string();
   }
   std::string refusedRoute(int third, const std::string& group) {
      pb::rpc_status_msg response;
      ip_.processIpRouteRequest(orvtest::ipRoute(third, group, 9), response);
      return response.debug_string();
   }
   void notes(const pb::rpc_server_state_config_msg& request) {
      pb::rpc_status_msg response;
      opaque_.processOpaqueStateSetRequest(request, response);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_OK) << response.debug_string();
   }
   std::string note(const std::string& key) {
      pb::rpc_server_state_status_msg request;
      request.add_key_value_pairs()->set_key(key);
      pb::rpc_server_state_status_msg response;
      opaque_.processOpaqueStateGetRequest(request, response);
      EXPECT_EQ(response.key_value_pairs_size(), 1);
      return response.key_value_pairs(0).value();
   }

   bool hasGroup(const std::string& name) {
      orv::sdk_scoped_lock lock;
      return sdk().get_nexthop_group_mgr()->exists(name);
   }
   bool hasRoute(int third) {
      orv::sdk_scoped_lock lock;
      return sdk().get_ip_route_mgr()->exists(
           orv::ip_route_key_t(orv::ip_prefix_t("10.0." + std::to_string(third) + ".0/24")));
   }

private:
   orvtest::RunningSwitch switch_;
   OrvSdkRpc::ClientInit client_{sdk().get_ip_route_mgr(), sdk().get_mpls_route_mgr(),
                                 sdk().get_mpls_vrf_label_mgr(), sdk().get_nexthop_group_mgr(),
                                 sdk().get_nexthop_group_tunnel_mgr()};
   // Programmers with tasks or callbacks: created and destroyed with the SDK's lock held.
   struct Watching {
      explicit Watching(Server& server)
           : bfd(server.client_, server.sdk().get_bfd_session_mgr(), server.sdk().get_intf_mgr(),
                 server.updates_),
             cbf(server.client_, server.sdk().get_policy_map_mgr(), server.sdk().get_class_map_mgr(),
                 server.sdk().get_acl_mgr(), server.sdk().get_agent_mgr(), nullptr) {}
      OrvSdkRpc::BfdProgrammer bfd;
      OrvSdkRpc::CbfNhgRedirectProgrammer cbf;
   };

   orvtest::SentUpdates updates_;
   std::optional<Watching> watching_;
   OrvSdkRpc::IpRouteProgrammer ip_{client_, sdk().get_ip_route_mgr()};
   OrvSdkRpc::MplsRouteProgrammer mpls_{client_, sdk().get_mpls_route_mgr(), sdk().get_mpls_vrf_label_mgr()};
   OrvSdkRpc::NexthopGroupProgrammer groups_{client_, sdk().get_nexthop_group_mgr()};
   OrvSdkRpc::OpaqueProgrammer opaque_{client_, sdk().get_agent_mgr()};
};

class Resync : public testing::Test {
protected:
   orvtest::TempDir directory_;
   std::optional<Server> server_{std::in_place, directory_ / "state"};
};

// One object of each kind that a resync covers.
struct Everything {
   explicit Everything(Server& server) : server_(server) {
      server.group("g");
      server.route(1, "g");
      orv::sdk_scoped_lock lock;
      auto& sdk = server.sdk();
      sdk.get_mpls_route_mgr()->mpls_route_set(orv::mpls_route_t(key));
      orv::mpls_vrf_label_t label;
      label.label_is(orv::mpls_label_t(200));
      label.vrf_name_is("default");
      sdk.get_mpls_vrf_label_mgr()->mpls_vrf_label_set(label);
      orv::nexthop_group_tunnel_t tunnel;
      tunnel.tunnel_endpoint_is(endpoint);
      tunnel.nhg_name_is("g");
      sdk.get_nexthop_group_tunnel_mgr()->nexthop_group_tunnel_set(tunnel);
   }
   int left() const {
      orv::sdk_scoped_lock lock;
      auto& sdk = server_.sdk();
      return int{server_.hasGroup("g")} + int{server_.hasRoute(1)} +
             int{sdk.get_mpls_route_mgr()->exists(key)} +
             int{!!sdk.get_mpls_vrf_label_mgr()->mpls_vrf_label_iter()} +
             int{sdk.get_nexthop_group_tunnel_mgr()->exists(endpoint)};
   }

   Server& server_;
   const orv::mpls_route_key_t key{orv::mpls_label_t(100)};
   const orv::ip_prefix_t endpoint{"192.0.2.0/24"};
};

TEST_F(Resync, anEndWithoutAStartRemovesNothingFromAnyManager) {
   const Everything everything(*server_);
   ASSERT_EQ(everything.left(), 5);
   const auto response = server_->resync(Phase::RESYNC_END);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.debug_string(), "Error: resync state is already false");
   EXPECT_EQ(everything.left(), 5);
   // With a start, all of it is removed, since nothing was replayed.
   EXPECT_EQ(server_->resync(Phase::RESYNC_START).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(everything.left(), 5);
   EXPECT_EQ(server_->resync(Phase::RESYNC_END).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(everything.left(), 0);
}

TEST_F(Resync, whatCameBetweenTwoStartsIsStaleUnlessReplayed) {
   server_->resync(Phase::RESYNC_START);
   server_->group("one");
   server_->group("both");
   server_->route(1, "one");
   server_->route(2, "both");
   EXPECT_EQ(server_->resync(Phase::RESYNC_START).status(), pb::RPC_STATUS_OK);
   server_->group("both");
   server_->route(2, "both");
   EXPECT_EQ(server_->resync(Phase::RESYNC_END).status(), pb::RPC_STATUS_OK);
   EXPECT_FALSE(server_->hasGroup("one"));
   EXPECT_FALSE(server_->hasRoute(1));
   EXPECT_TRUE(server_->hasGroup("both"));
   EXPECT_TRUE(server_->hasRoute(2));
}

// At the end an object that existed is complete or removed: it never exists without its via. Routes and
// labels behave alike.
TEST_F(Resync, aReplayWhoseViaIsRefusedKeepsTheRouteWithTheViaItHad) {
   const std::string tooLong(256, 'g');
   const orv::mpls_route_key_t label{orv::mpls_label_t(100)};
   orv::mpls_route_via_t labelVia(label, orv::mpls_action_t::pop);
   labelVia.nexthop_group_is("g");
   orv::ip_route_via_t routeVia(orv::ip_route_key_t(orv::ip_prefix_t("10.0.1.0/24")));
   routeVia.nexthop_group_is("g");
   server_->route(1, "g");
   {
      orv::sdk_scoped_lock lock;
      auto& labels = *server_->sdk().get_mpls_route_mgr();
      labels.mpls_route_set(orv::mpls_route_t(label, 7));
      labels.mpls_route_via_set(labelVia);
   }
   server_->resync(Phase::RESYNC_START);
   EXPECT_NE(server_->refusedRoute(1, tooLong), "");
   EXPECT_NE(server_->label(100, tooLong), "");
   // A new route or label leaves nothing behind.
   EXPECT_NE(server_->refusedRoute(2, tooLong), "");
   EXPECT_NE(server_->label(200, tooLong), "");
   EXPECT_EQ(server_->resync(Phase::RESYNC_END).status(), pb::RPC_STATUS_OK);
   orv::sdk_scoped_lock lock;
   auto& routes = *server_->sdk().get_ip_route_mgr();
   EXPECT_EQ(routes.ip_route(routeVia.route_key()).tag(), 0U);
   EXPECT_TRUE(routes.exists(routeVia));
   EXPECT_FALSE(server_->hasRoute(2));
   auto& labels = *server_->sdk().get_mpls_route_mgr();
   EXPECT_EQ(labels.mpls_route(label), orv::mpls_route_t(label, 7));
   EXPECT_TRUE(labels.exists(labelVia));
   EXPECT_FALSE(labels.exists(orv::mpls_route_key_t(orv::mpls_label_t(200))));
}

// No route, a route without vias and a route that drops are three different states to restore.
TEST_F(Resync, whatStoodWithoutAViaStandsAsItWasAfterARefusal) {
   const std::string tooLong(256, 'g');
   const orv::mpls_route_key_t label{orv::mpls_label_t(100)};
   const orv::ip_route_key_t dropped(orv::ip_prefix_t("10.0.1.0/24"));
   {
      orv::sdk_scoped_lock lock;
      server_->sdk().get_mpls_route_mgr()->mpls_route_set(orv::mpls_route_t(label, 7));
      server_->sdk().get_ip_route_mgr()->ip_route_set(orv::ip_route_t(dropped), orv::ip_route_action_t::drop);
   }
   EXPECT_NE(server_->refusedRoute(1, tooLong), "");
   EXPECT_NE(server_->label(100, tooLong), "");
   orv::sdk_scoped_lock lock;
   EXPECT_EQ(server_->sdk().get_mpls_route_mgr()->mpls_route(label), orv::mpls_route_t(label, 7));
   EXPECT_FALSE(server_->sdk().get_mpls_route_mgr()->exists(orv::mpls_route_via_t(label)));
   EXPECT_EQ(server_->sdk().get_ip_route_mgr()->action(dropped), orv::ip_route_action_t::drop);
}

TEST_F(Resync, aNoteSetAndDeletedInOneRequestIsGoneAndOthersSurviveARestart) {
   pb::rpc_server_state_config_msg request;
   for (const char* key : {"kept", "gone"}) {
      auto& pair = *request.add_key_value_pairs();
      pair.set_key(key);
      pair.set_value("value");
   }
   request.add_deletes()->set_key("gone");
   server_->notes(request);
   for (int process = 0; process < 2; ++process) {
      EXPECT_EQ(server_->note("kept"), "value");
      EXPECT_EQ(server_->note("gone"), "");
      server_.reset();
      server_.emplace(directory_ / "state");
   }
}

}  // namespace
}  // namespace orvtest
