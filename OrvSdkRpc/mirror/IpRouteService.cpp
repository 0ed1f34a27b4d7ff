#include "OrvSdkRpc/mirror/IpRouteService.h"

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/mirror/IpRouteSet.h"
#include "OrvSdkRpc/mirror/IpRoutesAdapter.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "OrvSdkRpc/types/IpRoute.h"

namespace OrvSdkRpc {
namespace {

using namespace orv::remote;
using Rpc = IpRouteService::AsyncService;
using types::convert;

// Calls one of an operation's two overloads: with the VRF that the request names, or without one.
template <class Request, class Call>
auto inVrf(const Request& request, const Call& call) {
   return request.vrf_name().empty() ? call() : call(request.vrf_name());
}

struct IpRouteSetHandler : RpcOf<&Rpc::Requestip_route_set> {
   static Response impl(const Request& request, IpRouteService& service) {
      ipRouteSetImpl(request, service.manager(), service.tracer());
      return {};
   }
};
struct BulkIpRouteSetHandler : BulkOf<IpRouteSetHandler, &Rpc::Requestbulk_ip_route_set> {};

void ipRouteDelImpl(const IpRouteDelRequest& request, orv::ip_route_mgr& manager) {
   const orv::ip_route_key_t key = convert(request.key());
   inVrf(request, [&](const auto&... vrf) { manager.ip_route_del(key, vrf...); });
}

void ipRouteViaSetImpl(const IpRouteViaSetRequest& request, orv::ip_route_mgr& manager) {
   const orv::ip_route_via_t via = convert(request.via());
   inVrf(request, [&](const auto&... vrf) { manager.ip_route_via_set(via, vrf...); });
}

void ipRouteViaDelImpl(const IpRouteViaDelRequest& request, orv::ip_route_mgr& manager) {
   const orv::ip_route_via_t via = convert(request.via());
   inVrf(request, [&](const auto&... vrf) { manager.ip_route_via_del(via, vrf...); });
}

// A change that one of these functions makes.
template <auto requestMethod, auto change>
struct Change : RpcOf<requestMethod> {
   using typename RpcOf<requestMethod>::Request;
   using typename RpcOf<requestMethod>::Response;

   static Response impl(const Request& request, IpRouteService& service) {
      change(request, service.manager());
      return {};
   }
};

struct IpRouteDelHandler : Change<&Rpc::Requestip_route_del, &ipRouteDelImpl> {};
struct BulkIpRouteDelHandler : BulkOf<IpRouteDelHandler, &Rpc::Requestbulk_ip_route_del> {};
struct IpRouteViaSetHandler : Change<&Rpc::Requestip_route_via_set, &ipRouteViaSetImpl> {};
struct BulkIpRouteViaSetHandler : BulkOf<IpRouteViaSetHandler, &Rpc::Requestbulk_ip_route_via_set> {};
struct IpRouteViaDelHandler : Change<&Rpc::Requestip_route_via_del, &ipRouteViaDelImpl> {};
struct BulkIpRouteViaDelHandler : BulkOf<IpRouteViaDelHandler, &Rpc::Requestbulk_ip_route_via_del> {};

struct IpRouteExistsHandler : RpcOf<&Rpc::Requestip_route_exists> {
   static Response impl(const Request& request, IpRouteService& service) {
      const orv::ip_route_key_t key = convert(request.key());
      Response response;
      response.set_exists(
           inVrf(request, [&](const auto&... vrf) { return service.manager().exists(key, vrf...); }));
      return response;
   }
};

struct IpRouteViaExistsHandler : RpcOf<&Rpc::Requestip_route_via_exists> {
   static Response impl(const Request& request, IpRouteService& service) {
      const orv::ip_route_via_t via = convert(request.via());
      Response response;
      response.set_exists(
           inVrf(request, [&](const auto&... vrf) { return service.manager().exists(via, vrf...); }));
      return response;
   }
};

struct IpRouteHandler : RpcOf<&Rpc::Requestip_route> {
   static Response impl(const Request& request, IpRouteService& service) {
      const orv::ip_route_key_t key = convert(request.key());
      Response response;
      *response.mutable_ip_route() = convert(
           inVrf(request, [&](const auto&... vrf) { return service.manager().ip_route(key, vrf...); }));
      return response;
   }
};

struct IpRouteViasAdapter : RpcOf<&Rpc::Requestip_route_vias> {
   static auto iterator(const Request& request, IpRouteService& service) {
      const orv::ip_route_key_t key = types::convert(request.key());
      return inVrf(request,
                   [&](const auto&... vrf) { return service.manager().ip_route_via_iter(key, vrf...); });
   }
   static Response convert(const orv::ip_route_via_t& via) {
      Response response;
      *response.mutable_via() = types::convert(via);
      return response;
   }
};

struct TagHandler : Getter<&Rpc::Requesttag, &orv::ip_route_mgr::tag, &TagResponse::set_tag> {};
struct TagIsHandler : Setter<&Rpc::Requesttag_is, &orv::ip_route_mgr::tag_is, &TagIsRequest::tag> {};

struct ResyncInitHandler : Setter<&Rpc::Requestresync_init, &orv::ip_route_mgr::resync_init> {};
struct ResyncCompleteHandler : Setter<&Rpc::Requestresync_complete, &orv::ip_route_mgr::resync_complete> {};

}  // namespace

IpRouteService::IpRouteService(orv::ip_route_mgr* mgr, orv::vrf_mgr* vrfMgr)
     : MirrorService("IpRoute"), mgr_(mgr), vrfMgr_(vrfMgr) {}

IpRouteService::~IpRouteService() = default;

void IpRouteService::startHandlers() {
   registerAdapter<UnaryRequestHandler, IpRouteSetHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkIpRouteSetHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteDelHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkIpRouteDelHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteViaSetHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkIpRouteViaSetHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteViaDelHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkIpRouteViaDelHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteExistsHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteViaExistsHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteHandler>(*this);
   registerAdapter<IteratorStreamingHandler, IpRoutesAdapter>(*this);
   registerAdapter<IteratorStreamingHandler, IpRouteViasAdapter>(*this);
   registerAdapter<UnaryRequestHandler, TagHandler>(*this);
   registerAdapter<UnaryRequestHandler, TagIsHandler>(*this);
   registerAdapter<UnaryRequestHandler, ResyncInitHandler>(*this);
   registerAdapter<UnaryRequestHandler, ResyncCompleteHandler>(*this);
}

}  // namespace OrvSdkRpc
