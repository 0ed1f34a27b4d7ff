#include "OrvSdkRpc/mirror/IntfCounterService.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "OrvSdkRpc/handlers/BulkStreams.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/mirror/NameRegex.h"
#include "OrvSdkRpc/types/Counters.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "orv/error.h"
#include "platform/process/Toggles.h"

namespace OrvSdkRpc {

using namespace orv::remote;

namespace IntfCounterServiceHandlers {

using Rpc = IntfCounterService::AsyncService;
using types::convert;

struct IntfCounters : Getter<&Rpc::Requestintf_counters, &orv::intf_counter_mgr::counters,
                             &IntfCountersResponse::mutable_counters, &IntfCountersRequest::intf_id> {};
struct TrafficRates : Getter<&Rpc::Requestintf_traffic_rates, &orv::intf_counter_mgr::traffic_rates,
                             &IntfTrafficRatesResponse::mutable_rates, &IntfTrafficRatesRequest::intf_id> {};

struct IntfTrafficRatesStream
     : BulkStreamOf<&Rpc::Requestintf_traffic_rates_stream, &IntfCounterService::subscriptions,
                    orv::intf_id_t, IntfTrafficRatesStreamResponse_DataEntry, orv::intf_traffic_rates_t> {
   static constexpr int batchMax = 1000;

   static bool firstMessage(const Request& request) { return request.first_message(); }

   void subscribe(IntfCounterService& service, OpaqueId tag, const Request& request) {
      static const bool enabled = getToggleState("OrvSdkRpcTrafficStream", "OrvSdkRpc.json", true);
      if (!enabled) throw orv::unsupported_error("This feature is not yet implemented");
      if (!request.intf_name_regex().empty()) {
         try {
            filter_.emplace(request.intf_name_regex());
         } catch (const std::invalid_argument& e) {
            throw orv::invalid_argument_error(fmt::format("intf_name_regex: {}", e.what()));
         }
      }
      service.subscriptions().subscribe(tag);
   }

   bool wants(const orv::intf_id_t& intf) {
      if (!filter_) return true;
      const std::size_t index = intf.index();
      if (index == orv::intf_id_t::no_index) return filter_->matches(intf.name());
      if (index >= verdicts_.size()) verdicts_.resize(index + 1);
      Verdict& verdict = verdicts_[index];
      if (verdict == Verdict::none)
         verdict = filter_->matches(intf.name()) ? Verdict::wanted : Verdict::unwanted;
      return verdict == Verdict::wanted;
   }

   // Equivalent to merging the messages: every rate is set, so the newer value replaces the older one.
   static bool coalesce(Value& old, const Value& fresh) {
      old = fresh;
      return true;
   }

   static auto& entries(Response& response) { return *response.mutable_data(); }
   static void convert(const orv::intf_id_t& intf, const Value& rates, Entry& entry) {
      types::convert(intf, *entry.mutable_intf_id());
      types::convert(rates, *entry.mutable_rates());
   }

   static constexpr Hooks<IntfTrafficRatesStream> hooks = {
        .wants = &IntfTrafficRatesStream::wants,
        .coalesce = &IntfTrafficRatesStream::coalesce,
        .firstMessage = &IntfTrafficRatesStream::firstMessage,
        .subscribe = &IntfTrafficRatesStream::subscribe,
   };

private:
   enum class Verdict : std::uint8_t { none, wanted, unwanted };

   std::optional<NameRegex> filter_;
   // By interface index: a name is matched once, not for every rate.
   std::vector<Verdict> verdicts_;
};
static_assert(
     std::is_same_v<PendingTableFor<IntfTrafficRatesStream::Key, IntfTrafficRatesStream::Value>::Type,
                    IndexedPendingTable<orv::intf_id_t, orv::intf_traffic_rates_t>>,
     "rates are not hashed");

}  // namespace IntfCounterServiceHandlers

using namespace IntfCounterServiceHandlers;

void IntfTrafficRatesBacklog::operator()(
     std::span<const std::pair<orv::intf_id_t, orv::intf_traffic_rates_t>> rates) const {
   service.subscriptions().publishBulk(rates);
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
