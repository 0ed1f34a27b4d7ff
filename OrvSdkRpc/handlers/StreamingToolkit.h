// A watch stream: any thread publishes messages at any rate, and the pump writes them one at a time. Between
// the two is a queue with a hard limit and no back-pressure: a client that reads too slowly is cut off, and a
// publisher never waits for a client.
//
// Thread-safety: any thread may call publish and publishAck, with or without the SDK's lock; filter() and,
// when the queue is full, cancel() run on that thread. Everything else runs on the pump thread.
#pragma once

#include <google/protobuf/message.h>

#include <cstddef>
#include <deque>
#include <memory>

#include "OrvSdkRpc/handlers/AlarmedStream.h"
#include "OrvSdkRpc/handlers/ServerStream.h"
#include "platform/pavo/Allocator.h"

namespace OrvSdkRpc {

// Holds up to queueLimit messages. One more removes the stream from its controller, and the next completion
// ends the call with RESOURCE_EXHAUSTED. That completion may not come before the connection ends, so the
// queue is freed at once. The pump frees it, since it may hold a quarter of a million messages and the
// publisher may hold the SDK's lock.
class EventStream : public AlarmedStream {
public:
   [[nodiscard]] unsigned long queueLimit() const { return queueLimit_; }
   // Number of waiting messages. Any thread.
   [[nodiscard]] std::size_t queued() ZELT_EXCLUDES(mutex_);

   // Queues the message, unless the stream is closed or does not want it; acknowledgements are always wanted.
   // Called by the controller.
   // REQUIRES: the message has the stream's response type.
   void enqueue(std::shared_ptr<const google::protobuf::Message> message, bool ack) ZELT_EXCLUDES(mutex_);

protected:
   EventStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, GrpcService& service);

   // Called when the call arrives: checks the peer, assigns the tags, subscribes and acknowledges.
   void start() override;
   // The last step of start(): from here on the stream gets events.
   void goLive();
   void onTick(CqEventSource source) final ZELT_EXCLUDES(mutex_);
   void alarmDuringWrite() final ZELT_EXCLUDES(mutex_) { discard(); }
   void discard() final ZELT_EXCLUDES(mutex_);

   // Whether this stream wants the message.
   [[nodiscard]] virtual bool wants(const google::protobuf::Message& message) const = 0;
   // Whether the request asks for an acknowledgement.
   [[nodiscard]] virtual bool ackWanted() = 0;
   // Queues one response with `ack` set.
   virtual void publishAck() = 0;

   // Set once, before the stream is posted.
   unsigned long queueLimit_ = streamQueueLimit;

private:
   std::deque<std::shared_ptr<const google::protobuf::Message>> queue_ ZELT_GUARDED_BY(mutex_);
   // The queue has exceeded its limit: nothing more is queued or written.
   bool overflowed_ ZELT_GUARDED_BY(mutex_) = false;
};

// Hc:     the most derived handler. Its constructor takes (OpaqueId tag, grpc::Server&,
//         grpc::ServerCompletionQueue&, Svr&, unsigned long queueLimit) and ends with post(). It provides
//         subscribe() and cancel(), which join and leave a SubscriptionController under tag(), and filter()
//         if it does not want every message. cancel() runs without the stream's mutex.
// Rq, Rp: request and response message; both have a field `bool ack`.
// Svr:    the service.
// Base:   EventStream, or a class derived from it.
template <class Hc, class Rq, class Rp, class Svr, class Base = EventStream>
class StreamingRequestHandler : public ServerStreamHandler<Hc, Rq, Rp, Svr, Base> {
   using Stream = ServerStreamHandler<Hc, Rq, Rp, Svr, Base>;

public:
   StreamingRequestHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, Svr& service,
                           unsigned long queueLimit)
        : Stream(tag, server, cq, service) {
      this->queueLimit_ = queueLimit;
   }

   std::shared_ptr<Hc> successor(OpaqueId nextTag) {
      return makeHandler<Hc>(nextTag, this->server_, this->cq_, this->service_, this->queueLimit_);
   }

   // Any thread. An acknowledgement bypasses the filter. Never waits for a client; at most for the start of
   // one write.
   void publish(std::shared_ptr<const Rp> message) {
      const bool ack = message->ack();
      this->enqueue(std::move(message), ack);
   }
   void publishAck() final {
      auto message = std::allocate_shared<Rp>(Pavo::Allocator<Rp>());
      message->set_ack(true);
      publish(std::move(message));
   }

protected:
   // Whether this stream wants the message. Runs on the publishing thread with the stream's mutex held, for
   // messages whose ack is false. May read only what is fixed once the stream has subscribed.
   [[nodiscard]] virtual bool filter(const Rp&) const { return true; }

private:
   [[nodiscard]] bool wants(const google::protobuf::Message& message) const final {
      return filter(static_cast<const Rp&>(message));
   }
   [[nodiscard]] bool ackWanted() final { return this->request_->ack(); }
};

}  // namespace OrvSdkRpc
