// One stream of echo session updates. Alive updates overtake waiting round-trip times.
//
// Thread-safety: process() and callDone() run on the pump thread, the rest on any thread. Lock order: the
// mutex of SbfdEchoUpdates, then writeMutex_, which decides who starts the next write, then queueMutex_. So
// neither of the last two is held while the stream registers with SbfdEchoUpdates.
//
// The queues are unbounded: for a client that never reads, they hold every update.
#pragma once

#include <deque>

#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/programming/OrvSdkRpcService.h"
#include "OrvSdkRpc/server/Mutex.h"

namespace OrvSdkRpc {

class SbfdEchoUpdatesHandler final
     : public MethodHandler<SbfdEchoUpdatesHandler,
                            &OrvSdkRpcService::AsyncService::Requestwatch_sbfd_echo_session_status_msgs,
                            OrvSdkRpcService> {
public:
   using Message = Response;

   SbfdEchoUpdatesHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                          OrvSdkRpcService& service);

   void process(OpaqueId tag) override;
   void callDone() override;

   void sendAliveUpdate(Message&& message) ZELT_EXCLUDES(writeMutex_, queueMutex_);
   void sendRttUpdate(Message&& message) ZELT_EXCLUDES(writeMutex_, queueMutex_);

private:
   void send(std::deque<Message> SbfdEchoUpdatesHandler::*queue, const char* kind, Message&& message);
   // Starts the next write, or becomes idle.
   void doWrite() ZELT_REQUIRES(writeMutex_) ZELT_EXCLUDES(queueMutex_);
   bool next(Message& message, const char*& kind) ZELT_EXCLUDES(queueMutex_);
   void write(const Message& message) ZELT_REQUIRES(writeMutex_);

   Mutex writeMutex_;
   // No write is in progress. False until the call has arrived and the stream is open.
   bool idle_ ZELT_GUARDED_BY(writeMutex_) = false;
   // The client has disconnected: further updates are dropped.
   bool ended_ ZELT_GUARDED_BY(writeMutex_) = false;

   Mutex queueMutex_;
   // Guarded by queueMutex_; the annotation does not work with pointers to members.
   std::deque<Message> rtt_;
   std::deque<Message> alive_;
};

}  // namespace OrvSdkRpc
