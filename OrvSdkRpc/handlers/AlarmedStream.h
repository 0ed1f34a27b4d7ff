// A long-lived stream that other threads feed: its extra tags, the alarm that wakes the pump, and its end.
//
// Thread-safety: everything runs on the pump thread, except cancel() as stated there. Feeding threads enter
// through operations of the derived classes and touch only what mutex_ guards. A thread that holds mutex_
// calls neither a subscription controller nor the SDK. So mutex_ is a leaf except for gRPC's own locks, and a
// thread may wait for it while holding the SDK's lock.
#pragma once

#include <grpcpp/alarm.h>
#include <grpcpp/support/async_stream.h>

#include "OrvSdkRpc/handlers/ServerStream.h"
#include "OrvSdkRpc/server/CqEventSource.h"
#include "OrvSdkRpc/server/Mutex.h"

namespace OrvSdkRpc {

class AlarmedStream : public ServerStream {
public:
   // Dispatches an event: on the main tag or the write tag to processIo, on the alarm tag to onTick or,
   // during a write, to alarmDuringWrite. Any other tag aborts the process.
   void process(OpaqueId tag) final;

   // The client has left, or the call has ended.
   void callDone() final { processCancel(); }

protected:
   // Trace levels and texts, which differ between the two kinds of streams.
   struct Style {
      int processLevel;
      int alarmLevel;
      fmt::format_string<const OpaqueId&> alarmSet;
      const char* unknownTag;
   };

   AlarmedStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, GrpcService& service,
                 const Style& style)
        : ServerStream(tag, server, cq, service), style_(style) {}

   // Called when the call arrives. An exception in the table of Errors.h becomes the status of the call.
   virtual void start() = 0;
   // Called when a write completes; `source` is what was outstanding.
   virtual void writeDone(CqEventSource source) { onTick(source); }
   // Called when nothing is outstanding: writes the next message, if there is one.
   virtual void onTick(CqEventSource source) ZELT_EXCLUDES(mutex_) = 0;
   // Called because of ringDuringWrite, while the write is still outstanding.
   virtual void alarmDuringWrite() ZELT_EXCLUDES(mutex_) {}
   // Join and leave the controller. If subscribe() throws, the stream has not joined. cancel() also runs on
   // the feeding thread whose message exceeds the queue limit; it may run more than once, and on that thread
   // and the pump thread at the same time.
   virtual void subscribe() = 0;
   virtual void cancel() ZELT_EXCLUDES(mutex_) = 0;
   // Frees the waiting messages early, when the stream begins to end. May be called more than once.
   virtual void discard() ZELT_EXCLUDES(mutex_) {}

   // Assigns the alarm tag and the write tag.
   void setupTags();
   // Subscribes. If start() fails after that, the stream leaves the controller again.
   void join() {
      subscribe();
      joined_ = true;
   }
   // Wakes the pump at once for this stream. A no-op if the server is stopping, since nothing more is sent
   // then.
   void setAlarm() ZELT_REQUIRES(mutex_);
   // Calls alarmDuringWrite on the pump thread, unless the write completes first.
   // REQUIRES: a write is outstanding, and the stream ends when it completes.
   void ringDuringWrite() ZELT_REQUIRES(mutex_) { ring(); }
   // Whether new messages are dropped because the server is stopping or the stream is ending.
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
   // Ends the stream if the call was cancelled.
   // RETURNS: whether it was cancelled.
   // REQUIRES: the done event has arrived. Only that event reports the end of a call, so completed writes
   // need not check.
   bool processCancel() ZELT_EXCLUDES(mutex_);
   void end(const grpc::Status& status) ZELT_EXCLUDES(mutex_);
   // RETURNS: false if the server is stopping.
   bool ring() ZELT_REQUIRES(mutex_);

   grpc::Alarm alarm_;
   bool joined_ = false;
   const Style style_;
};

}  // namespace OrvSdkRpc
