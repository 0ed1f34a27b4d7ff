#include "OrvSdkRpc/handlers/SubscriptionController.h"

#include "orv/lock.h"

namespace OrvSdkRpc {

// The set may change between the decision and taking the SDK's lock: the last stream may leave on the SDK's
// thread while the next one subscribes on the pump thread. So both check the set again under the lock, and
// the last call made agrees with the set.
void Subscriptions::subscribe(OpaqueId tag) {
   {
      MutexLock lock(mutex_);
      tags_.insert(tag);
      if (tags_.size() != 1) return;
   }
   orv::sdk_scoped_lock sdk;
   if (!watched()) return;
   try {
      startWatching();
   } catch (...) {
      // The call fails, and the next stream must count as the first again. The notification may be on:
      // startWatching may have failed halfway, or a stream that left meanwhile saw this one and did not stop
      // it.
      {
         MutexLock lock(mutex_);
         tags_.erase(tag);
      }
      try {
         if (!watched()) stopWatching();
      } catch (...) {
         // The call fails with the exception of startWatching.
      }
      throw;
   }
}

void Subscriptions::cancel(OpaqueId tag) {
   {
      MutexLock lock(mutex_);
      tags_.erase(tag);
      if (!tags_.empty()) return;
   }
   orv::sdk_scoped_lock sdk;
   if (!watched()) stopWatching();
}

bool Subscriptions::watched() const {
   MutexLock lock(mutex_);
   return !tags_.empty();
}

std::vector<std::shared_ptr<RequestHandler>> Subscriptions::getHandlers() const {
   MutexLock lock(mutex_);
   TagManager* const registry = owner_.tags();
   if (registry == nullptr || tags_.empty()) return {};
   MutexLock registryLock(registry->mutex());
   return registry->listHandlers(owner_.serviceId(), tags_.begin(), tags_.end());
}

void Subscriptions::deliver(const Handlers& streams, std::shared_ptr<const google::protobuf::Message> message,
                            bool ack) {
   // A stream in state 2 drops the message itself, under its mutex.
   for (const auto& stream : streams)
      static_cast<EventStream&>(*stream).enqueue(message, ack);
}

}  // namespace OrvSdkRpc
