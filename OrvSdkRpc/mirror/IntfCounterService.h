// The SDK's interface counters, on the network, and a stream of the rates of all interfaces.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, where the rates come from; everything
// else runs on the pump thread.
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

// Publishes what waits in the backlog.
struct IntfTrafficRatesBacklog {
   IntfCounterService& service;

   void operator()(std::span<const std::pair<orv::intf_id_t, orv::intf_traffic_rates_t>> rates) const;
};

class IntfCounterService final : public MirrorService<orv::remote::IntfCounterMgrService> {
public:
   // The manager lives longer than the service. So does the watcher as long as streams are open; without one
   // the stream of rates stays silent.
   IntfCounterService(orv::intf_counter_mgr* mgr, IntfTrafficRatesWatcher* watcher);
   ~IntfCounterService() override;

   void startHandlers() override;

   using Controller =
        SubscriptionController<IntfCounterService, IntfCounterServiceHandlers::IntfTrafficRatesStream>;
   [[nodiscard]] Controller& subscriptions() { return subscriptions_; }
   [[nodiscard]] orv::intf_counter_mgr& manager() const { return *mgr_; }
   // With the SDK's lock: rates come only in between.
   void startWatching();
   void stopWatching();

private:
   orv::intf_counter_mgr* const mgr_;
   IntfTrafficRatesWatcher* const watcher_;
   Controller subscriptions_{*this};
   BulkBacklog<orv::intf_id_t, orv::intf_traffic_rates_t, IntfTrafficRatesBacklog> backlog_;
};

}  // namespace OrvSdkRpc
