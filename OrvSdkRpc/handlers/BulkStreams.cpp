#include "OrvSdkRpc/handlers/BulkStreams.h"

namespace OrvSdkRpc {

BulkStream::BulkStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                       GrpcService& service)
     : AlarmedStream(tag, server, cq, service,
                     Style{.processLevel = StreamTrace::write,
                           .alarmLevel = StreamTrace::write,
                           .alarmSet = "Set alarm for handler {}",
                           .unknownTag = "false && \"unknown tag\""}) {}

void BulkStream::onTick(CqEventSource source) {
   MutexLock lock(mutex_);
   source_ = CqEventSource::None;
   if (tableEmpty() || snapshot_) return;
   if (source == CqEventSource::Write) {
      setAlarm();
      return;
   }
   const std::size_t count = writeBatch();
   orv::fmttrace(tracer(), StreamTrace::write, "Wrote {} entries to handler {} tag {}", count, tag_,
                 writeTag_);
}

void BulkStream::writeDone(CqEventSource source) {
   onTick(source);
   dumpNext();
}

void BulkStream::writeResponse(const google::protobuf::Message& response) {
   write(response, writeTag_, source_ == CqEventSource::Write ? &writeOptions_ : nullptr);
   source_ = CqEventSource::Write;
}

void BulkStream::traceEntry(const google::protobuf::Message& entry) const {
   orv::fmttrace(tracer(), StreamTrace::event, "Enqueue {} to handler {}", traceText(entry), tag_);
}

void BulkStream::wake() {
   if (source_ == CqEventSource::None && !snapshot_) setAlarm();
}

void BulkStream::beginSnapshot() {
   MutexLock lock(mutex_);
   snapshot_ = true;
}

void BulkStream::dumpNext() {
   {
      MutexLock lock(mutex_);
      if (!snapshot_) return;
   }
   const google::protobuf::Message* const response = nextOfSnapshot();
   MutexLock lock(mutex_);
   if (response != nullptr) {
      writeResponse(*response);
      return;
   }
   // Cleared under the same lock as the write, whose completion sends the waiting entries.
   snapshot_ = false;
   writeEmpty();
   lock.unlock();
   orv::fmttrace(tracer(), StreamTrace::event, "handler {} end of dump", tag_);
}

}  // namespace OrvSdkRpc
