#include "OrvSdkRpc/mirror/FibService.h"

#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/types/Fib.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "orv/error.h"
#include "orv/lock.h"

namespace OrvSdkRpc {

using namespace orv::remote;

namespace FibServiceImpl {

using Rpc = FibService::AsyncService;

struct Route : Getter<&Rpc::Requestfib_route, &orv::fib_mgr::fib_route, &FibRouteResponse::mutable_fib_route,
                      &FibRouteRequest::key> {};
struct RouteExists : Getter<&Rpc::Requestfib_route_exists, &orv::fib_mgr::fib_route_exists,
                            &FibRouteExistsResponse::set_exists, &FibRouteExistsRequest::key> {};
struct Routes
     : Lister<&Rpc::Requestfib_routes, &orv::fib_mgr::fib_route_iter, &FibRoutesResponse::mutable_fib_route> {
};
struct Fec : Getter<&Rpc::Requestfib_fec, &orv::fib_mgr::fib_fec, &FibFecResponse::mutable_fib_fec,
                    &FibFecRequest::key> {};
struct FecExists : Getter<&Rpc::Requestfib_fec_exists, &orv::fib_mgr::fib_fec_exists,
                          &FibFecExistsResponse::set_exists, &FibFecExistsRequest::key> {};
struct Fecs : Lister<&Rpc::Requestfib_fecs, &orv::fib_mgr::fib_fec_iter, &FibFecsResponse::mutable_fib_fec> {
};

struct Watch : WatchOf<&Rpc::Requestwatch, &FibService::subscriptions> {
   void subscribe(FibService& service, OpaqueId tag, const Request&) {
      {
         const orv::sdk_scoped_lock lock;
         if (!service.manager().events_enabled()) {
            orv::panic(orv::configuration_error("Events are disabled. Watch failed."));
         }
      }
      service.subscriptions().subscribe(tag);
   }

   static constexpr Hooks<Watch> hooks = {.filter = everyEvent, .subscribe = &Watch::subscribe};
};

}  // namespace FibServiceImpl

FibService::FibService(orv::fib_mgr* mgr) : MirrorService("fib"), orv::fib_handler(mgr) {}

FibService::~FibService() = default;

void FibService::startHandlers() {
   using namespace FibServiceImpl;
   registerAdapter<UnaryRequestHandler, Route>(*this);
   registerAdapter<UnaryRequestHandler, RouteExists>(*this);
   registerAdapter<IteratorStreamingHandler, Routes>(*this);
   registerAdapter<UnaryRequestHandler, Fec>(*this);
   registerAdapter<UnaryRequestHandler, FecExists>(*this);
   registerAdapter<IteratorStreamingHandler, Fecs>(*this);
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
}

// A switch tells of every route that it programs, mostly to nobody: nothing is converted then.
template <class Fill>
void FibService::tell(std::string_view what, Fill&& fill) {
   if (!subscriptions_.watched()) return;
   tellOrTrace(tracer(), what, [&] {
      FibWatchResponse response;
      fill(response);
      subscriptions_.publish(response);
   });
}

void FibService::on_route_set(const orv::fib_route_t& route) {
   tell("on_route_set", [&](auto& response) { *response.mutable_on_route_set() = types::convert(route); });
}

void FibService::on_route_del(const orv::fib_route_key_t& key) {
   tell("on_route_del", [&](auto& response) { *response.mutable_on_route_del() = types::convert(key); });
}

void FibService::on_fec_set(const orv::fib_fec_t& fec) {
   tell("on_fec_set", [&](auto& response) { *response.mutable_on_fec_set() = types::convert(fec); });
}

void FibService::on_fec_del(const orv::fib_fec_key_t& key) {
   tell("on_fec_del", [&](auto& response) { *response.mutable_on_fec_del() = types::convert(key); });
}

}  // namespace OrvSdkRpc
