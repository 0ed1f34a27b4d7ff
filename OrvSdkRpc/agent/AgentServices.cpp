// Creates the mirror service of each Services value, and calls the SDK's getters in a fixed order.
#include "OrvSdkRpc/agent/Agent.h"
#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "OrvSdkRpc/mirror/AclService.h"
#include "OrvSdkRpc/mirror/AgentService.h"
#include "OrvSdkRpc/mirror/ClassMapService.h"
#include "OrvSdkRpc/mirror/EthPhyIntfService.h"
#include "OrvSdkRpc/mirror/IntfCounterService.h"
#include "OrvSdkRpc/mirror/IntfService.h"
#include "OrvSdkRpc/mirror/IpRouteService.h"
#include "OrvSdkRpc/mirror/MplsRouteService.h"
#include "OrvSdkRpc/mirror/MplsVrfLabelService.h"
#include "OrvSdkRpc/mirror/NexthopGroupService.h"
#include "OrvSdkRpc/mirror/PolicyMapCountersService.h"
#include "OrvSdkRpc/mirror/PolicyMapService.h"
#include "platform/process/Toggles.h"

namespace OrvSdkRpc {
namespace {

constexpr std::string_view toggleFile = "OrvSdkRpc.json";

bool classMapEnabled() {
   static const bool enabled = getToggleState("OrvSdkRpcClassMap", toggleFile, true);
   return enabled;
}

bool trafficStreamEnabled() {
   static const bool enabled = getToggleState("OrvSdkRpcTrafficStream", toggleFile, true);
   return enabled;
}

bool pbrCountersStreamEnabled() {
   static const bool enabled = getToggleState("OrvSdkRpcPbrCountersStream", toggleFile, true);
   return enabled;
}

// Placeholder for a service that this build lacks: its managers are still fetched, and gRPC answers
// UNIMPLEMENTED to its RPCs. An existing service has add<Service>(managers...) in its place.
template <class... Managers>
void absent(Managers*...) {}

}  // namespace

void Agent::enableServices(orv::sdk& sdk, const Server::Services& service) {
   using Server::Services;
   switch (service) {
      case Services::Acl:
         return add<AclService>(sdk.get_acl_mgr());
      case Services::Agent:
         return add<AgentService>(sdk.get_agent_mgr());
      case Services::BgpPath:
         return absent(sdk.get_bgp_path_mgr());
      case Services::Bgp:
         return absent(sdk.get_bgp_mgr());
      case Services::ClassMap:
         if (classMapEnabled()) add<ClassMapService>(sdk.get_class_map_mgr());
         return;
      case Services::Cmdapi:
         return absent(sdk.get_cmdapi_mgr());
      case Services::EthLagIntf:
         return absent(sdk.get_eth_lag_intf_mgr());
      case Services::EthPhyIntf:
         return add<EthPhyIntfService>(sdk.get_eth_phy_intf_mgr());
      case Services::EthPhyIntfCounters:
         return absent(sdk.get_eth_phy_intf_counter_mgr());
      case Services::Intf:
         return add<IntfService>(sdk.get_intf_mgr());
      case Services::IntfCounter:
         if (trafficStreamEnabled()) {
            // Called for its side effect: the counters stay resident.
            sdk.get_intf_counter_mgr_with_mode(orv::mgr_mode_type_t::resident);
            trafficRatesWatcher_ = std::make_unique<IntfTrafficRatesWatcher>(sdk.get_mount_mgr());
         }
         return add<IntfCounterService>(sdk.get_intf_counter_mgr(), trafficRatesWatcher_.get());
      case Services::IpRoute: {
         auto* const vrfMgr = sdk.get_vrf_mgr();
         return add<IpRouteService>(sdk.get_ip_route_mgr(), vrfMgr);
      }
      case Services::IpIntf:
         return absent(sdk.get_ip_intf_mgr());
      case Services::Macsec:
         return absent(sdk.get_macsec_mgr());
      case Services::MplsRoute: {
         auto* const nexthopGroupMgr = sdk.get_nexthop_group_mgr();
         auto* const mountMgr = sdk.get_mount_mgr();
         return add<MplsRouteService>(sdk.get_mpls_route_mgr(), mountMgr, nexthopGroupMgr);
      }
      case Services::MplsVrfLabel:
         return add<MplsVrfLabelService>(sdk.get_mpls_vrf_label_mgr());
      case Services::NexthopGroup:
         return add<NexthopGroupService>(sdk.get_nexthop_group_mgr());
      case Services::PolicyMap:
         return add<PolicyMapService>(sdk.get_policy_map_mgr());
      case Services::PolicyMapCounters:
         if (pbrCountersStreamEnabled()) {
            auto* const policyMapMgr = sdk.get_policy_map_mgr();
            add<PolicyMapCountersService>(policyMapMgr, sdk.get_mount_mgr());
         }
         return;
   }
}

}  // namespace OrvSdkRpc
