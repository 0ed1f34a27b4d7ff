// Buffers values between a service's callbacks and its bulk streams. It passes values on in bursts, which
// spreads the cost of finding the streams and locking their mutexes over many values. The streams merge the
// values.
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
// Values still waiting when the backlog is destroyed are dropped.
template <class Key, class Value, class Handler>
class BulkBacklog final : public BacklogImplBase {
public:
   // A full burst is passed on at once, without waiting for the task. Large enough to make finding the
   // streams cheap, small enough that a hundred plain streams take less than one turn of the main loop.
   static constexpr std::size_t burstMax = 128;

   BulkBacklog(Pavo::String name, const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, Handler handler)
        : BacklogImplBase(std::move(name), scheduler), handler_(std::move(handler)) {}

   // Values are passed on in the order of the calls.
   void add(const Key& key, const Value& value) {
      if (values_.empty()) scheduleTask();
      values_.emplace_back(key, value);
      if (values_.size() == burstMax) handleBacklogTask();
   }
   // Drops the waiting values.
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
