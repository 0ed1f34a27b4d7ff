#include "OrvSdkRpc/mirror/AgentService.h"

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingToolkit.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "zelt/Anchors.h"
#include "zelt/Clock.h"

namespace OrvSdkRpc {

using namespace orv::remote;

// Answered by the main loop, so that a client can measure it. It touches nothing of the SDK, and every peer
// may ask.
class PingHandler final
     : public GenericRequestHandler<PingHandler, AgentPingRequest, AgentPingResponse, AgentService, false> {
public:
   PingHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, AgentService& service)
        : GenericRequestHandler(tag, server, cq, service) {
      post(service, &AgentService::AsyncService::Requestping);
   }

   void process(OpaqueId) override {
      response_.set_payload(request_->payload());
      response_.set_received(Zelt::Clock::wallNanos());
      promiseEvent();
      const Zelt::ActivityLockAnchor mainLoop;
      service_.pingBacklog().get(tag_) = this;
   }

   // Main loop, once. The handler may be gone when this returns.
   void respond() {
      if (!beginPromisedEvent()) return;
      response_.set_responded(Zelt::Clock::wallNanos());
      responder_.Finish(response_, grpc::Status::OK, tag_);
   }

private:
   AgentPingResponse response_;
};

void PingResponder::operator()(OpaqueId, PingHandler* handler) const {
   handler->respond();
}

namespace {

using Rpc = AgentService::AsyncService;

constexpr int traceId = 9;

class WatchHandler final
     : public StreamingRequestHandler<WatchHandler, WatchAgentRequest, WatchAgentResponse, AgentService> {
public:
   WatchHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, AgentService& service,
                unsigned long queueLimit)
        : StreamingRequestHandler(tag, server, cq, service, queueLimit) {
      post(service, &Rpc::Requestwatch);
   }

private:
   void subscribe() override { service_.subscribe(tag_); }
   void cancel() override { service_.cancel(tag_); }
};

struct Enabled {
   static constexpr auto method = &Rpc::Requestenabled;
   static AgentEnabledResponse impl(const AgentEnabledRequest&, AgentService& service) {
      AgentEnabledResponse response;
      response.set_enabled(service.get_agent_mgr()->enabled());
      return response;
   }
};

struct Option {
   static constexpr auto method = &Rpc::Requestagent_option;
   static AgentOptionResponse impl(const AgentOptionRequest& request, AgentService& service) {
      AgentOptionResponse response;
      response.set_value(service.get_agent_mgr()->agent_option(request.name()));
      return response;
   }
};

struct OptionExists {
   static constexpr auto method = &Rpc::Requestagent_option_exists;
   static AgentOptionExistsResponse impl(const AgentOptionExistsRequest& request, AgentService& service) {
      AgentOptionExistsResponse response;
      response.set_exists(service.get_agent_mgr()->agent_option_exists(request.name()));
      return response;
   }
};

struct AgentOptionsAdapter {
   static constexpr auto method = &Rpc::Requestagent_options;
   static auto iterator(AgentService& service) { return service.get_agent_mgr()->agent_option_iter(); }
   static AgentOptionsResponse convert(const std::string& name) {
      AgentOptionsResponse response;
      response.set_name(name);
      return response;
   }
};

struct Status {
   static constexpr auto method = &Rpc::Requeststatus;
   static AgentStatusResponse impl(const AgentStatusRequest& request, AgentService& service) {
      AgentStatusResponse response;
      response.set_value(service.get_agent_mgr()->status(request.name()));
      return response;
   }
};

struct StatusesAdapter {
   static constexpr auto method = &Rpc::Requeststatuses;
   static auto iterator(AgentService& service) { return service.get_agent_mgr()->status_iter(); }
   static AgentStatusesResponse convert(const std::string& name) {
      AgentStatusesResponse response;
      response.set_name(name);
      return response;
   }
};

struct StatusSet {
   static constexpr auto method = &Rpc::Requeststatus_set;
   static AgentStatusSetResponse impl(const AgentStatusSetRequest& request, AgentService& service) {
      service.get_agent_mgr()->status_set(request.name(), request.value());
      return {};
   }
};

struct StatusDel {
   static constexpr auto method = &Rpc::Requeststatus_del;
   static AgentStatusDelResponse impl(const AgentStatusDelRequest& request, AgentService& service) {
      service.get_agent_mgr()->status_del(request.name());
      return {};
   }
};

struct BulkStatusSet : StatusSet {
   static constexpr auto method = &Rpc::Requestbulk_status_set;
};

struct BulkStatusDel : StatusDel {
   static constexpr auto method = &Rpc::Requestbulk_status_del;
};

struct Uptime {
   static constexpr auto method = &Rpc::Requestagent_uptime;
   static AgentUptimeResponse impl(const AgentUptimeRequest&, AgentService& service) {
      AgentUptimeResponse response;
      response.set_uptime(service.get_agent_mgr()->agent_uptime());
      return response;
   }
};

struct Id {
   static constexpr auto method = &Rpc::Requestagent_id;
   static AgentIdResponse impl(const AgentIdRequest& request, AgentService& service) {
      AgentIdResponse response;
      response.set_id(service.get_agent_mgr()->id(request.name().c_str()));
      orv::fmttrace(service.tracer(), traceId, "Agent {} id {}", request.name(), response.id());
      return response;
   }
};

}  // namespace

AgentService::AgentService(orv::agent_mgr* mgr)
     : MirrorService("agent"),
       orv::agent_handler(mgr),
       pingBacklog_("Ping responder", Gorm::TaskSchedulerRoot::findOrCreateScheduler(), PingResponder()) {}

AgentService::~AgentService() = default;

void AgentService::startHandlers() {
   registerNewHandler<WatchHandler>(*this);
   registerAdapter<UnaryRequestHandler, Enabled>(*this);
   registerAdapter<UnaryRequestHandler, Option>(*this);
   registerAdapter<UnaryRequestHandler, OptionExists>(*this);
   registerAdapter<IteratorStreamingHandler, AgentOptionsAdapter>(*this);
   registerAdapter<UnaryRequestHandler, Status>(*this);
   registerAdapter<IteratorStreamingHandler, StatusesAdapter>(*this);
   registerAdapter<UnaryRequestHandler, StatusSet>(*this);
   registerAdapter<UnaryRequestHandler, StatusDel>(*this);
   registerAdapter<BulkRequestHandler, BulkStatusSet>(*this);
   registerAdapter<BulkRequestHandler, BulkStatusDel>(*this);
   registerAdapter<UnaryRequestHandler, Uptime>(*this);
   registerAdapter<UnaryRequestHandler, Id>(*this);
   registerNewHandler<PingHandler>(*this);
}

void AgentService::on_agent_option(const std::string& name, const std::string& value) {
   WatchAgentResponse response;
   AgentOption& option = *response.mutable_agent_option();
   option.set_name(name);
   option.set_value(value);
   subscriptions_.publish<WatchHandler>(response);
}

std::string AgentService::on_agent_rpc(const std::string&) {
   return {};
}

}  // namespace OrvSdkRpc
