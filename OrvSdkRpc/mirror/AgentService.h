// Serves the agent's options, status entries and liveness over gRPC.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, which also runs the callbacks and
// answers pings. Everything else runs on the pump thread.
#pragma once

#include <string>

#include "OrvSdkRpc/handlers/GenericBacklog.h"
#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/agent.grpc.pb.h"
#include "orv/agent.h"

namespace OrvSdkRpc {

class PingHandler;

// Answers the pings in the backlog.
struct PingResponder {
   void operator()(OpaqueId tag, PingHandler* handler) const;
};

class AgentService final : public MirrorService<orv::remote::AgentService>, public orv::agent_handler {
public:
   using PingBacklog = GenericBacklog<OpaqueId, PingHandler*, PingResponder>;

   // REQUIRES: the manager outlives the service.
   explicit AgentService(orv::agent_mgr* mgr);
   ~AgentService() override;

   void startHandlers() override;

   // Definition of the watch RPC.
   struct WatchHandler;
   [[nodiscard]] SubscriptionController<AgentService, WatchHandler>& subscriptions() {
      return subscriptions_;
   }
   [[nodiscard]] orv::agent_mgr& manager() const { return *get_agent_mgr(); }
   // No-ops: the SDK calls an agent's handler without a watch.
   void startWatching() {}
   void stopWatching() {}

   // Pings that wait for the main loop, by tag.
   // REQUIRES: the caller holds the activity lock.
   [[nodiscard]] PingBacklog& pingBacklog() { return pingBacklog_; }

   void on_initialized() override {}
   void on_agent_enabled(bool) override {}
   void on_agent_option(const std::string& name, const std::string& value) override;
   std::string on_agent_rpc(const std::string& name) override;

private:
   SubscriptionController<AgentService, WatchHandler> subscriptions_{*this};
   PingBacklog pingBacklog_;
};

}  // namespace OrvSdkRpc
