// The agent's options, status entries and life, on the network.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, where the callbacks come and pings are
// answered; everything else runs on the pump thread.
#pragma once

#include <string>

#include "OrvSdkRpc/handlers/GenericBacklog.h"
#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/agent.grpc.pb.h"
#include "orv/agent.h"

namespace OrvSdkRpc {

class PingHandler;

// Answers what waits in the backlog of pings.
struct PingResponder {
   void operator()(OpaqueId tag, PingHandler* handler) const;
};

class AgentService final : public MirrorService<orv::remote::AgentService>, public orv::agent_handler {
public:
   using PingBacklog = GenericBacklog<OpaqueId, PingHandler*, PingResponder>;

   // The manager lives longer than the service.
   explicit AgentService(orv::agent_mgr* mgr);
   ~AgentService() override;

   void startHandlers() override;

   // The definition of its watch.
   struct WatchHandler;
   [[nodiscard]] SubscriptionController<AgentService, WatchHandler>& subscriptions() {
      return subscriptions_;
   }
   [[nodiscard]] orv::agent_mgr& manager() const { return *get_agent_mgr(); }
   // An agent's handler is called in any case.
   void startWatching() {}
   void stopWatching() {}

   // Pings that wait for the main loop, by tag. With the activity lock.
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
