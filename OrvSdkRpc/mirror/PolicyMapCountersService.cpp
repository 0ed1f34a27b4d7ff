#include "OrvSdkRpc/mirror/PolicyMapCountersService.h"

#include <cstdint>
#include <list>

#include "OrvSdkRpc/handlers/BulkStreams.h"
#include "OrvSdkRpc/server/Assert.h"
#include "orv/error.h"
#include "platform/zelt/Clock.h"

namespace OrvSdkRpc {

using namespace orv::remote;

namespace handlers {

using Rpc = PolicyMapCountersService::AsyncService;

struct WatchPolicyMapCounters
     : BulkStreamOf<&Rpc::Requestwatch_policy_map_counters, &PolicyMapCountersService::subscriptions,
                    std::uint64_t, PolicyMapCounters> {
   static void check(const Request& request) {
      if (request.has_compress_keys() && !request.compress_keys())
         throw orv::invalid_argument_error("compress_keys: disabling compression is not supported");
   }

   static std::list<Response> snapshot(PolicyMapCountersService& service) {
      return service.encoder().dumpMessages(service.frontend().limit());
   }

   // A deleted counter that the client has never heard of leaves the table. A short key is never used again,
   // so no update follows a deletion.
   static bool coalesce(Entry& old, const Entry& fresh) {
      switch (fresh.operation()) {
         case POLICY_MAP_COUNTERS_OPERATION_UPDATE:
            *old.mutable_counters() = fresh.counters();
            *old.mutable_policy_action() = fresh.policy_action();
            return true;
         case POLICY_MAP_COUNTERS_OPERATION_DELETE:
            if (old.has_key_name()) return false;
            old.set_operation(POLICY_MAP_COUNTERS_OPERATION_DELETE);
            old.clear_counters();
            old.clear_policy_action();
            return true;
         default:
            assertionFailed("false && \"invalid value for operation\"", __FILE__, __LINE__);
      }
   }

   void beginBatch() {
      bytes_.clear();
      timeShift_ = Zelt::Clock::seconds(Zelt::Clock::wallMinusSteadyNanos());
   }
   bool append(Response& response, Entry& entry) {
      if (!bytes_.fits(entry)) return false;
      Entry& sent = *response.add_data();
      sent.Swap(&entry);
      if (sent.has_counters()) sent.mutable_counters()->set_time(sent.counters().time() + timeShift_);
      bytes_.add(sent);
      return true;
   }

   static constexpr Hooks<WatchPolicyMapCounters> hooks = {
        .coalesce = &WatchPolicyMapCounters::coalesce,
        .beginBatch = &WatchPolicyMapCounters::beginBatch,
        .check = &WatchPolicyMapCounters::check,
        .snapshot = &WatchPolicyMapCounters::snapshot,
   };

private:
   BatchBytes bytes_{PolicyMapCountersService::responseBytesMax};
   // From the monotonic clock to the wall clock, for the current batch.
   Zelt::Seconds timeShift_ = 0;
};

}  // namespace handlers

PolicyMapCountersService::PolicyMapCountersService(orv::policy_map_mgr* policyMapMgr,
                                                   orv::mount_mgr* mountMgr)
     : MirrorService("policy_map_counters"),
       countersMgr_(mountMgr),
       encoder_(countersMgr_, static_cast<const orv::PolicyMapMgrImpl*>(policyMapMgr)),
       frontend_(Pavo::makePtr<PolicyMapCountersFrontend>(this, &encoder_, responseBytesMax)) {}

PolicyMapCountersService::~PolicyMapCountersService() = default;

void PolicyMapCountersService::startHandlers() {
   registerBulkStreamHandler<handlers::WatchPolicyMapCounters>(*this);
}

void PolicyMapCountersService::sendCounters(const PolicyMapCounters& entry) const {
   subscriptions_.publishBulk(entry.key(), entry);
}

}  // namespace OrvSdkRpc
