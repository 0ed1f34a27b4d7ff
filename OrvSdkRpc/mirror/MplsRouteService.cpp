#include "OrvSdkRpc/mirror/MplsRouteService.h"

#include <google/protobuf/util/message_differencer.h>

#include <unordered_set>
#include <vector>

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/DumpStreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "OrvSdkRpc/types/MplsRoute.h"
#include "orv/error.h"
#include "platform/process/Toggles.h"

namespace OrvSdkRpc {

using namespace orv::remote;

namespace MplsRoute {

using Rpc = MplsRouteService::AsyncService;
using google::protobuf::util::MessageDifferencer;
using types::convert;

// A getter of one route.
template <auto requestMethod, auto operation, auto slot>
using OfRoute = Getter<requestMethod, operation, slot, &RpcOf<requestMethod>::Request::route_key>;

constexpr auto routeExists = static_cast<bool (orv::mpls_route_mgr::*)(const orv::mpls_route_key_t&) const>(
     &orv::mpls_route_mgr::exists);

struct Exists : OfRoute<&Rpc::Requestexists, routeExists, &MplsRouteExistsResponse::set_exists> {};
struct Metric
     : OfRoute<&Rpc::Requestmetric, &orv::mpls_route_mgr::metric, &MplsRouteMetricResponse::set_metric> {};
struct FecId
     : OfRoute<&Rpc::Requestfec_id, &orv::mpls_route_mgr::fec_id, &MplsRouteFecIdResponse::mutable_fec_id> {};

inline void addMplsRouteVias(const MplsRouteSetRequest& request, MplsRouteService& service) {
   orv::mpls_route_mgr& mgr = service.manager();
   try {
      for (const MplsRouteVia& via : request.vias())
         mgr.mpls_route_via_set(convert(via));
   } catch (...) {
      // A route that lacks some of its vias does not stay. The client gets the via's error in any case.
      const auto key = convert(request.route().key());
      try {
         mgr.mpls_route_del(key);
      } catch (const orv::error& e) {
         orv::fmttrace(service.tracer(), 0, "MPLS route {} stays without some of its vias: {}", key,
                       e.what());
      }
      throw;
   }
}

// Each via once, in the order of the first.
class OrderedVias {
public:
   void insert(const orv::mpls_route_via_t& via) {
      if (const auto [at, fresh] = set_.insert(via); fresh) order_.push_back(&*at);
   }
   // Calls `each` with every via that `other` lacks.
   template <class Each>
   void without(const OrderedVias& other, Each&& each) const {
      for (const auto* via : order_) {
         if (!other.set_.contains(*via)) each(*via);
      }
   }

private:
   std::unordered_set<orv::mpls_route_via_t> set_;
   std::vector<const orv::mpls_route_via_t*> order_;
};

inline void replaceMplsRouteVias(const MplsRouteSetRequest& request, orv::mpls_route_mgr& mgr) {
   OrderedVias present;
   for (auto it = mgr.mpls_route_via_iter(convert(request.route().key())); it; ++it)
      present.insert(*it);
   OrderedVias wanted;
   for (const MplsRouteVia& via : request.vias())
      wanted.insert(convert(via));
   // The additions come first, so that the route is never without vias.
   wanted.without(present, [&](const auto& via) { mgr.mpls_route_via_set(via); });
   present.without(wanted, [&](const auto& via) { mgr.mpls_route_via_del(via); });
}

struct MplsRouteSet : RpcOf<&Rpc::Requestmpls_route_set> {
   static Response impl(const Request& request, MplsRouteService& service) {
      service.manager().mpls_route_set(convert(request.route()));
      switch (request.vias_action()) {
         case MPLS_ROUTE_VIAS_ACTION_ADD:
            addMplsRouteVias(request, service);
            break;
         case MPLS_ROUTE_VIAS_ACTION_REPLACE:
            replaceMplsRouteVias(request, service.manager());
            break;
         default:
            throw orv::invalid_argument_error("vias_action");
      }
      return {};
   }
};
struct BulkMplsRouteSet : BulkOf<MplsRouteSet, &Rpc::Requestbulk_mpls_route_set> {};

struct MplsRouteDel : Setter<&Rpc::Requestmpls_route_del, &orv::mpls_route_mgr::mpls_route_del,
                             &MplsRouteDelRequest::route_key> {};
struct BulkMplsRouteDel : BulkOf<MplsRouteDel, &Rpc::Requestbulk_mpls_route_del> {};

struct MplsRouteViaSet : Setter<&Rpc::Requestmpls_route_via_set, &orv::mpls_route_mgr::mpls_route_via_set,
                                &MplsRouteViaSetRequest::via> {};
struct BulkMplsRouteViaSet : BulkOf<MplsRouteViaSet, &Rpc::Requestbulk_mpls_route_via_set> {};

struct MplsRouteViaDel : Setter<&Rpc::Requestmpls_route_via_del, &orv::mpls_route_mgr::mpls_route_via_del,
                                &MplsRouteViaDelRequest::via> {};
struct BulkMplsRouteViaDel : BulkOf<MplsRouteViaDel, &Rpc::Requestbulk_mpls_route_via_del> {};

struct MplsRoutes : Lister<&Rpc::Requestmpls_routes, &orv::mpls_route_mgr::mpls_route_iter,
                           &MplsRoutesResponse::mutable_route> {};
struct MplsRouteVias : Lister<&Rpc::Requestmpls_route_vias, &orv::mpls_route_mgr::mpls_route_via_iter,
                              &MplsRouteViasResponse::mutable_via, &MplsRouteViasRequest::route_key> {};
struct MplsRouteStatuses
     : Lister<&Rpc::Requestmpls_route_statuses, &orv::mpls_route_mgr::mpls_route_status_iter,
              &MplsRouteStatusesResponse::mutable_status> {};
struct MplsRouteViaStatuses
     : Lister<&Rpc::Requestmpls_route_via_statuses, &orv::mpls_route_mgr::mpls_route_via_status_iter,
              &MplsRouteViaStatusesResponse::mutable_via, &MplsRouteViaStatusesRequest::route_key> {};

struct ResyncInit : Setter<&Rpc::Requestresync_init, &orv::mpls_route_mgr::resync_init> {};
struct ResyncComplete : Setter<&Rpc::Requestresync_complete, &orv::mpls_route_mgr::resync_complete> {};

inline bool sameKey(const MplsRouteKey& a, const MplsRouteKey& b) {
   // Numbers first: comparing messages is slow, and nearly all differ in the first label.
   return a.labels_size() == b.labels_size() &&
          (a.labels().empty() || a.labels(0).label() == b.labels(0).label()) &&
          MessageDifferencer::Equals(a, b);
}

struct Watch : WatchOf<&Rpc::Requestwatch, &MplsRouteService::subscriptions> {
   bool filter(const Request& request, const Response& message) const {
      if (request.all()) return true;
      if (message.has_on_mpls_route_set()) {
         return sameKey(message.on_mpls_route_set().route_key(), request.route_key());
      }
      return message.has_on_mpls_route_del() &&
             sameKey(message.on_mpls_route_del().route_key(), request.route_key());
   }

   // Unlike other watches, this one takes every number below 2 for the routes, also a negative one.
   bool dumpEnabled(MplsRouteService&, const Request& request) {
      for (const int number : request.fields_control().fields()) {
         if (number < MPLS_ROUTE_FIELD_VIAS) routes_ = true;
         if (number == MPLS_ROUTE_FIELD_ALL || number == MPLS_ROUTE_FIELD_VIAS) vias_ = true;
         if (number == MPLS_ROUTE_FIELD_ALL) break;
      }
      return routes_ || vias_;
   }

   static auto iterator(MplsRouteService& service) { return service.manager().mpls_route_iter(); }

   void encodeDump(MplsRouteService& service, const orv::mpls_route_t& route, Response& message) const {
      const orv::MplsRouteMgrImpl& mgr = service.managerImpl();
      OnMplsRouteDump& dump = *message.mutable_dump();
      const orv::mpls_fec_id_t fec = mgr.fec_id(route.key());
      if (fec.id() == 0 && !mgr.exists(route.key())) {
         // Deleted since the iterator's last step. Its event may be out already, and none would correct a
         // set.
         *message.mutable_on_mpls_route_del()->mutable_route_key() = convert(route.key());
         return;
      }
      OnMplsRouteSet& event = *message.mutable_on_mpls_route_set();
      *event.mutable_route_key() = convert(route.key());
      event.set_hw_version_id(mgr.hw_version_id(route.key()));
      if (routes_) {
         *dump.mutable_route()->mutable_key() = event.route_key();
         dump.mutable_route()->set_version_id(event.hw_version_id());
      }
      if (fec.id() != 0) *event.mutable_fec_id() = convert(fec);
      if (vias_) {
         for (auto it = mgr.mpls_route_via_iter(route.key()); it; ++it) {
            // A via is left out if the wire has no value for it; see TellOrTrace.h.
            tellOrTrace(service.tracer(), "vias", [&] {
               auto via = convert(*it);
               *dump.add_vias() = std::move(via);
            });
         }
      }
   }

   static constexpr Hooks<Watch> hooks = {.filter = &Watch::filter};

private:
   bool routes_ = false;
   bool vias_ = false;
};

struct WatchMplsIntegrated
     : WatchOf<&Rpc::Requestwatch_mpls_integrated, &MplsRouteService::integratedSubscriptions> {
   static constexpr Hooks<WatchMplsIntegrated> hooks = {.filter = everyEvent};
};

}  // namespace MplsRoute

using types::convert;

void MplsRouteBacklog::operator()(const orv::mpls_route_key_t&, MplsRouteWatchResponse& response) const {
   service.subscriptions().publish(response);
}

void MplsFecBacklog::operator()(orv::mpls_fec_id_t, MplsRouteWatchResponse& response) const {
   service.subscriptions().publish(response);
}

MplsRouteService::MplsRouteService(orv::mpls_route_mgr* mgr, orv::mount_mgr* mountMgr,
                                   orv::nexthop_group_mgr* nexthopGroupMgr)
     : MirrorService("mpls_route"),
       orv::mpls_route_handler(mgr),
       routeBacklog_("MplsRouteBacklog", Gorm::TaskSchedulerRoot::findOrCreateScheduler(),
                     MplsRouteBacklog{*this}),
       fecBacklog_("MplsFecBacklog", Gorm::TaskSchedulerRoot::findOrCreateScheduler(), MplsFecBacklog{*this}),
       publishIntegrated_([this](const MplsIntegratedAckResponse& response) {
          integratedSubscriptions_.publish(response);
       }),
       watcher_(mountMgr, nexthopGroupMgr, publishIntegrated_),
       mgrImpl_(static_cast<orv::MplsRouteMgrImpl*>(mgr)) {}

MplsRouteService::~MplsRouteService() = default;

void MplsRouteService::startHandlers() {
   static const bool integrated = getToggleState("OrvSdkRpcMplsIntegratedCallback", "OrvSdkRpc.json", true);
   registerAdapter<DumpStreamingAdapterHandler, MplsRoute::Watch>(*this);
   // Without its handler a call of this RPC is never answered.
   if (integrated) registerAdapter<StreamingAdapterHandler, MplsRoute::WatchMplsIntegrated>(*this);
   registerAdapter<UnaryRequestHandler, MplsRoute::Exists>(*this);
   registerAdapter<UnaryRequestHandler, MplsRoute::Metric>(*this);
   registerAdapter<UnaryRequestHandler, MplsRoute::FecId>(*this);
   registerAdapter<UnaryRequestHandler, MplsRoute::MplsRouteSet>(*this);
   registerAdapter<BulkRequestHandler, MplsRoute::BulkMplsRouteSet>(*this);
   registerAdapter<UnaryRequestHandler, MplsRoute::MplsRouteDel>(*this);
   registerAdapter<BulkRequestHandler, MplsRoute::BulkMplsRouteDel>(*this);
   registerAdapter<UnaryRequestHandler, MplsRoute::MplsRouteViaSet>(*this);
   registerAdapter<BulkRequestHandler, MplsRoute::BulkMplsRouteViaSet>(*this);
   registerAdapter<UnaryRequestHandler, MplsRoute::MplsRouteViaDel>(*this);
   registerAdapter<BulkRequestHandler, MplsRoute::BulkMplsRouteViaDel>(*this);
   registerAdapter<IteratorStreamingHandler, MplsRoute::MplsRoutes>(*this);
   registerAdapter<IteratorStreamingHandler, MplsRoute::MplsRouteVias>(*this);
   registerAdapter<IteratorStreamingHandler, MplsRoute::MplsRouteStatuses>(*this);
   registerAdapter<IteratorStreamingHandler, MplsRoute::MplsRouteViaStatuses>(*this);
   registerAdapter<UnaryRequestHandler, MplsRoute::ResyncInit>(*this);
   registerAdapter<UnaryRequestHandler, MplsRoute::ResyncComplete>(*this);
}

void MplsRouteService::startWatching() {
   // Pending events are for watchers that have left. They are older than what a new watcher reads, and no
   // later event corrects them: changes are not reported while nobody watches.
   routeBacklog_.clear();
   fecBacklog_.clear();
   watch_all_mpls_routes(true);
}

void MplsRouteService::on_mpls_route_set(const orv::mpls_route_key_t& key, orv::mpls_fec_id_t fec) {
   tellOrTrace(tracer(), "on_mpls_route_set", [&] {
      const auto version = mgrImpl_->hw_version_id(key);
      OnMplsRouteSet& event = *routeBacklog_.get(key).mutable_on_mpls_route_set();
      *event.mutable_route_key() = convert(key);
      *event.mutable_fec_id() = convert(fec);
      event.set_hw_version_id(version);
   });
}

void MplsRouteService::on_mpls_route_del(const orv::mpls_route_key_t& key) {
   *routeBacklog_.get(key).mutable_on_mpls_route_del()->mutable_route_key() = convert(key);
}

void MplsRouteService::on_mpls_fec_set(orv::mpls_fec_id_t fec) {
   *fecBacklog_.get(fec).mutable_on_mpls_fec_set()->mutable_fec_id() = convert(fec);
}

void MplsRouteService::on_mpls_fec_del(orv::mpls_fec_id_t fec) {
   *fecBacklog_.get(fec).mutable_on_mpls_fec_del()->mutable_fec_id() = convert(fec);
}

}  // namespace OrvSdkRpc
