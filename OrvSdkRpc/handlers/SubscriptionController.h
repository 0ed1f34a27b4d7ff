// The fan-out of one service: which streams are open, and each event to every one of them.
//
// Thread-safety: subscribe on the pump thread; cancel, publish, publishBulk and getHandlers on any. The SDK
// is asked for callbacks only while somebody listens.
//
// The mutex may be taken with the SDK's lock held, never the other way round, and no handler is called with
// it held. A service that is not attached to a server reaches nobody.
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

// Which of the two kinds of streams a definition describes.
template <class Def>
concept BulkDefinition = requires {
   typename Def::Key;
   typename Def::Entry;
};

}  // namespace detail

// The half without type parameters. It holds tags, not handlers: a handler's life is the TagManager's
// business, and a tag whose handler has gone is skipped.
class Subscriptions {
public:
   Subscriptions(const Subscriptions&) = delete;
   Subscriptions& operator=(const Subscriptions&) = delete;

   // Enters the stream, and calls startWatching under the SDK's lock if it is the only one. What that throws
   // passes; the stream has not subscribed then, and where nobody else has either stopWatching is called.
   void subscribe(OpaqueId tag) ZELT_EXCLUDES(mutex_);

   // Takes the stream out, and calls stopWatching under the SDK's lock if none is left, also when none was
   // there: a stream may leave twice.
   void cancel(OpaqueId tag) ZELT_EXCLUDES(mutex_);

   // The subscribed handlers that are still alive.
   [[nodiscard]] std::vector<std::shared_ptr<RequestHandler>> getHandlers() const ZELT_EXCLUDES(mutex_);

protected:
   explicit Subscriptions(const GrpcService& owner) : owner_(owner) {}
   virtual ~Subscriptions() = default;

   // The first watcher has come, the last one has gone. Called under the SDK's lock, without the mutex, and
   // now and then once more than needed.
   virtual void startWatching() = 0;
   virtual void stopWatching() = 0;

   // Queues the message on each of the streams.
   using Handlers = std::vector<std::shared_ptr<RequestHandler>>;
   static void deliver(const Handlers& streams, std::shared_ptr<const google::protobuf::Message> message,
                       bool ack);

private:
   [[nodiscard]] bool watched() const ZELT_EXCLUDES(mutex_);

   const GrpcService& owner_;
   mutable Mutex mutex_;
   std::unordered_set<OpaqueId> tags_ ZELT_GUARDED_BY(mutex_);
};

// A member of the service, which offers startWatching() and stopWatching() to switch the SDK's notification;
// a subclass may override them to do something else. All streams of one controller are of one RPC, which is
// in its type: `Watch` is the definition, and may be incomplete where the controller is declared. So nothing
// can be published to the streams of another RPC.
template <class Svc, class Watch>
class SubscriptionController : public Subscriptions {
public:
   explicit SubscriptionController(Svc& service) : Subscriptions(service), service_(service) {}

   // The event, to the streams. Consumes the message, also when nobody listens. One message is made and
   // shared by all streams.
   template <class Rp>
   void publish(Rp& message) const {
      checkResponse<Rp>();
      if (const Handlers streams = getHandlers(); !streams.empty()) {
         const bool ack = message.ack();
         deliver(streams, share<Rp>(std::move(message)), ack);
      }
      // A message of an arena was copied.
      message.Clear();
   }
   // The same without touching the message.
   template <class Rp>
   void publish(const Rp& message) const {
      checkResponse<Rp>();
      if (const Handlers streams = getHandlers(); !streams.empty()) {
         deliver(streams, share<Rp>(message), message.ack());
      }
   }

   // The latest value of a key, to bulk streams, a copy for each.
   template <class Key, class Value>
   void publishBulk(const Key& key, const Value& value) const {
      checkBulk();
      for (const auto& stream : getHandlers())
         static_cast<BulkStreamHandler<Watch, Svc>&>(*stream).publish(key, value);
   }
   // The same for one value after the other.
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
