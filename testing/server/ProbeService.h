// A service whose operations do what the request says, and whose watch streams the test publishes to.
#pragma once

#include <grpcpp/alarm.h>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/server/GrpcService.h"
#include "OrvSdkRpc/server/Mutex.h"
#include "probe.grpc.pb.h"

namespace orvtest {

namespace probe = OrvSdkRpc::test;

class ProbeService;

// A watch: it streams what is published, one write at a time, and ends with its client. The message "finish"
// ends the stream from the server's side. At the message "give back" the handler also posts an event under an
// extra tag, which it removes at once; then it streams the message.
class ProbeWatchHandler final
     : public OrvSdkRpc::GenericRequestHandler<ProbeWatchHandler, probe::ProbeRequest, probe::ProbeResponse,
                                               ProbeService, true> {
public:
   ProbeWatchHandler(OrvSdkRpc::OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                     ProbeService& service);
   ~ProbeWatchHandler() override;

   void process(OrvSdkRpc::OpaqueId tag) override;
   void callDone() override;
   // May be called by any thread.
   void publish(std::string text);

private:
   enum class Waits { Nothing, Alarm, Write };
   void next() ZELT_REQUIRES(mutex_);

   OrvSdkRpc::Mutex mutex_;
   std::deque<std::string> queue_ ZELT_GUARDED_BY(mutex_);
   Waits waits_ ZELT_GUARDED_BY(mutex_) = Waits::Nothing;
   grpc::Alarm alarm_;
   grpc::Alarm droppedAlarm_;
   OrvSdkRpc::OpaqueId alarmTag_ = nullptr;
   OrvSdkRpc::OpaqueId writeTag_ = nullptr;
};

// A call that the pump takes and another thread answers.
class ProbeLaterHandler final
     : public OrvSdkRpc::GenericRequestHandler<ProbeLaterHandler, probe::ProbeRequest, probe::ProbeResponse,
                                               ProbeService, false> {
public:
   ProbeLaterHandler(OrvSdkRpc::OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                     ProbeService& service);

   void process(OrvSdkRpc::OpaqueId tag) override;
   // May be called once, by any thread. RETURNS: false when the server is stopping.
   bool answer(const std::string& text);
};

class ProbeService final : public OrvSdkRpc::GrpcService, public probe::ProbeService::AsyncService {
public:
   using AsyncService = probe::ProbeService::AsyncService;

   ProbeService();
   ~ProbeService() override;

   void registerRpcService(grpc::ServerBuilder& builder) override;
   // Leaves the RPC `absent` without a handler.
   void startHandlers() override;

   // What every operation runs first, on the pump thread.
   std::function<void(const probe::ProbeRequest&)> onOperation;

   // Publishes to every open watch; may be called by any thread.
   void publish(const std::string& text);
   // Writes of watches that were begun.
   std::atomic<int> writes{0};
   [[nodiscard]] std::size_t watchers();

   // The calls of `later` that wait for their answer.
   [[nodiscard]] std::vector<ProbeLaterHandler*> waiting();
   void wait(ProbeLaterHandler* handler);

   void subscribe(OrvSdkRpc::OpaqueId tag);
   void cancel(OrvSdkRpc::OpaqueId tag);

private:
   OrvSdkRpc::Mutex mutex_;
   std::vector<OrvSdkRpc::OpaqueId> subscribers_ ZELT_GUARDED_BY(mutex_);
   std::vector<ProbeLaterHandler*> waiting_ ZELT_GUARDED_BY(mutex_);
};

// Throws the error that the request names, or returns the request's text.
std::string operate(const probe::ProbeRequest& request, ProbeService& service);

struct Probe {
   static constexpr auto method = &ProbeService::AsyncService::Requestprobe;
   static probe::ProbeResponse impl(const probe::ProbeRequest& request, ProbeService& service);
};

struct BulkProbe {
   static constexpr auto method = &ProbeService::AsyncService::Requestbulk_probe;
   static void impl(const probe::ProbeRequest& item, ProbeService& service);
};

}  // namespace orvtest
