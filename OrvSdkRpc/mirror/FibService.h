// Serves the SDK's forwarding information base over gRPC.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, which also runs the callbacks.
// Everything else runs on the pump thread.
#pragma once

#include <string_view>

#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/fib.grpc.pb.h"
#include "orv/fib.h"

namespace OrvSdkRpc {

namespace FibServiceImpl {
struct Watch;
}

class FibService final : public MirrorService<orv::remote::FibMgrService>, public orv::fib_handler {
public:
   using Subscriptions = SubscriptionController<FibService, FibServiceImpl::Watch>;

   // REQUIRES: the manager outlives the service.
   explicit FibService(orv::fib_mgr* mgr);
   ~FibService() override;

   void startHandlers() override;

   [[nodiscard]] Subscriptions& subscriptions() { return subscriptions_; }
   [[nodiscard]] orv::fib_mgr& manager() const { return *get_fib_mgr(); }
   // No-ops: the SDK calls a FIB handler without a watch.
   void startWatching() {}
   void stopWatching() {}

   void on_route_set(const orv::fib_route_t& route) override;
   void on_route_del(const orv::fib_route_key_t& key) override;
   void on_fec_set(const orv::fib_fec_t& fec) override;
   void on_fec_del(const orv::fib_fec_key_t& key) override;

private:
   // `fill` sets one event of the message.
   template <class Fill>
   void tell(std::string_view what, Fill&& fill);

   Subscriptions subscriptions_{*this};
};

}  // namespace OrvSdkRpc
