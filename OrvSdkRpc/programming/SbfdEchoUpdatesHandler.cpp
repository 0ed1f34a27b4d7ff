#include "OrvSdkRpc/programming/SbfdEchoUpdatesHandler.h"

#include <utility>

#include "OrvSdkRpc/programming/Reply.h"

namespace OrvSdkRpc {

SbfdEchoUpdatesHandler::SbfdEchoUpdatesHandler(OpaqueId tag, grpc::Server& server,
                                               grpc::ServerCompletionQueue& cq, OrvSdkRpcService& service)
     : GenericRequestHandler(tag, server, cq, service) {
   post(service, &OrvSdkRpcService::AsyncService::Requestwatch_sbfd_echo_session_status_msgs);
}

void SbfdEchoUpdatesHandler::process(OpaqueId) {
   const bool opening = state_ == 0;
   if (opening) {
      state_ = 1;
      // From here on, updates are queued until the stream is open.
      service_.registerSbfdHandlerForUpdates(tag_);
   }
   MutexLock lock(writeMutex_);
   if (opening && request_->send_initial_message()) {
      Message initial;
      initial.set_initial(true);
      write(initial);
   } else {
      doWrite();
   }
}

void SbfdEchoUpdatesHandler::callDone() {
   {
      MutexLock lock(writeMutex_);
      ended_ = true;
   }
   MutexLock lock(queueMutex_);
   rtt_.clear();
   alive_.clear();
}

void SbfdEchoUpdatesHandler::sendAliveUpdate(Message&& message) {
   send(&SbfdEchoUpdatesHandler::alive_, "alive", std::move(message));
}

void SbfdEchoUpdatesHandler::sendRttUpdate(Message&& message) {
   send(&SbfdEchoUpdatesHandler::rtt_, "rtt", std::move(message));
}

void SbfdEchoUpdatesHandler::send(std::deque<Message> SbfdEchoUpdatesHandler::*queue, const char* kind,
                                  Message&& message) {
   orv::fmttrace(programmingTracer(), 6, "{} Queue {} update {}", tag_, kind, pb::Lazy{message});
   {
      MutexLock lock(queueMutex_);
      (this->*queue).push_back(std::move(message));
   }
   MutexLock lock(writeMutex_);
   if (idle_ || ended_) doWrite();
}

void SbfdEchoUpdatesHandler::doWrite() {
   Message message;
   const char* kind = nullptr;
   if (!next(message, kind)) {
      idle_ = true;
      orv::fmttrace(programmingTracer(), 9, "{} Write idle", tag_);
      return;
   }
   if (ended_) return;
   orv::fmttrace(programmingTracer(), 6, "{} Write {} update {}", tag_, kind, pb::Lazy{message});
   write(message);
}

// Alive updates first.
bool SbfdEchoUpdatesHandler::next(Message& message, const char*& kind) {
   MutexLock lock(queueMutex_);
   std::deque<Message>& queue = alive_.empty() ? rtt_ : alive_;
   if (queue.empty()) return false;
   kind = alive_.empty() ? "RTT" : "alive";
   message = std::move(queue.front());
   queue.pop_front();
   return true;
}

void SbfdEchoUpdatesHandler::write(const Message& message) {
   // The main thread writes too, so this may be outside the pump thread. A stopping server does not write.
   if (!beginEventFromOutside()) return;
   idle_ = false;
   responder_.Write(message, tag_);
}

}  // namespace OrvSdkRpc
