// Maps tags on the completion queue to handlers.
//
// Thread-safety: guarded by its own mutex. The pump thread looks up, registers and removes handlers; the
// SDK's main thread lists them.
//
// The map holds the only owning reference to a waiting handler, so a handler is destroyed with its last tag.
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
      // Several tags may share one handler. Null once the tag is removed.
      std::shared_ptr<RequestHandler> handler;
      // Set once the tag is removed: the handler whose event may still be on the queue.
      std::weak_ptr<RequestHandler> removed;
   };

   // What the pump learns about the tag of an event.
   struct Event {
      std::size_t serviceId = 0;
      // Null if the event concerns no handler.
      std::shared_ptr<RequestHandler> handler;
      // False if the tag was removed while its event was on the queue: the event is counted and dropped.
      bool registered = false;
   };

   TagManager() = default;
   ~TagManager();
   TagManager(const TagManager&) = delete;
   TagManager& operator=(const TagManager&) = delete;

   // Guards the map. The caller of listHandlers locks it; all other operations lock it themselves.
   Mutex& mutex() const ZELT_RETURN_CAPABILITY(mutex_) { return mutex_; }

   // A new id: never null, never reused.
   OpaqueId nextId() noexcept;

   // Registers the handler under its main tag and, if it has one, its done tag.
   void add(std::size_t serviceId, std::shared_ptr<RequestHandler> handler) ZELT_EXCLUDES(mutex_);

   // Registers the handler under a new extra tag.
   OpaqueId addExtra(std::size_t serviceId, const std::shared_ptr<RequestHandler>& handler)
        ZELT_EXCLUDES(mutex_);

   // The handler, or null if the tag is not registered.
   std::shared_ptr<RequestHandler> find(OpaqueId tag) const ZELT_EXCLUDES(mutex_);
   // For the pump, once per event.
   [[nodiscard]] Event findEvent(OpaqueId tag) const ZELT_EXCLUDES(mutex_);

   // Removes one tag. An extra tag may still have an event on the queue, so its entry stays until the
   // handler's last tag is removed; the late event then still decrements the handler's count.
   void remove(OpaqueId tag) ZELT_EXCLUDES(mutex_);

   // Removes every tag of the handler.
   void removeAll(RequestHandler& handler) ZELT_EXCLUDES(mutex_);

   // Removes all tags.
   void clear() ZELT_EXCLUDES(mutex_);

   // Number of registered tags.
   [[nodiscard]] std::size_t size() const ZELT_EXCLUDES(mutex_);

   // RETURNS: the handlers of the tags in [first, last), in that order. Skips a tag that is not registered: a
   // subscription may briefly outlive its handler. A tag of another service aborts the process.
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
   // Whether any tag of the handler is registered.
   bool holds(const RequestHandler& handler) const ZELT_REQUIRES(mutex_);
   void eraseExtraTags(RequestHandler& handler) ZELT_REQUIRES(mutex_);

   using Map = absl::flat_hash_map<OpaqueId, Tag>;

   mutable Mutex mutex_;
   Map tags_ ZELT_GUARDED_BY(mutex_);
   std::atomic<std::uintptr_t> lastId_{0};
};

}  // namespace OrvSdkRpc
