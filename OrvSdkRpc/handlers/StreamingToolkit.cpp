#include "OrvSdkRpc/handlers/StreamingToolkit.h"

#include <utility>

namespace OrvSdkRpc {

EventStream::EventStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                         GrpcService& service)
     : AlarmedStream(tag, server, cq, service,
                     Style{.processLevel = StreamTrace::event,
                           .alarmLevel = StreamTrace::event,
                           .alarmSet = "Set alarm for handler {}\n",
                           .unknownTag = "tag == alarmTag_"}) {}

void EventStream::start() {
   rejectInsecureRemote();
   setupTags();
   goLive();
}

void EventStream::goLive() {
   state_ = 1;
   join();
   if (ackWanted()) publishAck();
}

void EventStream::enqueue(std::shared_ptr<const google::protobuf::Message> message, bool ack) {
   {
      MutexLock lock(mutex_);
      if (closed() || overflowed_) return;
      if (!ack && !wants(*message)) return;
      if (tracer().enabled(StreamTrace::event)) {
         orv::fmttrace(tracer(), StreamTrace::event, "Enqueue {} to handler {}", traceText(*message), tag_);
      }
      queue_.push_back(std::move(message));
      const std::size_t size = queue_.size();
      if (size == 1) {
         // Otherwise the outstanding completion sends the message.
         if (source_ == CqEventSource::None) setAlarm();
         return;
      }
      if (size <= queueLimit_) return;
      orv::fmttrace(tracer(), StreamTrace::closing, "Queue limit reached ({}) for tag {}. Unsubscribing.",
                    queueLimit_, tag_);
      overflowed_ = true;
      // If an alarm is already set, it ends the stream.
      if (source_ == CqEventSource::Write) ringDuringWrite();
   }
   // Without mutex_: the last stream of a controller takes the SDK's lock when it leaves, and the thread that
   // holds that lock may be waiting for mutex_.
   cancel();
}

void EventStream::onTick(CqEventSource source) {
   // Released without the mutex: it may be the last reference.
   std::shared_ptr<const google::protobuf::Message> message;
   MutexLock lock(mutex_);
   source_ = CqEventSource::None;
   if (overflowed_ && state_ == 1) {
      orv::fmttrace(tracer(), StreamTrace::closing, "Queue limit reached ({}) for tag {}. Closing stream.",
                    queueLimit_, tag_);
      const out_of_resources e("Slow stream reader, too many responses waiting in a queue.");
      state_ = 2;
      finishStream(grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED, e.what()));
      lock.unlock();
      discard();
      return;
   }
   if (queue_.empty()) return;
   message = std::move(queue_.front());
   queue_.pop_front();
   if (tracer().enabled(StreamTrace::write)) {
      orv::fmttrace(tracer(), StreamTrace::write, "Write {} to handler {} tag {}", traceText(*message), tag_,
                    writeTag_);
   }
   source_ = CqEventSource::Write;
   write(*message, writeTag_, source == CqEventSource::Write ? &writeOptions_ : nullptr);
}

void EventStream::discard() {
   decltype(queue_) lost;
   MutexLock lock(mutex_);
   lost.swap(queue_);
   lock.unlock();
}

std::size_t EventStream::queued() {
   MutexLock lock(mutex_);
   return queue_.size();
}

}  // namespace OrvSdkRpc
