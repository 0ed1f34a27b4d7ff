#include "OrvSdkRpc/programming/MplsRouteProgrammer.h"

#include <utility>
#include <vector>

#include "OrvSdkRpc/programming/Convert.h"
#include "OrvSdkRpc/programming/Reply.h"
#include "OrvSdkRpc/server/Assert.h"
#include "orv/lock.h"
#include "orv/mpls_route.h"
#include "orv/mpls_vrf_label.h"

namespace OrvSdkRpc {
namespace {

using GroupMsg = pb::mpls_route_msg::forward_nexthop_group_msg;

// One label, metric 0.
orv::mpls_route_key_t keyOf(const pb::mpls_route_msg& request) {
   return orv::mpls_route_key_t(orv::mpls_label_t(request.label()), 0);
}

orv::mpls_action_t convert(GroupMsg::mpls_operation_enum operation) {
   assertThat(operation == GroupMsg::GROUP_MPLS_OPERATION_POP ||
                   operation == GroupMsg::GROUP_MPLS_OPERATION_FORWARD,
              "operation is GROUP_MPLS_OPERATION_POP or GROUP_MPLS_OPERATION_FORWARD");
   return operation == GroupMsg::GROUP_MPLS_OPERATION_POP ? orv::mpls_action_t::pop
                                                          : orv::mpls_action_t::forward;
}

}  // namespace

void MplsRouteProgrammer::processMPLSRouteRequest(const pb::mpls_route_msg& request,
                                                  pb::rpc_status_msg& response) {
   serveRequest(client_, request, response, [&](std::string& errorText) { return work(request, errorText); });
}

void MplsRouteProgrammer::processMPLSRouteBulkRequest(const pb::mpls_route_bulk_msg& request,
                                                      pb::rpc_status_bulk_msg& response) {
   serveBulk(request, response,
             [this](const auto& item, auto& status) { processMPLSRouteRequest(item, status); });
}

int MplsRouteProgrammer::work(const pb::mpls_route_msg& request, std::string& errorText) {
   if (request.delete_()) {
      orv::sdk_scoped_lock lock;
      const int status = deleteMplsRoute(request, errorText);
      if (status != pb::RPC_STATUS_NOT_FOUND) return status;
      errorText.clear();
      return deleteMplsVrfLabel(request, errorText);
   }
   switch (request.forwarding_nexthop_case()) {
      case pb::mpls_route_msg::kNexthopMsg:
         return processMplsRouteWithNexthop(request, errorText);
      case pb::mpls_route_msg::kNexthopGroupMsg:
         return processMplsRouteWithNexthopGroup(request, errorText);
      case pb::mpls_route_msg::kPopAndForward:
         return processMplsRoutePopAndForward(request, errorText);
      case pb::mpls_route_msg::FORWARDING_NEXTHOP_NOT_SET:
         return refuse(errorText,
                       "Error: MPLS label {} must specify nexthop_msg, nexthop_group_msg or popAndForward",
                       request.label());
   }
   return refuse(errorText, "Error: MPLS label {} unexpected forwarding_nexthop {}", request.label(),
                 static_cast<int>(request.forwarding_nexthop_case()));
}

int MplsRouteProgrammer::deleteMplsRoute(const pb::mpls_route_msg& request, std::string&) {
   const orv::mpls_route_key_t key = keyOf(request);
   if (!routeMgr_->exists(key)) return pb::RPC_STATUS_NOT_FOUND;
   orv::fmttrace(programmingTracer(), 1, "MPLS label {} delete route", request.label());
   routeMgr_->mpls_route_del(key);
   // Some SDKs keep the vias of a deleted route.
   const orv::mpls_route_via_t via(key);
   if (routeMgr_->exists(via)) {
      routeMgr_->mpls_route_via_del(via);
   } else {
      orv::fmttrace(programmingTracer(), 1, "MPLS label {} no via found on delete", request.label());
   }
   return pb::RPC_STATUS_OK;
}

int MplsRouteProgrammer::deleteMplsVrfLabel(const pb::mpls_route_msg& request, std::string&) {
   const orv::mpls_label_t label(request.label());
   if (vrfLabelMgr_->mpls_vrf_label(label).vrf_name().empty()) return pb::RPC_STATUS_NOT_FOUND;
   orv::fmttrace(programmingTracer(), 2, "MPLS label {} delete popAndLookup", request.label());
   vrfLabelMgr_->mpls_vrf_label_del(label);
   return pb::RPC_STATUS_OK;
}

int MplsRouteProgrammer::processMplsRouteWithNexthop(const pb::mpls_route_msg& request,
                                                     std::string& errorText) {
   const pb::nexthop_msg& nexthop = request.nexthop_msg();
   orv::mpls_route_via_t via(keyOf(request));
   via.intf_is(orv::intf_id_t(nexthop.intf()));
   via.hop_is(ipAddressToIpAddr(nexthop.address()));
   const orv::mpls_action_t action = mplsOpToMplsAction(nexthop.mpls_operation());
   const int labels = nexthop.mpls_labels_size();
   switch (action) {
      case orv::mpls_action_t::pop:
         if (labels != 0) {
            return refuse(errorText, "Error: MPLS label {} action {} label count {} != 0", request.label(),
                          action, labels);
         }
         via.payload_type_is(orv::mpls_payload_type_t::autodecide);
         break;
      case orv::mpls_action_t::push:
      case orv::mpls_action_t::swap:
         if (labels != 1) {
            return refuse(errorText, "Error: MPLS label {} action {} label count {} != 1", request.label(),
                          action, labels);
         }
         via.pushswap_label_is(orv::mpls_label_t(nexthop.mpls_labels(0)));
         break;
      default:
         return refuse(errorText, "Error: MPLS label {} action {} not supported", request.label(), action);
   }
   via.label_action_is(action);
   orv::sdk_scoped_lock lock;
   orv::fmttrace(programmingTracer(), 1, "MPLS label {} create route nexthop_msg {} {} {} {}",
                 request.label(), via.intf(), via.hop(), action, labels == 0 ? 0U : nexthop.mpls_labels(0));
   writeRoute(via);
   deleteMplsVrfLabel(request, errorText);
   errorText.clear();
   return pb::RPC_STATUS_OK;
}

int MplsRouteProgrammer::processMplsRouteWithNexthopGroup(const pb::mpls_route_msg& request,
                                                          std::string& errorText) {
   const GroupMsg& group = request.nexthop_group_msg();
   orv::mpls_route_via_t via(keyOf(request));
   via.label_action_is(convert(group.mpls_operation()));
   via.nexthop_group_is(group.name());
   orv::sdk_scoped_lock lock;
   orv::fmttrace(programmingTracer(), 1, "MPLS label {} create route nexthop-group {} mpls_operation_enum {}",
                 request.label(), group.name(), static_cast<int>(group.mpls_operation()));
   writeRoute(via);
   deleteMplsVrfLabel(request, errorText);
   errorText.clear();
   return pb::RPC_STATUS_OK;
}

int MplsRouteProgrammer::processMplsRoutePopAndForward(const pb::mpls_route_msg& request,
                                                       std::string& errorText) {
   orv::sdk_scoped_lock lock;
   orv::fmttrace(programmingTracer(), 2, "MPLS label {} create popAndLookup", request.label());
   vrfLabelMgr_->mpls_vrf_label_set(
        orv::mpls_vrf_label_t(orv::mpls_label_t(request.label()), request.popandforward()));
   deleteMplsRoute(request, errorText);
   errorText.clear();
   return pb::RPC_STATUS_OK;
}

// The route as it was before the write, possibly without vias.
struct MplsRouteProgrammer::Before {
   orv::mpls_route_t route;
   std::vector<orv::mpls_route_via_t> vias;
};

// Rewrites the route with this as its only via.
void MplsRouteProgrammer::writeRoute(const orv::mpls_route_via_t& via) {
   const orv::mpls_route_key_t& key = via.route_key();
   std::optional<Before> before;
   if (routeMgr_->exists(key)) {
      before.emplace().route = routeMgr_->mpls_route(key);
      for (auto it = routeMgr_->mpls_route_via_iter(key); it; ++it)
         before->vias.push_back(*it);
      routeMgr_->mpls_route_del(key);
   }
   try {
      routeMgr_->mpls_route_set(orv::mpls_route_t(key));
      routeMgr_->mpls_route_via_set(via);
   } catch (const orv::error&) {
      takeBack(key, before);
      throw;
   }
}

// Restores a label's forwarding after its new via was rejected. Errors here are only traced: the controller
// gets the error of the rejected via.
void MplsRouteProgrammer::takeBack(const orv::mpls_route_key_t& key, const std::optional<Before>& before) {
   const auto succeeds = [&](const auto& call) {
      try {
         call();
         return true;
      } catch (const orv::error& e) {
         orv::fmttrace(programmingTracer(), 0, "Error: MPLS route {} cannot be restored, exception {}", key,
                       e.what());
         return false;
      }
   };
   const auto del = [&] { routeMgr_->mpls_route_del(key); };
   if (!succeeds(del) || !before) return;
   if (!succeeds([&] { routeMgr_->mpls_route_set(before->route); })) return;
   bool forwards = before->vias.empty();
   for (const orv::mpls_route_via_t& via : before->vias)
      forwards |= succeeds([&] { routeMgr_->mpls_route_via_set(via); });
   // The switch may reject a via that it accepted before. If it rejects all, the route must not stay behind.
   if (!forwards) succeeds(del);
}

}  // namespace OrvSdkRpc
