#include "OrvSdkRpc/mirror/IntfCounterService.h"

#include <bit>
#include <cstdint>
#include <optional>

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
   using Value = orv::intf_traffic_rates_t;
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

   // As the messages merge, which do not tell a rate of zero from one that is not set: it leaves what waits.
   static bool coalesce(Value& old, const Value& fresh) {
      const auto latest = [](double waiting, double rate) {
         return std::bit_cast<std::uint64_t>(rate) == 0 ? waiting : rate;
      };
      old = Value(latest(old.out_pkts_rate(), fresh.out_pkts_rate()),
                  latest(old.in_pkts_rate(), fresh.in_pkts_rate()),
                  latest(old.out_bits_rate(), fresh.out_bits_rate()),
                  latest(old.in_bits_rate(), fresh.in_bits_rate()),
                  latest(old.sample_time(), fresh.sample_time()));
      return true;
   }

   static auto& entries(IntfTrafficRatesStreamResponse& response) { return *response.mutable_data(); }
   static void convert(const orv::intf_id_t& intf, const Value& rates, Entry& entry) {
      types::convert(intf, *entry.mutable_intf_id());
      types::convert(rates, *entry.mutable_rates());
   }

private:
   std::optional<NameRegex> filter_;
};

}  // namespace IntfCounterServiceHandlers

using namespace IntfCounterServiceHandlers;

void IntfTrafficRatesBacklog::operator()(
     std::span<const std::pair<orv::intf_id_t, orv::intf_traffic_rates_t>> rates) const {
   service.subscriptions().publishBulk<IntfTrafficRatesStream>(rates);
}

IntfCounterService::IntfCounterService(orv::intf_counter_mgr* mgr, IntfTrafficRatesWatcher* watcher)
     : MirrorService("intf_counter"),
       mgr_(mgr),
       watcher_(watcher),
       backlog_("IntfTrafficRatesBacklog", Gorm::TaskSchedulerRoot::findOrCreateScheduler(),
                IntfTrafficRatesBacklog{*this}) {}

IntfCounterService::~IntfCounterService() = default;

void IntfCounterService::startHandlers() {
   registerAdapter<UnaryRequestHandler, IntfCounterServiceHandlers::IntfCounters>(*this);
   registerAdapter<UnaryRequestHandler, TrafficRates>(*this);
   registerBulkStreamHandler<IntfTrafficRatesStream>(*this);
}

void IntfCounterService::startWatching() {
   if (watcher_ == nullptr) return;
   watcher_->startWatching([this](const orv::intf_id_t& intf, const orv::intf_traffic_rates_t& rates) {
      backlog_.add(intf, rates);
   });
}

void IntfCounterService::stopWatching() {
   if (watcher_ == nullptr) return;
   watcher_->stopWatching();
   backlog_.clear();
}

}  // namespace OrvSdkRpc
