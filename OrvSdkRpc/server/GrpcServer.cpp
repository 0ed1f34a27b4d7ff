#include "OrvSdkRpc/server/GrpcServer.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <chrono>
#include <cstdio>
#include <future>
#include <utility>

#include "OrvSdkRpc/server/Connections.h"

namespace OrvSdkRpc {
namespace {

// Poll interval of the draining pump: PendingEvents::tryBegin may take back the last count without an event.
constexpr std::chrono::milliseconds drainPoll{10};

// How long clients have to read pending writes when the server stops.
constexpr std::chrono::seconds hangUpAfter{1};

}  // namespace

GrpcServer::GrpcServer(std::unique_ptr<ServerProperties> properties,
                       std::shared_ptr<grpc::ServerCredentials> credentials)
     : tracer_("rpc-server"), properties_(std::move(properties)) {
   downTag_ = tags_.nextId();
   for (const std::string& address : properties_->addresses) {
      builder_.AddListeningPort(address, credentials, nullptr);
   }
}

GrpcServer::GrpcServer(std::unique_ptr<ServerProperties> properties,
                       std::vector<std::unique_ptr<GrpcService>> services,
                       std::shared_ptr<grpc::ServerCredentials> credentials)
     : GrpcServer(std::move(properties), std::move(credentials)) {
   services_.reserve(services.size());
   for (auto& service : services) {
      service->grpcServer_ = this;
      service->properties_ = properties_.get();
      service->selfRegister(services_.size(), builder_);
      services_.push_back(std::move(service));
   }
   if (properties_->accountingEnabled) {
      orv::fmttrace(tracer_, 0, "Accounting is not available in this build");
   }
}

GrpcServer::~GrpcServer() = default;

GrpcServer::State GrpcServer::state() const {
   std::lock_guard lock(stateMutex_);
   return state_;
}

void GrpcServer::setState(State state) {
   {
      std::lock_guard lock(stateMutex_);
      state_ = state;
   }
   stateChanged_.notify_all();
}

bool GrpcServer::waitUntilServing() {
   std::unique_lock lock(stateMutex_);
   stateChanged_.wait(lock, [this] { return state_ != State::Constructed; });
   return state_ == State::Pumping;
}

void GrpcServer::run() {
   if (start()) {
      pump();
      std::thread shutdown;
      {
         // The pump may finish before stop() has stored the thread that it started.
         std::lock_guard lock(stateMutex_);
         shutdown = std::move(shutdownThread_);
      }
      shutdown.join();
   }
   setState(State::Stopped);
}

bool GrpcServer::start() {
   cq_ = builder_.AddCompletionQueue();
   server_ = builder_.BuildAndStart();
   if (!server_) {
      const std::string words =
           fmt::format("gRPC server did not start on: {}", fmt::join(properties_->addresses, ", "));
      orv::fmttrace(tracer_, 0, "{}", words);
      std::fprintf(stderr, "OrvSdkRpc: %s\n", words.c_str());
      cq_->Shutdown();
      void* tag = nullptr;
      bool ok = false;
      while (cq_->Next(&tag, &ok)) {
      }
      return false;
   }
   for (auto& service : services_) {
      service->cq_ = cq_.get();
      service->startHandlers();
   }
   {
      std::lock_guard lock(stateMutex_);
      state_ = State::Pumping;
      // stop() was called before the server had started.
      if (stopRequested_) beginShutdown();
   }
   stateChanged_.notify_all();
   return true;
}

void GrpcServer::stop() {
   {
      std::lock_guard lock(stateMutex_);
      if (stopRequested_) return;
      stopRequested_ = true;
      events_.close();
      for (auto& service : services_)
         service->closing_.store(true);
      if (state_ == State::Pumping) beginShutdown();
   }
   stateChanged_.notify_all();
}

// Server::Shutdown blocks until the pump has ended all calls, so the pump cannot call it. Nor can the thread
// in stop(): it may hold the SDK's lock, which the pump may be waiting for. So a third thread calls it.
void GrpcServer::beginShutdown() {
   state_ = State::Draining;
   shutdownThread_ = std::thread([this] {
      std::promise<void> down;
      std::thread hangUp([this, over = down.get_future()] {
         while (over.wait_for(hangUpAfter) == std::future_status::timeout)
            shutDownConnections(properties_->addresses);
      });
      // No grace period: an open stream never ends by itself.
      server_->Shutdown(std::chrono::system_clock::now());
      down.set_value();
      hangUp.join();
      events_.begin();
      serverDown_.store(true);
      downAlarm_.Set(cq_.get(), std::chrono::system_clock::now(), downTag_);
   });
}

void GrpcServer::pump() {
   OpaqueId tag = nullptr;
   bool ok = false;
   while (!serverDown_.load()) {
      // Next always succeeds here: only the code below shuts the queue down.
      if (cq_->Next(&tag, &ok)) dispatch(tag, ok);
   }
   while (!events_.none()) {
      const auto deadline = std::chrono::system_clock::now() + drainPoll;
      if (cq_->AsyncNext(&tag, &ok, deadline) == grpc::CompletionQueue::GOT_EVENT) dispatch(tag, ok);
   }
   // No event is pending and no thread may post, so no operation can start on a queue that is shut down.
   cq_->Shutdown();
   while (cq_->Next(&tag, &ok)) {
   }
}

void GrpcServer::dispatch(OpaqueId tag, bool ok) {
   events_.end();
   if (tag == downTag_) return;
   const TagManager::Event event = tags_.findEvent(tag);
   const std::shared_ptr<RequestHandler>& handler = event.handler;
   if (!handler) return;
   handler->pending_.fetch_sub(1, std::memory_order_relaxed);
   if (!event.registered) {
      // The handler has removed this tag; the event only had to be counted.
   } else if (!handler->arrived_) {
      handleArrival(handler, event.serviceId, ok);
   } else if (tag == handler->doneTag_) {
      handler->callDone();
   } else if (ok && handler->state_ == 1) {
      // Other events need no processing. A unary call stays in state 0 and ends with its finish event. A call
      // in state 2 only awaits its last events. After a failed write the stream is broken, and its done
      // event, if requested, follows.
      handler->process(tag);
   }
   if (handler->pending_.load(std::memory_order_acquire) == 0) tags_.removeAll(*handler);
}

// The first event of a main tag: a call has arrived or, if not `ok`, none ever will.
void GrpcServer::handleArrival(const std::shared_ptr<RequestHandler>& handler, std::size_t serviceId,
                               bool ok) {
   if (!ok) return;
   handler->arrived_ = true;
   // gRPC delivers the done event if and only if the call has arrived.
   if (handler->doneTag_) handler->beginEvent();
   // The server is stopping: gRPC's own shutdown ends this call.
   if (events_.closed()) return;
   // The successor is posted first, so that the RPC waits for its next call before this one is served.
   tags_.add(serviceId, handler->chain(tags_.nextId()));
   handler->process(handler->tag_);
}

}  // namespace OrvSdkRpc
