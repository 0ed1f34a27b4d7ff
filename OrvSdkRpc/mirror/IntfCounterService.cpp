#include "OrvSdkRpc/mirror/IntfCounterService.h"

#include <optional>
#include <utility>

#include "OrvSdkRpc/handlers/BulkStreams.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "OrvSdkRpc/mirror/NameRegex.h"
#include "OrvSdkRpc/types/Counters.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "orv/error.h"
#include "toggles/Toggles.h"

namespace OrvSdkRpc {

using namespace orv::remote;

namespace IntfCounterServiceHandlers {

using Rpc = IntfCounterService::AsyncService;
using types::convert;

struct IntfCounters {
   static constexpr auto method = &Rpc::Requestintf_counters;
   static IntfCountersResponse impl(const IntfCountersRequest& request, IntfCounterService& service) {
      IntfCountersResponse response;
      *response.mutable_counters() =
           convert(service.get_intf_counter_mgr()->counters(convert(request.intf_id())));
      return response;
   }
};

struct TrafficRates {
   static constexpr auto method = &Rpc::Requestintf_traffic_rates;
   static IntfTrafficRatesResponse impl(const IntfTrafficRatesRequest& request, IntfCounterService& service) {
      IntfTrafficRatesResponse response;
      *response.mutable_rates() =
           convert(service.get_intf_counter_mgr()->traffic_rates(convert(request.intf_id())));
      return response;
   }
};

struct IntfTrafficRatesStream {
   static constexpr auto method = &Rpc::Requestintf_traffic_rates_stream;
   using Key = orv::intf_id_t;
   using Entry = IntfTrafficRatesStreamResponse_DataEntry;
   static constexpr int batchMax = 1000;

   static bool firstMessage(const IntfTrafficRatesStreamRequest& request) { return request.first_message(); }

   void subscribe(IntfCounterService& service, OpaqueId tag, const IntfTrafficRatesStreamRequest& request) {
      static const bool enabled = getToggleState("OrvSdkRpcTrafficStream", "OrvSdkRpc.json", true);
      if (!enabled) throw orv::unsupported_error("This feature is not yet implemented");
      if (!request.intf_name_regex().empty()) {
         try {
            filter_.emplace(request.intf_name_regex());
         } catch (const std::regex_error& e) {
            throw orv::invalid_argument_error(fmt::format("intf_name_regex: {}", e.what()));
         }
      }
      service.subscriptions().subscribe(tag);
   }

   bool wants(const orv::intf_id_t& intf) const { return !filter_ || filter_->matches(intf.name()); }

   bool append(IntfTrafficRatesStreamResponse& response, Entry& entry) {
      if (response.data_size() == batchMax) return false;
      *response.add_data() = std::move(entry);
      return true;
   }

private:
   std::optional<NameRegex> filter_;
};

}  // namespace IntfCounterServiceHandlers

using namespace IntfCounterServiceHandlers;

IntfCounterService::IntfCounterService(orv::intf_counter_mgr* mgr, IntfTrafficRatesWatcher* watcher)
     : MirrorService("intf_counter"), mgr_(mgr), watcher_(watcher) {}

IntfCounterService::~IntfCounterService() = default;

void IntfCounterService::startHandlers() {
   registerAdapter<UnaryRequestHandler, IntfCounterServiceHandlers::IntfCounters>(*this);
   registerAdapter<UnaryRequestHandler, TrafficRates>(*this);
   registerBulkStreamHandler<IntfTrafficRatesStream>(*this);
}

void IntfCounterService::startWatching() {
   if (watcher_ == nullptr) return;
   watcher_->startWatching([this](const orv::intf_id_t& intf, const orv::intf_traffic_rates_t& rates) {
      IntfTrafficRatesStream::Entry entry;
      *entry.mutable_intf_id() = convert(intf);
      *entry.mutable_rates() = convert(rates);
      subscriptions_.publishBulk<IntfTrafficRatesStream>(intf, std::move(entry));
   });
}

void IntfCounterService::stopWatching() {
   if (watcher_ != nullptr) watcher_->stopWatching();
}

}  // namespace OrvSdkRpc
