// A long-lived stream that other threads feed: its extra tags, the alarm that wakes the pump, and its end.
//
// Thread-safety: the pump thread runs everything but what cancel() says; feeding threads enter through the
// operations of the derived classes and touch only what mutex_ guards. Nothing is called into a subscription
// controller or the SDK while mutex_ is held, so it is a leaf but for gRPC's own locks, and a thread may wait
// for it with the SDK's lock held.
#pragma once

#include <grpcpp/alarm.h>
#include <grpcpp/support/async_stream.h>

#include "OrvSdkRpc/handlers/ServerStream.h"
#include "OrvSdkRpc/server/CqEventSource.h"
#include "OrvSdkRpc/server/Mutex.h"

namespace OrvSdkRpc {

class AlarmedStream : public ServerStream {
public:
   // An event under the main tag or the write tag goes to processIo, one under the alarm tag to onTick, or to
   // alarmDuringWrite. Any other tag ends the process.
   void process(OpaqueId tag) final;

   // The client is gone, or the call is over.
   void callDone() final { processCancel(); }

protected:
   // How loud the two kinds of streams are, and their words.
   struct Style {
      int processLevel;
      int alarmLevel;
      fmt::format_string<const OpaqueId&> alarmSet;
      const char* unknownTag;
   };

   AlarmedStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, GrpcService& service,
                 const Style& style)
        : ServerStream(tag, server, cq, service), style_(style) {}

   // The call has arrived. An exception of the table of Errors.h becomes its status.
   virtual void start() = 0;
   // A write has completed; `source` is what the stream waited for.
   virtual void writeDone(CqEventSource source) { onTick(source); }
   // Nothing is outstanding any more: writes the next message, if there is one.
   virtual void onTick(CqEventSource source) ZELT_EXCLUDES(mutex_) = 0;
   // What ringDuringWrite asked for. The write is still outstanding.
   virtual void alarmDuringWrite() ZELT_EXCLUDES(mutex_) {}
   // Joins and leaves the controller. A subscribe that throws has not joined. cancel() also runs on a feeding
   // thread, the one whose message is too many, and may run more than once and at the same time on both.
   virtual void subscribe() = 0;
   virtual void cancel() ZELT_EXCLUDES(mutex_) = 0;
   // What waits is lost with the stream; called once, when it begins to end, to let go of it early.
   virtual void discard() ZELT_EXCLUDES(mutex_) {}

   // Takes the alarm tag and the write tag.
   void setupTags();
   // Subscribes; should the start fail after that, the stream leaves again.
   void join() {
      subscribe();
      joined_ = true;
   }
   // Wakes the pump at once for this stream. Not when the server is stopping: nothing is sent any more then.
   void setAlarm() ZELT_REQUIRES(mutex_);
   // Calls alarmDuringWrite on the pump, unless the write completes first. REQUIRES: a write is outstanding,
   // and when it completes the stream ends.
   void ringDuringWrite() ZELT_REQUIRES(mutex_) { ring(); }
   // Whether what is fed is dropped: the server stops or the stream ends.
   [[nodiscard]] bool closed() const ZELT_REQUIRES(mutex_) { return owner_.closing() || state_ == 2; }

   // Ends the call with the exception's status.
   template <class E>
   void fail(const E& e) {
      end(grpcStatus(e));
   }

   Mutex mutex_;
   // What is outstanding on the completion queue.
   CqEventSource source_ ZELT_GUARDED_BY(mutex_) = CqEventSource::None;
   OpaqueId alarmTag_ = nullptr;
   OpaqueId writeTag_ = nullptr;
   const grpc::WriteOptions writeOptions_;

private:
   void processIo(CqEventSource source);
   // True when the call was cancelled. May be asked only after the done event, and is: a stream hears of its
   // end by that event and by nothing else, so a write that completes needs no look at it.
   bool processCancel() ZELT_EXCLUDES(mutex_);
   void end(const grpc::Status& status) ZELT_EXCLUDES(mutex_);
   // False when the server is stopping.
   bool ring() ZELT_REQUIRES(mutex_);

   grpc::Alarm alarm_;
   bool joined_ = false;
   const Style style_;
};

}  // namespace OrvSdkRpc
