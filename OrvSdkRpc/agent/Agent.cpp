#include "OrvSdkRpc/agent/Agent.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "OrvSdkRpc/mirror/FibService.h"
#include "OrvSdkRpc/programming/CbfNhgMgr.h"
#include "OrvSdkRpc/programming/OrvSdkRpcService.h"
#include "OrvSdkRpc/server/AgentTrace.h"
#include "platform/process/Brevis.h"
#include "platform/process/Toggles.h"
#include "platform/zelt/Anchors.h"

namespace OrvSdkRpc {
namespace {

bool cbfNhgEcmpEnabled() {
   static const bool enabled = getToggleState("CbfNhgEcmp", "CbfNhg.json", true);
   return enabled;
}

}  // namespace

Agent::Agent(orv::sdk& sdk, const std::vector<Server::Services>& services)
     : orv::agent_handler(sdk.get_agent_mgr()), name_(sdk.name()) {
   for (const Server::Services service : services) {
      Brevis::trace("Enabling: {}", static_cast<unsigned>(service));
      enableServices(sdk, service);
   }
   orv::fmttrace(agentTracer(), 1, "Agent: {} constructed", name_);
   orv::exception_handler_is(panicHandler);
}

Agent::Agent(orv::sdk& sdk, const std::string_view& address, bool bfd, bool fib)
     : orv::agent_handler(sdk.get_agent_mgr()),
       name_(sdk.name()),
       addresses_{std::string(address)},
       internalServer_(true),
       trustedServer_(true) {
   aclMgr_ = sdk.get_acl_mgr();
   agentMgr_ = sdk.get_agent_mgr();
   if (bfd) bfdSessionMgr_ = sdk.get_bfd_session_mgr();
   classMapMgr_ = sdk.get_class_map_mgr();
   if (fib) fibMgr_ = sdk.get_fib_mgr(orv::mgr_mode_type_t::resident);
   intfMgr_ = sdk.get_intf_mgr();
   ipRouteMgr_ = sdk.get_ip_route_mgr();
   mplsRouteMgr_ = sdk.get_mpls_route_mgr();
   mplsVrfLabelMgr_ = sdk.get_mpls_vrf_label_mgr();
   nexthopGroupMgr_ = sdk.get_nexthop_group_mgr();
   nexthopGroupTunnelMgr_ = sdk.get_nexthop_group_tunnel_mgr();
   policyMapMgr_ = sdk.get_policy_map_mgr();
   for (std::uint8_t value = 0; value < Server::servicesCount; ++value) {
      enableServices(sdk, static_cast<Server::Services>(value));
   }
   orv::fmttrace(agentTracer(), 1, "Agent: {} constructed", name_);
   orv::exception_handler_is(panicHandler);
   if (bfd && cbfNhgEcmpEnabled()) cbfNhgMgr_ = std::make_unique<CbfNhgMgr>(sdk.get_mount_mgr());
}

Agent::~Agent() = default;

void Agent::configurationIs(HostConfiguration configuration) {
   addresses_ = std::move(configuration.addresses);
   vrf_ = std::move(configuration.vrf);
   sslProfile_ = std::move(configuration.sslProfile);
   sslProfileState_ = configuration.sslProfileState;
   credentials_ = std::move(configuration.credentials);
   accountingEnabled_ = configuration.accountingEnabled;
   // The address form trusts every peer.
   allowInsecureRemote_ = internalServer_ || configuration.allowInsecureRemote;
   trustedServer_ = internalServer_ || configuration.trustedServer;
}

void Agent::on_initialized() {
   orv::fmttrace(agentTracer(), 0, "Agent Initialized");
   if (addresses_.empty()) {
      Brevis::trace("No ip address configured");
      return;
   }
   if (internalServer_ && !addressesAreFree()) return;
   auto properties = std::make_unique<ServerProperties>(ServerProperties{
        .addresses = addresses_,
        .vrf = vrf_,
        .sslProfileState = sslProfileState_,
        .internalServer = internalServer_,
        .trustedServer = trustedServer_,
        .allowInsecureRemote = allowInsecureRemote_,
        .accountingEnabled = accountingEnabled_,
   });
   if (internalServer_) {
      if (bfdSessionMgr_) {
         add<OrvSdkRpcService>(ProgrammingManagers{
              .acl = aclMgr_,
              .agent = agentMgr_,
              .bfdSession = bfdSessionMgr_,
              .intf = intfMgr_,
              .classMap = classMapMgr_,
              .ipRoute = ipRouteMgr_,
              .mplsRoute = mplsRouteMgr_,
              .mplsVrfLabel = mplsVrfLabelMgr_,
              .nexthopGroup = nexthopGroupMgr_,
              .nexthopGroupTunnel = nexthopGroupTunnelMgr_,
              .policyMap = policyMapMgr_,
              .cbfNhg = cbfNhgMgr_.get(),
         });
      }
      if (fibMgr_ != nullptr) add<FibService>(fibMgr_);
      credentials_ = grpc::InsecureServerCredentials();
   } else {
      if (!credentialsAreGood()) return;
      if (!credentials_ && sslProfileState_ == SslProfileState::NotConfigured) {
         credentials_ = grpc::InsecureServerCredentials();
      }
      if (!credentials_) {
         orv::fmttrace(agentTracer(), 0, "No credentials for SSL profile: {}", sslProfile_);
         return;
      }
   }
   server_ = std::make_unique<GrpcServer>(std::move(properties), std::move(services_),
                                          std::exchange(credentials_, nullptr));
   services_.clear();
   serverThread_ = std::thread([server = server_.get()] { server->run(); });
   orv::fmttrace(agentTracer(), 0, "Server listening on: {}", fmt::join(addresses_, ", "));
}

// Removes the addresses in use from addresses_.
// RETURNS: false if none remain.
bool Agent::addressesAreFree() {
   std::erase_if(addresses_, [this](const std::string& address) {
      const bool inUse = addressInUse(address, vrf_);
      if (inUse) orv::fmttrace(agentTracer(), 0, "Address already in use: {}", address);
      return inUse;
   });
   if (!addresses_.empty()) return true;
   // The agent stays up without a server.
   orv::fmttrace(agentTracer(), 0, "Shutting down. All addresses are already in use");
   return false;
}

bool Agent::credentialsAreGood() const {
   switch (sslProfileState_) {
      case SslProfileState::NotFound:
         orv::fmttrace(agentTracer(), 0, "SSL profile not found: {}", sslProfile_);
         return false;
      case SslProfileState::Invalid:
         orv::fmttrace(agentTracer(), 0, "Invalid SSL profile configured: {}", sslProfile_);
         return false;
      case SslProfileState::NotConfigured:
         orv::fmttrace(agentTracer(), 0, "Using insecure sever, no SSL profile configured.");
         return true;
      case SslProfileState::Tls:
         orv::fmttrace(agentTracer(), 0, "Using TLS with valid SSL Profile: {}", sslProfile_);
         return true;
      case SslProfileState::MutualTls:
         orv::fmttrace(agentTracer(), 0, "Using mTLS with valid SSL Profile: {}", sslProfile_);
         return true;
   }
   return true;
}

void Agent::on_agent_enabled(bool enabled) {
   if (enabled) return;
   orv::fmttrace(agentTracer(), 0, "Shutting down agent: {}", name_);
   if (serverThread_.joinable()) {
      server_->stop();
      // The server thread may be waiting for the SDK's lock in a handler.
      Zelt::MaybeGilUnlockAnchor gil;
      Zelt::UnlockAnchor unlocked(Zelt::activityLock());
      serverThread_.join();
   }
   unlockUnixSocket();
   orv::fmttrace(agentTracer(), 0, "Shutdown complete");
   get_agent_mgr()->agent_shutdown_complete_is(true);
}

void Agent::panicHandler(const orv::error& error) {
   orv::fmttrace(agentTracer(), 5, "panic msg {}", error.msg());
   error.raise();
}

bool Agent::waitUntilServing() {
   return server_ && server_->waitUntilServing();
}

}  // namespace OrvSdkRpc
