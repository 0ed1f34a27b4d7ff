// One stream of echo session updates: alive updates overtake the round-trip times that wait.
//
// Thread-safety: process() and callDone() on the pump thread, the rest on any. The locks, in their order: the
// write state's, which says who starts the next write, then the queues'. Both come behind the mutex of
// SbfdEchoUpdates, so none is held while the stream enters itself there.
//
// The queues have no bound: a reader that never reads costs what is sent meanwhile.
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
   // Starts the next write, or is idle.
   void doWrite() ZELT_REQUIRES(writeMutex_) ZELT_EXCLUDES(queueMutex_);
   bool next(Message& message, const char*& kind) ZELT_EXCLUDES(queueMutex_);
   void write(const Message& message) ZELT_REQUIRES(writeMutex_);

   Mutex writeMutex_;
   // No write is under way. Not idle until the call has arrived and the stream has been opened.
   bool idle_ ZELT_GUARDED_BY(writeMutex_) = false;
   // The client has gone: what is still sent is dropped.
   bool ended_ ZELT_GUARDED_BY(writeMutex_) = false;

   Mutex queueMutex_;
   // Guarded by queueMutex_, which a pointer to a member cannot say.
   std::deque<Message> rtt_;
   std::deque<Message> alive_;
};

}  // namespace OrvSdkRpc
