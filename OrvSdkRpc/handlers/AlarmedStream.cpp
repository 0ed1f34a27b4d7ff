#include "OrvSdkRpc/handlers/AlarmedStream.h"

#include "OrvSdkRpc/server/Assert.h"

namespace OrvSdkRpc {

void AlarmedStream::process(OpaqueId tag) {
   CqEventSource source;
   {
      MutexLock lock(mutex_);
      source = source_;
   }
   orv::fmttrace(tracer(), style_.processLevel, "process handler {} source {} tag {}", tag_, toString(source),
                 tag);
   if (tag == tag_ || tag == writeTag_) {
      processIo(source);
      return;
   }
   assertThat(tag == alarmTag_, style_.unknownTag);
   // In any other state the alarm was cancelled.
   if (state_ != 1) return;
   if (source == CqEventSource::Write) {
      alarmDuringWrite();
   } else {
      onTick(CqEventSource::Alarm);
   }
}

void AlarmedStream::processIo(CqEventSource source) {
   if (state_ == 0) {
      translateErrors([this] { start(); }, [this](const auto& e) { fail(e); });
   } else {
      writeDone(source);
   }
}

bool AlarmedStream::processCancel() {
   if (!cancelled()) return false;
   orv::fmttrace(tracer(), StreamTrace::event, "Cancelled handler {}", tag_);
   CqEventSource outstanding;
   {
      MutexLock lock(mutex_);
      if (state_ != 1) return true;
      state_ = 2;
      finishStream(grpc::Status::OK);
      outstanding = source_;
   }
   cancel();
   // Removes exactly the tags on which no more events can arrive.
   switch (outstanding) {
      case CqEventSource::Alarm:
         alarm_.Cancel();
         owner_.removeHandler(writeTag_);
         break;
      case CqEventSource::Write:
         owner_.removeHandler(alarmTag_);
         break;
      case CqEventSource::None:
         owner_.removeHandler(alarmTag_);
         owner_.removeHandler(writeTag_);
         break;
   }
   discard();
   return true;
}

void AlarmedStream::end(const grpc::Status& status) {
   {
      MutexLock lock(mutex_);
      state_ = 2;
      finishStream(status);
   }
   if (joined_) cancel();
   discard();
}

void AlarmedStream::setupTags() {
   const std::shared_ptr<RequestHandler> handler = self();
   alarmTag_ = owner_.assignExtraTag(handler);
   writeTag_ = owner_.assignExtraTag(handler);
}

void AlarmedStream::setAlarm() {
   if (!ring()) return;
   source_ = CqEventSource::Alarm;
   orv::fmttrace(tracer(), style_.alarmLevel, style_.alarmSet, tag_);
}

bool AlarmedStream::ring() {
   if (!beginEventFromOutside()) return false;
   // gRPC rounds a deadline up to the next millisecond, so "now" would fire late. A past deadline fires at
   // once.
   alarm_.Set(&cq_, gpr_inf_past(GPR_CLOCK_REALTIME), alarmTag_);
   return true;
}

}  // namespace OrvSdkRpc
