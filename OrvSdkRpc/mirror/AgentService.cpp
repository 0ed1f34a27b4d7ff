#include "OrvSdkRpc/mirror/AgentService.h"

#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingToolkit.h"
#include "OrvSdkRpc/server/MethodTraits.h"
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

AgentEnabledResponse enabled(const AgentEnabledRequest&, AgentService& service) {
   AgentEnabledResponse response;
   response.set_enabled(service.get_agent_mgr()->enabled());
   return response;
}

AgentOptionResponse agent_option(const AgentOptionRequest& request, AgentService& service) {
   AgentOptionResponse response;
   response.set_value(service.get_agent_mgr()->agent_option(request.name()));
   return response;
}

AgentOptionExistsResponse agent_option_exists(const AgentOptionExistsRequest& request,
                                              AgentService& service) {
   AgentOptionExistsResponse response;
   response.set_exists(service.get_agent_mgr()->agent_option_exists(request.name()));
   return response;
}

AgentStatusResponse status(const AgentStatusRequest& request, AgentService& service) {
   AgentStatusResponse response;
   response.set_value(service.get_agent_mgr()->status(request.name()));
   return response;
}

template <class Response>
Response status_set(const AgentStatusSetRequest& request, AgentService& service) {
   service.get_agent_mgr()->status_set(request.name(), request.value());
   return Response();
}

template <class Response>
Response status_del(const AgentStatusDelRequest& request, AgentService& service) {
   service.get_agent_mgr()->status_del(request.name());
   return Response();
}

AgentUptimeResponse agent_uptime(const AgentUptimeRequest&, AgentService& service) {
   AgentUptimeResponse response;
   response.set_uptime(service.get_agent_mgr()->agent_uptime());
   return response;
}

AgentIdResponse agent_id(const AgentIdRequest& request, AgentService& service) {
   AgentIdResponse response;
   response.set_id(service.get_agent_mgr()->id(request.name().c_str()));
   orv::fmttrace(service.tracer(), traceId, "Agent {} id {}", request.name(), response.id());
   return response;
}

template <class Hc, auto method, class Messages>
using AgentHandler =
     GenericRequestHandler<Hc, typename MethodTraits<method>::Request,
                           typename MethodTraits<method>::Response, AgentService, false, Messages>;

// Answers a request with what `operation` makes of it.
template <class Hc, auto method, auto operation>
class UnaryAgentHandler : public AgentHandler<Hc, method, MemberMessages> {
public:
   UnaryAgentHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                     AgentService& service)
        : AgentHandler<Hc, method, MemberMessages>(tag, server, cq, service) {
      this->post(service, method);
   }

   void process(OpaqueId) final { this->respond(operation, *this->request_, this->service_); }
};

// Calls `operation` for each item of a request and drops what it makes of them.
template <class Hc, auto method, auto operation>
class BulkAgentHandler : public AgentHandler<Hc, method, ArenaMessages> {
public:
   BulkAgentHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                    AgentService& service)
        : AgentHandler<Hc, method, ArenaMessages>(tag, server, cq, service) {
      this->post(service, method);
   }

   void process(OpaqueId) final { this->bulk_respond(this->request_->requests(), operation); }
};

class EnabledHandler final : public UnaryAgentHandler<EnabledHandler, &Rpc::Requestenabled, &enabled> {
   using UnaryAgentHandler::UnaryAgentHandler;
};

class AgentOptionHandler final
     : public UnaryAgentHandler<AgentOptionHandler, &Rpc::Requestagent_option, &agent_option> {
   using UnaryAgentHandler::UnaryAgentHandler;
};

class AgentOptionExistsHandler final
     : public UnaryAgentHandler<AgentOptionExistsHandler, &Rpc::Requestagent_option_exists,
                                &agent_option_exists> {
   using UnaryAgentHandler::UnaryAgentHandler;
};

class StatusHandler final : public UnaryAgentHandler<StatusHandler, &Rpc::Requeststatus, &status> {
   using UnaryAgentHandler::UnaryAgentHandler;
};

class StatusSetHandler final : public UnaryAgentHandler<StatusSetHandler, &Rpc::Requeststatus_set,
                                                        &status_set<AgentStatusSetResponse>> {
   using UnaryAgentHandler::UnaryAgentHandler;
};

class StatusDelHandler final : public UnaryAgentHandler<StatusDelHandler, &Rpc::Requeststatus_del,
                                                        &status_del<AgentStatusDelResponse>> {
   using UnaryAgentHandler::UnaryAgentHandler;
};

class BulkStatusSetHandler final : public BulkAgentHandler<BulkStatusSetHandler, &Rpc::Requestbulk_status_set,
                                                           &status_set<AgentStatusSetResponse>> {
   using BulkAgentHandler::BulkAgentHandler;
};

class BulkStatusDelHandler final : public BulkAgentHandler<BulkStatusDelHandler, &Rpc::Requestbulk_status_del,
                                                           &status_del<AgentStatusDelResponse>> {
   using BulkAgentHandler::BulkAgentHandler;
};

class UptimeHandler final
     : public UnaryAgentHandler<UptimeHandler, &Rpc::Requestagent_uptime, &agent_uptime> {
   using UnaryAgentHandler::UnaryAgentHandler;
};

class AgentIdHandler final : public UnaryAgentHandler<AgentIdHandler, &Rpc::Requestagent_id, &agent_id> {
   using UnaryAgentHandler::UnaryAgentHandler;
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

struct StatusesAdapter {
   static constexpr auto method = &Rpc::Requeststatuses;
   static auto iterator(AgentService& service) { return service.get_agent_mgr()->status_iter(); }
   static AgentStatusesResponse convert(const std::string& name) {
      AgentStatusesResponse response;
      response.set_name(name);
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
   registerNewHandler<EnabledHandler>(*this);
   registerNewHandler<AgentOptionHandler>(*this);
   registerNewHandler<AgentOptionExistsHandler>(*this);
   registerAdapter<IteratorStreamingHandler, AgentOptionsAdapter>(*this);
   registerNewHandler<StatusHandler>(*this);
   registerAdapter<IteratorStreamingHandler, StatusesAdapter>(*this);
   registerNewHandler<StatusSetHandler>(*this);
   registerNewHandler<StatusDelHandler>(*this);
   registerNewHandler<BulkStatusSetHandler>(*this);
   registerNewHandler<BulkStatusDelHandler>(*this);
   registerNewHandler<UptimeHandler>(*this);
   registerNewHandler<AgentIdHandler>(*this);
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
