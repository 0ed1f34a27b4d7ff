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
      // Several tags may share one handler. Empty once the tag was removed.
      std::shared_ptr<RequestHandler> handler;
      // Set once the tag was removed: whose event may still be on the queue.
      std::weak_ptr<RequestHandler> removed;
   };

   // What the pump learns about the tag of an event.
   struct Event {
      std::size_t serviceId = 0;
      // Empty when the event is of no concern to anybody.
      std::shared_ptr<RequestHandler> handler;
      // False when the tag was removed while its event was on the queue: it is counted and dropped.
      bool registered = false;
   };

   TagManager() = default;
   ~TagManager();
   TagManager(const TagManager&) = delete;
   TagManager& operator=(const TagManager&) = delete;

   // Guards the map; listHandlers leaves taking it to the caller, everything else takes it.
   Mutex& mutex() const ZELT_RETURN_CAPABILITY(mutex_) { return mutex_; }

   // A new id: never null, never given before.
   OpaqueId nextId() noexcept;

   // Enters the handler under its main tag and, if it has one, its done tag.
   void add(std::size_t serviceId, std::shared_ptr<RequestHandler> handler) ZELT_EXCLUDES(mutex_);

   // Enters the handler under one more, new tag.
   OpaqueId addExtra(std::size_t serviceId, const std::shared_ptr<RequestHandler>& handler)
        ZELT_EXCLUDES(mutex_);

   // The handler, or empty for a tag that is not registered.
   std::shared_ptr<RequestHandler> find(OpaqueId tag) const ZELT_EXCLUDES(mutex_);
   // For the pump, once per event.
   [[nodiscard]] Event findEvent(OpaqueId tag) const ZELT_EXCLUDES(mutex_);

   // Erases one tag. Its event may be on the queue; of an extra tag so much is kept, until the handler goes,
   // that the event is taken off the handler's count when it comes.
   void remove(OpaqueId tag) ZELT_EXCLUDES(mutex_);

   // Erases every tag of the handler.
   void removeAll(RequestHandler& handler) ZELT_EXCLUDES(mutex_);

   // Erases everything.
   void clear() ZELT_EXCLUDES(mutex_);

   // Registered tags.
   [[nodiscard]] std::size_t size() const ZELT_EXCLUDES(mutex_);

   // The handlers behind the tags from `first` to `last`, in that order. A tag that is not registered is
   // skipped: a subscription may outlive its handler by a moment. A tag of another service ends the process.
   template <class I>
   std::vector<std::shared_ptr<RequestHandler>> listHandlers(std::size_t serviceId, I first, I last) const
        ZELT_REQUIRES(mutex_) {
      std::vector<std::shared_ptr<RequestHandler>> handlers;
      for (; first != last; ++first) {
         const auto i = tags_.find(*first);
         if (i == tags_.end() || !i->second.handler) continue;
         assertThat(i->second.serviceId == serviceId, "i->second->serviceId == serviceId");
         handlers.push_back(i->second.handler);
      }
      return handlers;
   }

private:
   bool registered(OpaqueId tag) const ZELT_REQUIRES(mutex_);
   // Whether a tag of the handler is registered.
   bool holds(const RequestHandler& handler) const ZELT_REQUIRES(mutex_);
   void eraseExtraTags(RequestHandler& handler) ZELT_REQUIRES(mutex_);

   using Map = absl::flat_hash_map<OpaqueId, Tag>;

   mutable Mutex mutex_;
   Map tags_ ZELT_GUARDED_BY(mutex_);
   std::atomic<std::uintptr_t> lastId_{0};
};

}  // namespace OrvSdkRpc
