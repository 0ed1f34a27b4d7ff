#include "OrvSdkRpc/mirror/PolicyMapService.h"

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/ErrorText.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "OrvSdkRpc/types/PolicyMap.h"
#include "OrvSdkRpc/types/TrafficPolicy.h"
#include "orv/error.h"
#include "platform/process/Toggles.h"

namespace OrvSdkRpc {

struct PolicyMapService::Watch
     : WatchOf<&PolicyMapService::AsyncService::Requestwatch, &PolicyMapService::subscriptions> {
   static constexpr Hooks<Watch> hooks = {.filter = everyEvent};
};

namespace {

using namespace orv::remote;
using Rpc = PolicyMapService::AsyncService;

bool toggleOrvSdkRpcTrafficPolicyEnabled() {
   static const bool enabled = getToggleState("OrvSdkRpcTrafficPolicy", "OrvSdkRpc.json", true);
   return enabled;
}

void requireTrafficPolicies() {
   if (!toggleOrvSdkRpcTrafficPolicyEnabled()) {
      orv::panic(orv::unsupported_error("Traffic policy gRPC is disabled."));
   }
}

// A definition of a traffic policy's RPC: while these are switched off, nothing is converted and nothing is
// asked of the switch.
template <class Definition>
struct Toggled : Definition {
   template <class Item, class Svc>
   static auto impl(const Item& item, Svc& service) {
      requireTrafficPolicies();
      return Definition::impl(item, service);
   }
};

struct ResyncInit : Setter<&Rpc::Requestresync_init, &orv::policy_map_mgr::resync_init> {};
struct ResyncComplete : Setter<&Rpc::Requestresync_complete, &orv::policy_map_mgr::resync_complete> {};

struct Exists : Getter<&Rpc::Requestexists, &orv::policy_map_mgr::exists,
                       &PolicyMapExistsResponse::set_exists, &PolicyMapExistsRequest::key> {};
struct Configured : Getter<&Rpc::Requestpolicy_map, &orv::policy_map_mgr::policy_map,
                           &PolicyMapResponse::mutable_policy_map, &PolicyMapRequest::key> {};
struct PolicyMaps : Lister<&Rpc::Requestpolicy_maps, &orv::policy_map_mgr::policy_map_iter,
                           &PolicyMapsResponse::mutable_key, &PolicyMapsRequest::feature> {};
struct Set : Setter<&Rpc::Requestpolicy_map_is, &orv::policy_map_mgr::policy_map_is,
                    &PolicyMapIsRequest::policy_map> {};
struct BulkSet : BulkOf<Set, &Rpc::Requestbulk_policy_map_is> {};
struct Del
     : Setter<&Rpc::Requestpolicy_map_del, &orv::policy_map_mgr::policy_map_del, &PolicyMapDelRequest::key> {
};
struct BulkDel : BulkOf<Del, &Rpc::Requestbulk_policy_map_del> {};
struct Apply : Setter<&Rpc::Requestpolicy_map_apply, &orv::policy_map_mgr::policy_map_apply,
                      &PolicyMapApplyRequest::key, &PolicyMapApplyRequest::intf_id,
                      &PolicyMapApplyRequest::direction, &PolicyMapApplyRequest::apply> {};
struct BulkApply : BulkOf<Apply, &Rpc::Requestbulk_policy_map_apply> {};

struct HwStatuses
     : Lister<&Rpc::Requestpolicy_map_hw_statuses, &orv::policy_map_mgr::policy_map_hw_status_iter,
              &PolicyMapHwStatusesResponse::mutable_key, &PolicyMapHwStatusesRequest::feature> {};
struct HwStatus : Getter<&Rpc::Requesthw_status, &orv::policy_map_mgr::hw_status,
                         &PolicyMapHwStatusResponse::mutable_statuses, &PolicyMapHwStatusRequest::key> {};

struct TrafficPolicyExists
     : Toggled<Getter<&Rpc::Requesttraffic_policy_exists, &orv::policy_map_mgr::traffic_policy_exists,
                      &TrafficPolicyExistsResponse::set_exists, &TrafficPolicyExistsRequest::name>> {};
struct TrafficPolicyConfigured
     : Toggled<Getter<&Rpc::Requesttraffic_policy, &orv::policy_map_mgr::traffic_policy,
                      &TrafficPolicyResponse::mutable_traffic_policy, &TrafficPolicyRequest::name>> {};
// The toggle matters once there is an element: without one the list ends normally. It is looked at where a
// refusal ends the stream: at the list's first step.
struct TrafficPolicies : Lister<&Rpc::Requesttraffic_policies, &orv::policy_map_mgr::traffic_policy_iter,
                                &TrafficPoliciesResponse::mutable_key> {
   template <class Svc>
   static auto iterator(const Request& request, Svc& service) {
      auto policies = Lister::iterator(request, service);
      if (policies) requireTrafficPolicies();
      return policies;
   }
};
struct TrafficPolicySet
     : Toggled<Setter<&Rpc::Requesttraffic_policy_is, &orv::policy_map_mgr::traffic_policy_is,
                      &TrafficPolicyIsRequest::traffic_policy>> {};
struct BulkTrafficPolicySet : BulkOf<TrafficPolicySet, &Rpc::Requestbulk_traffic_policy_is> {};
struct TrafficPolicyDel
     : Toggled<Setter<&Rpc::Requesttraffic_policy_del, &orv::policy_map_mgr::traffic_policy_del,
                      &TrafficPolicyDelRequest::name>> {};
struct BulkTrafficPolicyDel : BulkOf<TrafficPolicyDel, &Rpc::Requestbulk_traffic_policy_del> {};
struct TrafficPolicyApply
     : Toggled<Setter<&Rpc::Requesttraffic_policy_apply, &orv::policy_map_mgr::traffic_policy_apply,
                      &TrafficPolicyApplyRequest::name, &TrafficPolicyApplyRequest::intf_id,
                      &TrafficPolicyApplyRequest::direction, &TrafficPolicyApplyRequest::apply>> {};
struct BulkTrafficPolicyApply : BulkOf<TrafficPolicyApply, &Rpc::Requestbulk_traffic_policy_apply> {};

}  // namespace

void PolicyMapEventHandler::operator()(const orv::policy_map_key_t&, PolicyMapWatchResponse& response) const {
   service.subscriptions().publish(response);
}

PolicyMapService::PolicyMapService(orv::policy_map_mgr* mgr)
     : MirrorService("policy_map"),
       orv::policy_map_handler(mgr),
       syncBacklog_("PolicyMapSyncBacklog", Gorm::TaskSchedulerRoot::findOrCreateScheduler(),
                    PolicyMapEventHandler{*this}),
       configSetBacklog_("PolicyMapConfigSetBacklog", Gorm::TaskSchedulerRoot::findOrCreateScheduler(),
                         PolicyMapEventHandler{*this}) {}

PolicyMapService::~PolicyMapService() = default;

void PolicyMapService::startHandlers() {
   registerAdapter<UnaryRequestHandler, ResyncInit>(*this);
   registerAdapter<UnaryRequestHandler, ResyncComplete>(*this);
   registerAdapter<UnaryRequestHandler, Exists>(*this);
   registerAdapter<UnaryRequestHandler, Configured>(*this);
   registerAdapter<IteratorStreamingHandler, PolicyMaps>(*this);
   registerAdapter<UnaryRequestHandler, Set>(*this);
   registerAdapter<BulkRequestHandler, BulkSet>(*this);
   registerAdapter<UnaryRequestHandler, Del>(*this);
   registerAdapter<BulkRequestHandler, BulkDel>(*this);
   registerAdapter<UnaryRequestHandler, Apply>(*this);
   registerAdapter<BulkRequestHandler, BulkApply>(*this);
   registerAdapter<IteratorStreamingHandler, HwStatuses>(*this);
   registerAdapter<UnaryRequestHandler, HwStatus>(*this);
   registerAdapter<UnaryRequestHandler, TrafficPolicyExists>(*this);
   registerAdapter<UnaryRequestHandler, TrafficPolicyConfigured>(*this);
   registerAdapter<IteratorStreamingHandler, TrafficPolicies>(*this);
   registerAdapter<UnaryRequestHandler, TrafficPolicySet>(*this);
   registerAdapter<BulkRequestHandler, BulkTrafficPolicySet>(*this);
   registerAdapter<UnaryRequestHandler, TrafficPolicyDel>(*this);
   registerAdapter<BulkRequestHandler, BulkTrafficPolicyDel>(*this);
   registerAdapter<UnaryRequestHandler, TrafficPolicyApply>(*this);
   registerAdapter<BulkRequestHandler, BulkTrafficPolicyApply>(*this);
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
}

void PolicyMapService::startWatching() {
   // Pending events are for watchers that have left: a new one hears of what happens from now on.
   syncBacklog_.clear();
   configSetBacklog_.clear();
   watch_all_policy_maps(true);
}

void PolicyMapService::tell(Backlog& backlog, const char* what, const orv::policy_map_key_t& key,
                            PolicyMapEvent event) {
   tellOrTrace(tracer(), what, [&] {
      PolicyMapWatchResponse response;
      *response.mutable_key() = types::convert(key);
      response.set_event(event);
      backlog.get(key) = std::move(response);
   });
}

void PolicyMapService::on_policy_map_sync(const orv::policy_map_key_t& key) {
   tell(syncBacklog_, "on_policy_map_sync", key, POLICY_MAP_EVENT_SYNC);
}

void PolicyMapService::on_policy_map_sync_fail(const orv::policy_map_key_t& key, const std::string& message) {
   tellOrTrace(tracer(), "on_policy_map_sync_fail", [&] {
      PolicyMapWatchResponse response;
      *response.mutable_key() = types::convert(key);
      response.set_sync_fail_message(errorText(message));
      syncBacklog_.get(key) = std::move(response);
   });
}

void PolicyMapService::on_policy_map_config_set(const orv::policy_map_key_t& key) {
   tell(configSetBacklog_, "on_policy_map_config_set", key, POLICY_MAP_EVENT_CONFIG_SET);
}

void PolicyMapService::on_traffic_policy_config_set(const orv::policy_map_key_t& key) {
   tell(configSetBacklog_, "on_traffic_policy_config_set", key, POLICY_MAP_EVENT_TRAFFIC_POLICY_CONFIG_SET);
}

}  // namespace OrvSdkRpc
