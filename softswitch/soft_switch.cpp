#include "softswitch/soft_switch.h"

#include <fmt/format.h>

#include <atomic>
#include <cstdio>

#include "orv/lock.h"
#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/ActivityLock.h"
#include "platform/zelt/Anchors.h"
#include "softswitch/forwarding/hardware.h"
#include "softswitch/forwarding/memory_plane.h"
#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/agent_mgr.h"
#include "softswitch/managers/callbacks.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/context.h"
#include "softswitch/managers/eth_phy_intf_mgr.h"
#include "softswitch/managers/fib_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/mount_mgr.h"
#include "softswitch/managers/mpls_route_mgr.h"
#include "softswitch/managers/mpls_vrf_label_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/managers/nexthop_group_tunnel_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"
#include "softswitch/managers/thin_mgrs.h"
#include "softswitch/managers/vrf_mgr.h"
#include "softswitch/sbfd/bfd_session_mgr.h"
#include "softswitch/sbfd/sbfd_model.h"
#include "softswitch/store/store.h"
#include "softswitch/traffic/counter_writers.h"
#include "softswitch/traffic/intf_counter_mgr.h"
#include "softswitch/traffic/policy_counters.h"
#include "softswitch/traffic/traffic_model.h"

namespace softswitch {
namespace {

class ActivityLockBackend final : public orv::host::lock_backend {
public:
   void acquire() override { Zelt::activityLock().acquire(); }
   void release() noexcept override { Zelt::activityLock().release(); }
   void settle() noexcept override { Zelt::activityLock().settle(); }
};

void logToStderr(std::string_view line) {
   fmt::print(stderr, "{}\n", line);
}

// During its lifetime this thread is the SDK's main thread, and the SDK's lock is the activity lock.
class SdkHost {
public:
   SdkHost() {
      orv::host::lock_backend_is(&backend_);
      orv::host::main_thread_is();
   }
   ~SdkHost() {
      orv::host::main_thread_clear();
      orv::host::lock_backend_is(nullptr);
   }
   SdkHost(const SdkHost&) = delete;
   SdkHost& operator=(const SdkHost&) = delete;

private:
   ActivityLockBackend backend_;
};

// During its lifetime, what was written under the activity lock is committed before the lock is released or
// settled.
class CommitOnRelease {
public:
   explicit CommitOnRelease(store::Store& store) {
      const Zelt::ActivityLockAnchor lock;
      Zelt::activityLock().setReleaseHook([](void* s) { static_cast<store::Store*>(s)->commit(); }, &store);
   }
   ~CommitOnRelease() {
      const Zelt::ActivityLockAnchor lock;
      Zelt::activityLock().setReleaseHook(nullptr, nullptr);
   }
   CommitOnRelease(const CommitOnRelease&) = delete;
   CommitOnRelease& operator=(const CommitOnRelease&) = delete;
};

}  // namespace

// In order of dependency; destroyed in reverse.
struct SoftSwitch::Parts {
   explicit Parts(Options given)
        : options(std::move(given)),
          store({.directory = options.stateDirectory, .durability = options.durability, .log = options.log}),
          scheduler(Gorm::TaskSchedulerRoot::findOrCreateScheduler()),
          callbacks(scheduler),
          context{store, callbacks, options.limits, scheduler},
          hardware(scheduler, std::make_unique<MemoryPlane>()),
          agent(context, options.name, options.agentOptions),
          mounts(context),
          intfs(context, options.topology),
          ethPhyIntfs(context, intfs),
          traffic(intfs),
          counterWriters(context, mounts, intfs, traffic, options.counterIntervalNanos),
          intfCounters(intfs, traffic, counterWriters),
          vrfs(context),
          acls(context, intfs),
          classMaps(context),
          policyMaps(context, intfs, classMaps),
          policyCounters(context, mounts, policyMaps),
          bfdSessions(context, intfs, sbfdModel, options.sbfdSnapshotNanos),
          nexthopGroups(context, hardware, groupNames, intfs),
          nexthopGroupTunnels(context),
          mplsRoutes(context, hardware, groupNames, nexthopGroups, intfs, mounts),
          mplsVrfLabels(context),
          ipRoutes(context, hardware, groupNames, intfs, vrfs),
          fib(ipRoutes, nexthopGroups, groupNames, intfs),
          commits(store) {
      hardware.plane().answersTo({.groups = nexthopGroups, .routes = ipRoutes, .mplsRoutes = mplsRoutes});
      // Referenced objects are programmed before the objects that refer to them.
      hardware.add(nexthopGroups);
      hardware.add(mplsRoutes);
      hardware.add(ipRoutes);
      hardware.add(mplsRoutes.teller());
      vrfs.usageIs([this](const std::string& name) {
         const auto count = ipRoutes.routesIn(name);
         return count == 0 ? std::string{} : fmt::format("{} IP route{}", count, count == 1 ? "" : "s");
      });
   }

   const Options options;
   store::Store store;
   const SdkHost host;  // after the store, which throws if another switch of this process has the directory
   const Pavo::Ptr<Gorm::TaskScheduler> scheduler;
   Callbacks callbacks;
   const Context context;
   Names groupNames;
   Hardware hardware;
   AgentMgr agent;
   MountMgr mounts;
   IntfMgr intfs;
   EthPhyIntfMgr ethPhyIntfs;
   TrafficModel traffic;
   CounterWriters counterWriters;
   IntfCounterMgr intfCounters;
   VrfMgr vrfs;
   AclMgr acls;
   ClassMapMgr classMaps;
   PolicyMapMgr policyMaps;
   PolicyCounters policyCounters;
   SbfdModel sbfdModel;
   BfdSessionMgr bfdSessions;
   NexthopGroupMgr nexthopGroups;
   NexthopGroupTunnelMgr nexthopGroupTunnels;
   MplsRouteMgr mplsRoutes;
   MplsVrfLabelMgr mplsVrfLabels;
   IpRouteMgr ipRoutes;
   FibMgr fib;
   ThinMgrs thin;
   const CommitOnRelease commits;
   std::atomic<int> stops{0};
};

SoftSwitch::SoftSwitch(Options options) {
   if (!options.log) options.log = logToStderr;
   parts_ = std::make_unique<Parts>(std::move(options));
   parts_->scheduler->restart();
}

SoftSwitch::~SoftSwitch() = default;

void SoftSwitch::mainLoop() {
   auto& p = *parts_;
   {
      const Zelt::ActivityLockAnchor lock;
      p.agent.start();
   }
   for (;;) {
      const bool running = p.scheduler->waitForWork();
      const Zelt::ActivityLockAnchor lock(Zelt::activityLock(), Zelt::HandOver::now);
      if (!running) {
         p.scheduler->restart();
         p.agent.disable();
      }
      p.scheduler->runReady();
      if (p.agent.ended()) break;
      // A second request skips the acknowledgement but not the notification: a handler that was not notified
      // still has threads that use this switch.
      if (p.agent.disableDelivered() && p.stops.load() > 1) break;
   }
   const Zelt::ActivityLockAnchor lock;
   p.store.closeClean();
}

void SoftSwitch::stop() noexcept {
   parts_->stops.fetch_add(1);
   parts_->scheduler->stop();
}

std::string SoftSwitch::name() const {
   return parts_->options.name;
}

orv::acl_mgr* SoftSwitch::get_acl_mgr() {
   return &parts_->acls;
}
orv::agent_mgr* SoftSwitch::get_agent_mgr() {
   return &parts_->agent;
}
orv::bfd_session_mgr* SoftSwitch::get_bfd_session_mgr() {
   return &parts_->bfdSessions;
}
orv::bgp_mgr* SoftSwitch::get_bgp_mgr() {
   return &parts_->thin.bgp;
}
orv::bgp_path_mgr* SoftSwitch::get_bgp_path_mgr() {
   return &parts_->thin.bgpPath;
}
orv::class_map_mgr* SoftSwitch::get_class_map_mgr() {
   return &parts_->classMaps;
}
orv::cmdapi_mgr* SoftSwitch::get_cmdapi_mgr() {
   return &parts_->thin.cmdapi;
}
orv::eth_lag_intf_mgr* SoftSwitch::get_eth_lag_intf_mgr() {
   return &parts_->thin.ethLagIntf;
}
orv::eth_phy_intf_mgr* SoftSwitch::get_eth_phy_intf_mgr() {
   return &parts_->ethPhyIntfs;
}
orv::eth_phy_intf_counter_mgr* SoftSwitch::get_eth_phy_intf_counter_mgr() {
   return &parts_->thin.ethPhyIntfCounter;
}
orv::intf_mgr* SoftSwitch::get_intf_mgr() {
   return &parts_->intfs;
}
orv::intf_counter_mgr* SoftSwitch::get_intf_counter_mgr() {
   return &parts_->intfCounters;
}
orv::ip_intf_mgr* SoftSwitch::get_ip_intf_mgr() {
   return &parts_->thin.ipIntf;
}
orv::ip_route_mgr* SoftSwitch::get_ip_route_mgr() {
   return &parts_->ipRoutes;
}
orv::macsec_mgr* SoftSwitch::get_macsec_mgr() {
   return &parts_->thin.macsec;
}
orv::mount_mgr* SoftSwitch::get_mount_mgr() {
   return &parts_->mounts;
}
orv::mpls_route_mgr* SoftSwitch::get_mpls_route_mgr() {
   return &parts_->mplsRoutes;
}
orv::mpls_vrf_label_mgr* SoftSwitch::get_mpls_vrf_label_mgr() {
   return &parts_->mplsVrfLabels;
}
orv::nexthop_group_mgr* SoftSwitch::get_nexthop_group_mgr() {
   return &parts_->nexthopGroups;
}
orv::nexthop_group_tunnel_mgr* SoftSwitch::get_nexthop_group_tunnel_mgr() {
   return &parts_->nexthopGroupTunnels;
}
orv::policy_map_mgr* SoftSwitch::get_policy_map_mgr() {
   return &parts_->policyMaps;
}
orv::vrf_mgr* SoftSwitch::get_vrf_mgr() {
   return &parts_->vrfs;
}

orv::fib_mgr* SoftSwitch::get_fib_mgr(orv::mgr_mode_type_t mode) {
   parts_->fib.eventsEnabledIs(mode == orv::mgr_mode_type_t::resident);
   return &parts_->fib;
}

orv::intf_counter_mgr* SoftSwitch::get_intf_counter_mgr_with_mode(orv::mgr_mode_type_t mode) {
   parts_->counterWriters.residentIs(mode == orv::mgr_mode_type_t::resident);
   return &parts_->intfCounters;
}

AclMgr& SoftSwitch::acls() {
   return parts_->acls;
}
AgentMgr& SoftSwitch::agent() {
   return parts_->agent;
}
BfdSessionMgr& SoftSwitch::bfdSessions() {
   return parts_->bfdSessions;
}
ClassMapMgr& SoftSwitch::classMaps() {
   return parts_->classMaps;
}
CounterWriters& SoftSwitch::counterWriters() {
   return parts_->counterWriters;
}
EthPhyIntfMgr& SoftSwitch::ethPhyIntfs() {
   return parts_->ethPhyIntfs;
}
FibMgr& SoftSwitch::fib() {
   return parts_->fib;
}
Hardware& SoftSwitch::hardware() {
   return parts_->hardware;
}
IntfCounterMgr& SoftSwitch::intfCounters() {
   return parts_->intfCounters;
}
IntfMgr& SoftSwitch::intfs() {
   return parts_->intfs;
}
IpRouteMgr& SoftSwitch::ipRoutes() {
   return parts_->ipRoutes;
}
MountMgr& SoftSwitch::mounts() {
   return parts_->mounts;
}
MplsRouteMgr& SoftSwitch::mplsRoutes() {
   return parts_->mplsRoutes;
}
MplsVrfLabelMgr& SoftSwitch::mplsVrfLabels() {
   return parts_->mplsVrfLabels;
}
NexthopGroupMgr& SoftSwitch::nexthopGroups() {
   return parts_->nexthopGroups;
}
NexthopGroupTunnelMgr& SoftSwitch::nexthopGroupTunnels() {
   return parts_->nexthopGroupTunnels;
}
PolicyCounters& SoftSwitch::policyCounters() {
   return parts_->policyCounters;
}
PolicyMapMgr& SoftSwitch::policyMaps() {
   return parts_->policyMaps;
}
SbfdModel& SoftSwitch::sbfdModel() {
   return parts_->sbfdModel;
}
TrafficModel& SoftSwitch::traffic() {
   return parts_->traffic;
}
VrfMgr& SoftSwitch::vrfs() {
   return parts_->vrfs;
}
store::Store& SoftSwitch::store() {
   return parts_->store;
}
const Options& SoftSwitch::options() const {
   return parts_->options;
}

}  // namespace softswitch
