// The fan-out of one service: keeps its open streams and delivers each event to every one of them.
//
// Thread-safety: subscribe on the pump thread; cancel, publish, publishBulk and getHandlers on any thread.
//
// The SDK is asked for callbacks only while a stream is subscribed. The mutex may be taken while the SDK's
// lock is held, never the other way round. No handler is called while the mutex is held. A service that is
// not attached to a server delivers to no stream.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "OrvSdkRpc/handlers/StreamingToolkit.h"
#include "OrvSdkRpc/server/GrpcService.h"
#include "OrvSdkRpc/server/MethodTraits.h"
#include "OrvSdkRpc/server/Mutex.h"
#include "OrvSdkRpc/server/TagManager.h"
#include "platform/pavo/Allocator.h"

namespace OrvSdkRpc {

template <class A, class S>
class BulkStreamHandler;

namespace detail {

// A definition of a bulk stream, not of a watch stream.
template <class Def>
concept BulkDefinition = requires {
   typename Def::Key;
   typename Def::Entry;
};

}  // namespace detail

// The type-independent layer. It holds tags, not handlers: the TagManager owns the handlers, and a tag whose
// handler no longer exists is skipped.
class Subscriptions {
public:
   Subscriptions(const Subscriptions&) = delete;
   Subscriptions& operator=(const Subscriptions&) = delete;

   // Under the SDK's lock: adds the stream; if it is the only one, calls startWatching.
   // THROWS: what startWatching throws. The stream is not subscribed then; if no other stream is,
   // stopWatching is called.
   void subscribe(OpaqueId tag) ZELT_EXCLUDES(mutex_);

   // Removes the stream; if none is left, calls stopWatching under the SDK's lock. A stream may leave twice,
   // which may call stopWatching again.
   void cancel(OpaqueId tag) ZELT_EXCLUDES(mutex_);

   // Whether any stream is subscribed. Lets a callback skip the work for an event that nobody would get.
   [[nodiscard]] bool watched() const ZELT_EXCLUDES(mutex_);

   // The subscribed handlers that are still alive.
   [[nodiscard]] std::vector<std::shared_ptr<RequestHandler>> getHandlers() const ZELT_EXCLUDES(mutex_);

protected:
   explicit Subscriptions(const GrpcService& owner) : owner_(owner) {}
   virtual ~Subscriptions() = default;

   // Called when the first stream has subscribed and when the last one has left, under the SDK's lock and
   // without the mutex. Either may be called once more than needed.
   virtual void startWatching() = 0;
   virtual void stopWatching() = 0;

   // Queues the message on each stream.
   using Handlers = std::vector<std::shared_ptr<RequestHandler>>;
   static void deliver(const Handlers& streams, std::shared_ptr<const google::protobuf::Message> message,
                       bool ack);

private:
   const GrpcService& owner_;
   mutable Mutex mutex_;
   std::unordered_set<OpaqueId> tags_ ZELT_GUARDED_BY(mutex_);
};

// A member of the service, which provides startWatching() and stopWatching() to switch the SDK's
// notification; a subclass may override them. All streams of one controller belong to one RPC, so that
// nothing can be published to the streams of another. `Watch` is the definition of that RPC and may be
// incomplete where the controller is declared.
template <class Svc, class Watch>
class SubscriptionController : public Subscriptions {
public:
   explicit SubscriptionController(Svc& service) : Subscriptions(service), service_(service) {}

   // Publishes the event to the streams, which share one message. Consumes the message even if no stream is
   // subscribed.
   template <class Rp>
   void publish(Rp& message) const {
      checkResponse<Rp>();
      if (const Handlers streams = getHandlers(); !streams.empty()) {
         const bool ack = message.ack();
         deliver(streams, share<Rp>(std::move(message)), ack);
      }
      // Moving from an arena message only copies it.
      message.Clear();
   }
   // The same without consuming the message.
   template <class Rp>
   void publish(const Rp& message) const {
      checkResponse<Rp>();
      if (const Handlers streams = getHandlers(); !streams.empty()) {
         deliver(streams, share<Rp>(message), message.ack());
      }
   }

   // Publishes the latest value of a key to the bulk streams, a copy for each.
   template <class Key, class Value>
   void publishBulk(const Key& key, const Value& value) const {
      checkBulk();
      for (const auto& stream : getHandlers())
         static_cast<BulkStreamHandler<Watch, Svc>&>(*stream).publish(key, value);
   }
   // The same for several values, in order.
   template <class Key, class Value>
   void publishBulk(std::span<const std::pair<Key, Value>> values) const {
      checkBulk();
      for (const auto& stream : getHandlers())
         static_cast<BulkStreamHandler<Watch, Svc>&>(*stream).publish(values);
   }

protected:
   void startWatching() override { service_.startWatching(); }
   void stopWatching() override { service_.stopWatching(); }

   Svc& service_;

private:
   template <class Rp>
   static void checkResponse() {
      static_assert(!detail::BulkDefinition<Watch>, "values of bulk streams go out by publishBulk");
      static_assert(std::is_same_v<Rp, typename MethodTraits<Watch::method>::Response>,
                    "the message must be the response of the streams that it is published to");
   }
   static void checkBulk() {
      static_assert(detail::BulkDefinition<Watch>,
                    "publishBulk is for bulk streams; events go out by publish");
   }
   template <class Rp, class From>
   static std::shared_ptr<const Rp> share(From&& message) {
      return std::allocate_shared<Rp>(Pavo::Allocator<Rp>(), std::forward<From>(message));
   }
};

}  // namespace OrvSdkRpc
