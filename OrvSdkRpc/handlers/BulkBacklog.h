// Between a service's callbacks and its bulk streams: values are handed on in bursts, so that finding the
// streams and taking their mutexes costs once for many of them. Merging is the streams' business.
//
// Thread-safety: no lock of its own. Everything runs on the SDK's main thread, or with the activity lock
// held.
#pragma once

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "OrvSdkRpc/handlers/GenericBacklog.h"

namespace OrvSdkRpc {

// Handler is a small structure that holds the service:
//
//    struct RatesBacklog {
//       IntfCounterService& service;
//       void operator()(std::span<const std::pair<Key, Value>> values) {
//          service.subscriptions().publishBulk(values);
//       }
//    };
//
// Values that wait when the backlog goes are dropped.
template <class Key, class Value, class Handler>
class BulkBacklog final : public BacklogImplBase {
public:
   // As many are handed on at once, without waiting for the task: enough that finding the streams costs
   // nothing, and few enough that a hundred plain streams take less than a turn of the main loop.
   static constexpr std::size_t burstMax = 128;

   BulkBacklog(Pavo::String name, const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, Handler handler)
        : BacklogImplBase(std::move(name), scheduler), handler_(std::move(handler)) {}

   // In the order of the calls.
   void add(const Key& key, const Value& value) {
      if (values_.empty()) scheduleTask();
      values_.emplace_back(key, value);
      if (values_.size() == burstMax) handleBacklogTask();
   }
   // Drops what waits.
   void clear() { values_.clear(); }

   void handleBacklogTask() override {
      if (values_.empty()) return;
      handler_(std::span<const std::pair<Key, Value>>(values_));
      const std::size_t count = values_.size();
      values_.clear();
      passDone(count, 0);
   }

private:
   std::vector<std::pair<Key, Value>> values_;
   Handler handler_;
};

}  // namespace OrvSdkRpc
