#include "OrvSdkRpc/handlers/SubscriptionController.h"

#include "orv/lock.h"

namespace OrvSdkRpc {

// The SDK's lock comes first: no callback may find the stream before startWatching has prepared the service
// for it. The last stream may still leave, on another thread, once the stream is in the set: what it does is
// decided under the lock, after startWatching, so the last call made agrees with the set.
void Subscriptions::subscribe(OpaqueId tag) {
   orv::sdk_scoped_lock sdk;
   {
      MutexLock lock(mutex_);
      tags_.insert(tag);
      if (tags_.size() != 1) return;
   }
   try {
      startWatching();
   } catch (...) {
      // The call fails, and the next stream must count as the first again. startWatching may have failed
      // halfway.
      {
         MutexLock lock(mutex_);
         tags_.erase(tag);
      }
      try {
         stopWatching();
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
