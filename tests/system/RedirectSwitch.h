// A real switch, and an agent's programmers of redirects, labels and tunnels over it. Tests see what the
// switch's tables hold, what its override table holds, and which way packets take.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OrvSdkRpc/programming/BfdProgrammer.h"
#include "OrvSdkRpc/programming/CbfNhgMgr.h"
#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"
#include "OrvSdkRpc/programming/ClientInit.h"
#include "OrvSdkRpc/programming/IpRouteProgrammer.h"
#include "OrvSdkRpc/programming/MplsRouteProgrammer.h"
#include "OrvSdkRpc/programming/NexthopGroupProgrammer.h"
#include "OrvSdkRpc/programming/NhgTunnelProgrammer.h"
#include "Programming.h"
#include "orv/lock.h"
#include "orv/mpls_route.h"
#include "orv/mpls_vrf_label.h"
#include "orv/nexthop_group_tunnel.h"
#include "softswitch/console/commands.h"
#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/mount_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"
#include "testing/base/TempDir.h"
#include "testing/server/Contract.h"
#include "testing/server/Programmed.h"
#include "testing/softswitch/RunningSwitch.h"

namespace orvtest {

namespace pb = OrvSdkRpc::pb;
using Json = nlohmann::json;
using Overrides = CbfNhgExt::CbfNhgOverrideConfig;
using Phase = pb::rpc_server_resync_msg;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Dscps = std::vector<std::uint32_t>;

inline const std::string policyName = "cbf";

inline orv::policy_map_key_t pbr(const std::string& name) {
   return {name, orv::policy_feature_t::pbr};
}
inline orv::acl_key_t v4(const std::string& name) {
   return {name + "_IPv4", orv::acl_type_t::ipv4};
}
inline orv::acl_key_t v6(const std::string& name) {
   return {name + "_IPv6", orv::acl_type_t::ipv6};
}

// The programmers of an agent's process. A new Agent knows only what the switch holds.
class Agent {
public:
   explicit Agent(softswitch::SoftSwitch& sw) : sw_(sw) {
      const orv::sdk_scoped_lock lock;
      watching_.emplace(*this);
      client_.programmersAre({.ipRoute = &ip_, .cbf = &watching_->cbf, .bfd = &watching_->bfd});
   }
   ~Agent() {
      const orv::sdk_scoped_lock lock;
      watching_.reset();
   }
   Agent(const Agent&) = delete;
   Agent& operator=(const Agent&) = delete;

   // RETURNS: whether there are redirects.
   bool init(const std::string& policyMap = policyName) {
      pb::rpc_server_config_msg request;
      request.set_cbf_nexthop_group_redirect_policy_map_name(policyMap);
      pb::rpc_server_init_status_msg response;
      client_.processInitRequest(request, response);
      EXPECT_EQ(response.status().status(), pb::RPC_STATUS_OK) << response.status().debug_string();
      return response.cbf_redirects_exist();
   }
   void resync(Phase::resync_phase_enum phase) {
      Phase request;
      request.set_resync_phase(phase);
      pb::rpc_status_msg response;
      client_.processResync(request, response);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_OK) << response.debug_string();
   }
   void group(const std::string& name, const std::string& intf) { programGroup(groups_, name, intf); }
   void route(int third, const std::string& group) { programRoute(ip_, third, group); }
   static pb::cbf_nexthop_group_redirect_msg message(const std::string& match, const std::string& to,
                                                     const Dscps& ipv4, const Dscps& ipv6 = {}) {
      pb::cbf_nexthop_group_redirect_msg request;
      request.set_match_nexthop_group_name(match);
      request.set_redirect_nexthop_group_name(to);
      request.mutable_match_ipv4_dscp()->Add(ipv4.begin(), ipv4.end());
      request.mutable_match_ipv6_dscp()->Add(ipv6.begin(), ipv6.end());
      return request;
   }
   int add(const std::string& match, const std::string& to, const Dscps& ipv4, const Dscps& ipv6 = {}) {
      pb::rpc_status_msg response;
      watching_->cbf.processCbfNhgRedirectRequest(message(match, to, ipv4, ipv6), response);
      return response.status();
   }
   int remove(const std::string& match, const std::string& to) {
      auto request = message(match, to, {});
      request.set_delete_(true);
      pb::rpc_status_msg response;
      watching_->cbf.processCbfNhgRedirectRequest(request, response);
      return response.status();
   }
   int label(const pb::mpls_route_msg& request) {
      pb::rpc_status_msg response;
      mpls_.processMPLSRouteRequest(request, response);
      return response.status();
   }
   int tunnel(const pb::nexthop_group_tunnel_msg& request) {
      pb::rpc_status_msg response;
      tunnels_.processNhgTunnelRequest(request, response);
      return response.status();
   }

   // Whether this agent is the writer of the override table.
   bool mounted() {
      const orv::sdk_scoped_lock lock;
      return watching_->overrides.initialized();
   }
   // The sequence of the redirect's rule in the policy map; nothing when the agent does not know the
   // redirect.
   std::optional<std::uint32_t> sequence(const std::string& match, const std::string& to) {
      const orv::sdk_scoped_lock lock;
      const auto& known = watching_->cbf.redirects();
      const auto found = known.find({match, to});
      return found == known.end() ? std::nullopt : std::optional(found->second.sequence);
   }
   std::size_t known() {
      const orv::sdk_scoped_lock lock;
      return watching_->cbf.redirects().size();
   }

private:
   struct Watching {
      explicit Watching(Agent& agent)
           : bfd(agent.client_, agent.sw_.get_bfd_session_mgr(), agent.sw_.get_intf_mgr(), agent.updates_),
             overrides(agent.sw_.get_mount_mgr()),
             cbf(agent.client_, agent.sw_.get_policy_map_mgr(), agent.sw_.get_class_map_mgr(),
                 agent.sw_.get_acl_mgr(), agent.sw_.get_agent_mgr(), &overrides) {}
      OrvSdkRpc::BfdProgrammer bfd;
      OrvSdkRpc::CbfNhgMgr overrides;
      OrvSdkRpc::CbfNhgRedirectProgrammer cbf;
   };

   softswitch::SoftSwitch& sw_;
   OrvSdkRpc::ClientInit client_{sw_.get_ip_route_mgr(), sw_.get_mpls_route_mgr(),
                                 sw_.get_mpls_vrf_label_mgr(), sw_.get_nexthop_group_mgr(),
                                 sw_.get_nexthop_group_tunnel_mgr()};
   orvtest::SentUpdates updates_;
   std::optional<Watching> watching_;
   OrvSdkRpc::IpRouteProgrammer ip_{client_, sw_.get_ip_route_mgr()};
   OrvSdkRpc::NexthopGroupProgrammer groups_{client_, sw_.get_nexthop_group_mgr()};
   OrvSdkRpc::MplsRouteProgrammer mpls_{client_, sw_.get_mpls_route_mgr(), sw_.get_mpls_vrf_label_mgr()};
   OrvSdkRpc::NhgTunnelProgrammer tunnels_{client_, sw_.get_nexthop_group_tunnel_mgr()};
};

// A switch whose traffic for 10.0.1.0/24 leaves through group gold. It has other groups as well.
class Redirects : public testing::Test {
protected:
   void SetUp() override {
      startSwitch();
      agent_->init();
      for (const char* name : {"gold", "low", "other"})
         agent_->group(name, "Ethernet1");
      agent_->route(1, "gold");
      awaitGroup(0, "gold");
   }
   void TearDown() override { stopSwitch(); }

   void startSwitch() {
      softswitch::Options options;
      options.stateDirectory = directory_ / "state";
      switch_.emplace(std::move(options));
      startAgent();
   }
   void stopSwitch() {
      agent_.reset();
      switch_.reset();
   }
   // Starts an agent, without init.
   void startAgent() {
      agent_.reset();
      agent_.emplace(sw());
      while (!agent_->mounted())
         std::this_thread::yield();
   }

   softswitch::SoftSwitch& sw() { return **switch_; }
   template <class Read>
   static auto locked(Read read) {
      const orv::sdk_scoped_lock lock;
      return read();
   }

   Pavo::Ptr<Overrides> mounted() { return sw().mounts().state()->entity<Overrides>(Overrides::mountPath); }
   // Maps "match>redirect" to its DSCPs, as the mount shows them.
   std::map<std::string, Dscps> overrides() {
      return locked([&] {
         std::map<std::string, Dscps> result;
         for (const auto& [key, bitmap] : mounted()->nhgOverride()) {
            auto& dscps = result[key.match.nhgName() + ">" + key.redirect.nhgName()];
            for (std::uint8_t dscp = 0; dscp < CbfNhgExt::DscpBitmap::invalid; ++dscp) {
               if (bitmap.dscp(dscp)) dscps.push_back(dscp);
            }
         }
         return result;
      });
   }
   Json look(const std::string& words) {
      softswitch::console::StringOutput out;
      softswitch::console::Commands(sw()).run("show forwarding lookup " + words + " | json", out);
      return Json::parse(out.text())["lookup"];
   }
   // The group through which traffic for 10.0.1.1 with this DSCP leaves.
   std::string groupOf(std::uint32_t dscp) {
      return look("10.0.1.1 dscp " + std::to_string(dscp)).value("nexthop_group", "");
   }
   void awaitGroup(std::uint32_t dscp, const std::string& group) {
      while (groupOf(dscp) != group)
         std::this_thread::yield();
   }

   orv::policy_map_t policy(const std::string& name = policyName) {
      return locked([&] { return sw().policyMaps().policy_map(pbr(name)); });
   }
   std::vector<std::uint32_t> sequences(const std::string& name = policyName) {
      std::vector<std::uint32_t> result;
      const auto map = policy(name);
      for (const auto& [sequence, rule] : map.rules())
         result.push_back(sequence);
      return result;
   }
   bool hasClassMap(const std::string& name) {
      return locked([&] { return sw().classMaps().exists(pbr(name)); });
   }
   // Whether the list is pending or committed.
   bool hasList(const orv::acl_key_t& key) {
      return locked([&] { return sw().acls().acl_exists(key) || sw().acls().acl_all_exists(key); });
   }
   bool isCommitted(const orv::acl_key_t& key) {
      return locked([&] { return sw().acls().acl_all_exists(key); });
   }
   // The DSCPs of a list's committed rules.
   Dscps list(const orv::acl_key_t& key) {
      return locked([&] {
         Dscps result;
         for (auto rule = sw().acls().acl_all_rule_ip_iter(key); rule; ++rule) {
            const unsigned value = rule->second.priority_value();
            result.push_back(key.acl_type() == orv::acl_type_t::ipv6 ? value >> 2 : value);
         }
         return result;
      });
   }
   std::size_t pendingEdits() {
      return locked([&] { return sw().acls().pendingEdits(); });
   }

   const orvtest::TempDir directory_;
   std::optional<orvtest::RunningSwitch> switch_;
   std::optional<Agent> agent_;
};

}  // namespace orvtest
