// Serves the SDK's interface counters over gRPC, and a stream of the rates of all interfaces.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, which also delivers the rates.
// Everything else runs on the pump thread.
#pragma once

#include <span>
#include <utility>

#include "OrvSdkRpc/handlers/BulkBacklog.h"
#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/intf_counter.grpc.pb.h"
#include "orv/intf_counter.h"

namespace OrvSdkRpc {

class IntfCounterService;
class IntfTrafficRatesWatcher;
namespace IntfCounterServiceHandlers {
struct IntfTrafficRatesStream;
}  // namespace IntfCounterServiceHandlers

// Publishes the rates in the backlog.
struct IntfTrafficRatesBacklog {
   IntfCounterService& service;

   void operator()(std::span<const std::pair<orv::intf_id_t, orv::intf_traffic_rates_t>> rates) const;
};

class IntfCounterService final : public MirrorService<orv::remote::IntfCounterMgrService> {
public:
   // Without a watcher, the stream of rates stays silent.
   // REQUIRES: the manager outlives the service, and the watcher outlives every open stream.
   IntfCounterService(orv::intf_counter_mgr* mgr, IntfTrafficRatesWatcher* watcher);
   ~IntfCounterService() override;

   void startHandlers() override;

   using Controller =
        SubscriptionController<IntfCounterService, IntfCounterServiceHandlers::IntfTrafficRatesStream>;
   [[nodiscard]] Controller& subscriptions() { return subscriptions_; }
   [[nodiscard]] orv::intf_counter_mgr& manager() const { return *mgr_; }
   // Rates arrive only between these two calls.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatching();
   void stopWatching();

private:
   orv::intf_counter_mgr* const mgr_;
   IntfTrafficRatesWatcher* const watcher_;
   Controller subscriptions_{*this};
   BulkBacklog<orv::intf_id_t, orv::intf_traffic_rates_t, IntfTrafficRatesBacklog> backlog_;
};

}  // namespace OrvSdkRpc
