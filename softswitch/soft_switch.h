// The software switch: an orv::sdk that keeps its state in a directory and forwards in memory.
//
//    softswitch::SoftSwitch sw({.stateDirectory = "/var/lib/switch"});   // this thread is the main thread
//    OrvSdkRpc::Agent agent(sw, "unix:///run/switch", true, true);
//    sw.mainLoop();                                                      // until sw.stop()
//
// mainLoop() first calls on_initialized of every agent handler. After stop() it calls on_agent_enabled(false)
// of every handler, waits for the acknowledgement (agent_shutdown_complete_is), and returns once the state is
// on disk and marked clean.
//
// Thread-safety: one thread, the SDK's main thread, constructs, runs and destroys the switch. Any thread may
// call the managers under orv::sdk_scoped_lock. The main thread itself needs the lock outside mainLoop() once
// other threads call the managers, so construct agents and other handlers before that or under the lock. Any
// thread and any signal handler may call stop().
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "orv/sdk.h"
#include "softswitch/managers/topology.h"
#include "softswitch/store/state_directory.h"
#include "softswitch/tables/limits.h"

namespace softswitch {

class AclMgr;
class AgentMgr;
class BfdSessionMgr;
class ClassMapMgr;
class CounterWriters;
class EthPhyIntfMgr;
class FibMgr;
class Hardware;
class IntfCounterMgr;
class IntfMgr;
class IpRouteMgr;
class MountMgr;
class MplsRouteMgr;
class MplsVrfLabelMgr;
class NexthopGroupMgr;
class NexthopGroupTunnelMgr;
class PolicyCounters;
class PolicyMapMgr;
class SbfdModel;
class TrafficModel;
class VrfMgr;
namespace store {
class Store;
}

struct Options {
   std::filesystem::path stateDirectory;
   store::Durability durability = store::Durability::process;
   Topology topology = Topology::builtIn();
   Limits limits;
   std::string name = "OrvSdkRpc";                     // the agent's name, which orv::sdk::name() returns
   std::map<std::string, std::string> agentOptions;    // of this start; they override the stored ones
   std::int64_t counterIntervalNanos = 1'000'000'000;  // how often interface counters are sampled
   std::int64_t sbfdSnapshotNanos = 1'000'000'000;     // the window of an sBFD session's round-trip snapshot
   std::function<void(std::string_view)> log;          // receives one line; empty: standard error
};

class SoftSwitch final : public orv::sdk {
public:
   // THROWS: store::StoreError if the state directory cannot be used; the directory is then unchanged.
   explicit SoftSwitch(Options options);
   ~SoftSwitch() override;
   SoftSwitch(const SoftSwitch&) = delete;
   SoftSwitch& operator=(const SoftSwitch&) = delete;

   // Runs until stop(). Passes on what a handler throws.
   // REQUIRES: not called before.
   void mainLoop();
   // Ends mainLoop() in order. A second call skips the wait for the acknowledgement. Every handler still
   // receives its pending notifications and then the end of the agent.
   void stop() noexcept;

   std::string name() const override;
   orv::acl_mgr* get_acl_mgr() override;
   orv::agent_mgr* get_agent_mgr() override;
   orv::bfd_session_mgr* get_bfd_session_mgr() override;
   orv::bgp_mgr* get_bgp_mgr() override;
   orv::bgp_path_mgr* get_bgp_path_mgr() override;
   orv::class_map_mgr* get_class_map_mgr() override;
   orv::cmdapi_mgr* get_cmdapi_mgr() override;
   orv::eth_lag_intf_mgr* get_eth_lag_intf_mgr() override;
   orv::eth_phy_intf_mgr* get_eth_phy_intf_mgr() override;
   orv::eth_phy_intf_counter_mgr* get_eth_phy_intf_counter_mgr() override;
   orv::intf_mgr* get_intf_mgr() override;
   orv::intf_counter_mgr* get_intf_counter_mgr() override;
   orv::ip_intf_mgr* get_ip_intf_mgr() override;
   orv::ip_route_mgr* get_ip_route_mgr() override;
   orv::macsec_mgr* get_macsec_mgr() override;
   orv::mount_mgr* get_mount_mgr() override;
   orv::mpls_route_mgr* get_mpls_route_mgr() override;
   orv::mpls_vrf_label_mgr* get_mpls_vrf_label_mgr() override;
   orv::nexthop_group_mgr* get_nexthop_group_mgr() override;
   orv::nexthop_group_tunnel_mgr* get_nexthop_group_tunnel_mgr() override;
   orv::policy_map_mgr* get_policy_map_mgr() override;
   orv::vrf_mgr* get_vrf_mgr() override;
   orv::fib_mgr* get_fib_mgr(orv::mgr_mode_type_t mode) override;
   orv::intf_counter_mgr* get_intf_counter_mgr_with_mode(orv::mgr_mode_type_t mode) override;

   // The managers by their concrete types, for the console.
   AclMgr& acls();
   AgentMgr& agent();
   BfdSessionMgr& bfdSessions();
   ClassMapMgr& classMaps();
   CounterWriters& counterWriters();
   EthPhyIntfMgr& ethPhyIntfs();
   FibMgr& fib();
   Hardware& hardware();
   IntfCounterMgr& intfCounters();
   IntfMgr& intfs();
   IpRouteMgr& ipRoutes();
   MountMgr& mounts();
   MplsRouteMgr& mplsRoutes();
   MplsVrfLabelMgr& mplsVrfLabels();
   NexthopGroupMgr& nexthopGroups();
   NexthopGroupTunnelMgr& nexthopGroupTunnels();
   PolicyCounters& policyCounters();
   PolicyMapMgr& policyMaps();
   SbfdModel& sbfdModel();
   TrafficModel& traffic();
   VrfMgr& vrfs();
   store::Store& store();
   const Options& options() const;

private:
   struct Parts;
   std::unique_ptr<Parts> parts_;
};

}  // namespace softswitch
