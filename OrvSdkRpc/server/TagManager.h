// From a tag on the completion queue to the handler behind it.
//
// Thread-safe by its own mutex: the pump thread looks up, registers and removes, the SDK's main thread lists.
// The map holds the only owning reference to a waiting handler, so a handler dies with its last tag.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "OrvSdkRpc/server/Assert.h"
#include "OrvSdkRpc/server/Mutex.h"
#include "OrvSdkRpc/server/RequestHandler.h"

namespace OrvSdkRpc {

class TagManager {
public:
   struct Tag {
      // Index of the service that registered the tag.
      std::size_t serviceId;
      // Several tags may share one handler.
      std::shared_ptr<RequestHandler> handler;
   };

   TagManager() = default;
   ~TagManager();
   TagManager(const TagManager&) = delete;
   TagManager& operator=(const TagManager&) = delete;

   // Guards the map; listHandlers leaves taking it to the caller, everything else takes it.
   Mutex& mutex() const ORV_THREAD_ATTRIBUTE(lock_returned(mutex_)) { return mutex_; }

   // A new id: never null, never given before.
   OpaqueId nextId() noexcept;

   // Enters the handler under its main tag and, if it has one, its done tag.
   void add(std::size_t serviceId, std::shared_ptr<RequestHandler> handler) ORV_EXCLUDES(mutex_);

   // Enters the handler under one more, new tag.
   OpaqueId addExtra(std::size_t serviceId, const std::shared_ptr<RequestHandler>& handler)
        ORV_EXCLUDES(mutex_);

   // The handler, or empty for a tag that is not registered.
   std::shared_ptr<RequestHandler> find(OpaqueId tag) const ORV_EXCLUDES(mutex_);
   // The same, and which service registered it.
   std::shared_ptr<RequestHandler> find(OpaqueId tag, std::size_t& serviceId) const ORV_EXCLUDES(mutex_);

   // Erases one tag.
   void remove(OpaqueId tag) ORV_EXCLUDES(mutex_);

   // Erases every tag of the handler.
   void removeAll(RequestHandler& handler) ORV_EXCLUDES(mutex_);

   // Erases everything.
   void clear() ORV_EXCLUDES(mutex_);

   [[nodiscard]] std::size_t size() const ORV_EXCLUDES(mutex_);

   // The handlers behind the tags from `first` to `last`, in that order. A tag that is not registered is
   // skipped: a subscription may outlive its handler by a moment. A tag of another service ends the process.
   template <class I>
   std::vector<std::shared_ptr<RequestHandler>> listHandlers(std::size_t serviceId, I first, I last) const
        ORV_REQUIRES(mutex_) {
      std::vector<std::shared_ptr<RequestHandler>> handlers;
      for (; first != last; ++first) {
         const auto i = tags_.find(*first);
         if (i == tags_.end()) continue;
         assertThat(i->second.serviceId == serviceId, "i->second->serviceId == serviceId");
         handlers.push_back(i->second.handler);
      }
      return handlers;
   }

private:
   using Map = absl::flat_hash_map<OpaqueId, Tag>;

   mutable Mutex mutex_;
   Map tags_ ORV_GUARDED_BY(mutex_);
   std::atomic<std::uintptr_t> lastId_{0};
};

}  // namespace OrvSdkRpc
