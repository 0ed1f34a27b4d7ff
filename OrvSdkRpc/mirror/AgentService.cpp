#include "OrvSdkRpc/mirror/AgentService.h"

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "platform/zelt/Anchors.h"
#include "platform/zelt/Clock.h"

namespace OrvSdkRpc {

using namespace orv::remote;

// The main loop answers, so that a client can measure the loop's latency. A ping does not use the SDK, and
// every peer may send one.
class PingHandler final
     : public MethodHandler<PingHandler, &AgentService::AsyncService::Requestping, AgentService> {
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

   // Called once, on the main loop. The handler may have been destroyed when this returns.
   void respond() {
      if (!beginPromisedEvent()) return;
      response_.set_responded(Zelt::Clock::wallNanos());
      responder_.Finish(response_, grpc::Status::OK, tag_);
   }

private:
   Response response_;
};

void PingResponder::operator()(OpaqueId, PingHandler* handler) const {
   handler->respond();
}

struct AgentService::WatchHandler
     : WatchOf<&AgentService::AsyncService::Requestwatch, &AgentService::subscriptions> {
   static constexpr Hooks<WatchHandler> hooks = {.filter = everyEvent};
};

namespace {

using Rpc = AgentService::AsyncService;

constexpr int traceId = 9;

struct EnabledHandler
     : Getter<&Rpc::Requestenabled, &orv::agent_mgr::enabled, &AgentEnabledResponse::set_enabled> {};

struct AgentOptionHandler : Getter<&Rpc::Requestagent_option, &orv::agent_mgr::agent_option,
                                   &AgentOptionResponse::mutable_value, &AgentOptionRequest::name> {};

struct AgentOptionExistsHandler
     : Getter<&Rpc::Requestagent_option_exists, &orv::agent_mgr::agent_option_exists,
              &AgentOptionExistsResponse::set_exists, &AgentOptionExistsRequest::name> {};

struct AgentOptionsAdapter : Lister<&Rpc::Requestagent_options, &orv::agent_mgr::agent_option_iter,
                                    &AgentOptionsResponse::mutable_name> {};

struct StatusHandler : Getter<&Rpc::Requeststatus, &orv::agent_mgr::status,
                              &AgentStatusResponse::mutable_value, &AgentStatusRequest::name> {};

struct StatusesAdapter
     : Lister<&Rpc::Requeststatuses, &orv::agent_mgr::status_iter, &AgentStatusesResponse::mutable_name> {};

struct StatusSetHandler : Setter<&Rpc::Requeststatus_set, &orv::agent_mgr::status_set,
                                 &AgentStatusSetRequest::name, &AgentStatusSetRequest::value> {};
struct BulkStatusSetHandler : BulkOf<StatusSetHandler, &Rpc::Requestbulk_status_set> {};

struct StatusDelHandler
     : Setter<&Rpc::Requeststatus_del, &orv::agent_mgr::status_del, &AgentStatusDelRequest::name> {};
struct BulkStatusDelHandler : BulkOf<StatusDelHandler, &Rpc::Requestbulk_status_del> {};

struct UptimeHandler
     : Getter<&Rpc::Requestagent_uptime, &orv::agent_mgr::agent_uptime, &AgentUptimeResponse::set_uptime> {};

struct AgentIdHandler : RpcOf<&Rpc::Requestagent_id> {
   static Response impl(const Request& request, AgentService& service) {
      Response response;
      response.set_id(service.manager().id(request.name().c_str()));
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
   registerAdapter<StreamingAdapterHandler, WatchHandler>(*this);
   registerAdapter<UnaryRequestHandler, EnabledHandler>(*this);
   registerAdapter<UnaryRequestHandler, AgentOptionHandler>(*this);
   registerAdapter<UnaryRequestHandler, AgentOptionExistsHandler>(*this);
   registerAdapter<IteratorStreamingHandler, AgentOptionsAdapter>(*this);
   registerAdapter<UnaryRequestHandler, StatusHandler>(*this);
   registerAdapter<IteratorStreamingHandler, StatusesAdapter>(*this);
   registerAdapter<UnaryRequestHandler, StatusSetHandler>(*this);
   registerAdapter<UnaryRequestHandler, StatusDelHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkStatusSetHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkStatusDelHandler>(*this);
   registerAdapter<UnaryRequestHandler, UptimeHandler>(*this);
   registerAdapter<UnaryRequestHandler, AgentIdHandler>(*this);
   registerNewHandler<PingHandler>(*this);
}

void AgentService::on_agent_option(const std::string& name, const std::string& value) {
   WatchAgentResponse response;
   AgentOption& option = *response.mutable_agent_option();
   option.set_name(name);
   option.set_value(value);
   subscriptions_.publish(response);
}

std::string AgentService::on_agent_rpc(const std::string&) {
   return {};
}

}  // namespace OrvSdkRpc
