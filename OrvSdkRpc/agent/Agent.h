// Entry point of the library: one Agent per process serves the switch's SDK over gRPC.
//
// Thread-safety: the SDK's main thread only, except waitUntilServing.
//
// The SDK calls on_initialized when it is ready; the agent then starts the server on its own thread. The SDK
// calls on_agent_enabled(false) to end the agent; the agent then stops the server, removes its socket files
// and acknowledges. Destroying the agent while the server thread runs ends the process.
#pragma once

#include <grpcpp/security/server_credentials.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "OrvSdkRpc/server/GrpcServer.h"
#include "OrvSdkRpc/server/GrpcService.h"
#include "OrvSdkRpc/server/ServerProperties.h"
#include "OrvSdkRpc/server/Services.h"
#include "orv/agent.h"
#include "orv/error.h"
#include "orv/sdk.h"

namespace OrvSdkRpc {

class CbfNhgMgr;
class IntfTrafficRatesWatcher;

// Settings that the host makes before the SDK calls on_initialized; the library reads no options itself. The
// address form works without them and uses only addresses, vrf and accountingEnabled.
struct HostConfiguration {
   // Listening addresses in gRPC's text form. Without any, the agent runs without a server.
   std::vector<std::string> addresses = {};
   // Name of the network namespace; empty for the process's own.
   std::string vrf = {};
   // Name of the SSL profile, for traces.
   std::string sslProfile = {};
   SslProfileState sslProfileState = SslProfileState::NotFound;
   std::shared_ptr<grpc::ServerCredentials> credentials = {};
   bool accountingEnabled = false;
   // Serve remote peers even if the server is insecure.
   bool allowInsecureRemote = true;
   bool trustedServer = false;
};

class Agent : public orv::agent_handler {
public:
   // The service-list form: serves the listed mirror services on the addresses that the host configures.
   Agent(orv::sdk& sdk, const std::vector<Server::Services>& services);

   // The address form: serves every mirror service, and with `bfd` the programming service, on `address`,
   // with insecure credentials and to every peer. Starts no server if the address is in use. `fib` serves
   // the FIB, which makes the switch call back for each change of it.
   Agent(orv::sdk& sdk, const std::string_view& address, bool bfd, bool fib);

   ~Agent() override;

   // REQUIRES: called before on_initialized.
   void configurationIs(HostConfiguration configuration);

   // Creates the service, if this build has it; ignores an unknown value.
   void enableServices(orv::sdk& sdk, const Server::Services& service);

   void on_initialized() override;
   void on_agent_enabled(bool enabled) override;

   // RETURNS: whether the address is in use. Locks a free unix address and removes its stale socket file.
   bool addressInUse(const std::string& address, const std::string& vrf);
   // IPv4 only: `host` is a dotted quad, `port` in host byte order.
   bool ipAddressInUse(const std::string& host, std::uint16_t port, const std::string& vrf);
   // "unix:///run/x" and "unix://run/x" both name /run/x.
   bool unixAddressInUse(const std::string& address);
   // Locks the lock file of unixSockPath_ for this process.
   // RETURNS: false on failure, for instance if another process holds the lock.
   bool getUnixSockLock();
   // Removes the socket file and the lock file if this agent owns them, and gives up ownership.
   void unlockUnixSocket();

   static void panicHandler(const orv::error& error);

   // Blocks until the server takes calls or has failed to start.
   // RETURNS: whether the server takes calls; false if there is no server.
   // REQUIRES: the calling thread does not hold the SDK's lock.
   [[nodiscard]] bool waitUntilServing();

   [[nodiscard]] const std::vector<std::string>& addresses() const { return addresses_; }

private:
   // Adds a service for the server to take over.
   template <class Service, class... Args>
   void add(Args&&... args) {
      services_.push_back(std::make_unique<Service>(std::forward<Args>(args)...));
   }
   bool addressesAreFree();
   bool credentialsAreGood() const;

   std::string name_;
   std::vector<std::string> addresses_;
   bool allowInsecureRemote_ = true;
   std::string vrf_;
   // True for the address form.
   bool internalServer_ = false;
   bool trustedServer_ = false;
   std::vector<std::unique_ptr<GrpcService>> services_;
   std::string sslProfile_;
   SslProfileState sslProfileState_ = SslProfileState::NotFound;
   std::shared_ptr<grpc::ServerCredentials> credentials_;
   bool accountingEnabled_ = false;
   std::unique_ptr<GrpcServer> server_;
   std::thread serverThread_;
   // Destroyed before the server and its services, which hold pointers to both: a service's destructor must
   // not use them. The watcher is for IntfCounterService; null if the rates stream is disabled.
   std::unique_ptr<IntfTrafficRatesWatcher> trafficRatesWatcher_;
   std::unique_ptr<CbfNhgMgr> cbfNhgMgr_;
   std::string unixLockPath_;
   // Non-empty while this agent owns the socket file and the lock file.
   std::string unixSockPath_;

   // Managers for the programming service and the FIB service; only the address form fetches them.
   orv::acl_mgr* aclMgr_ = nullptr;
   orv::agent_mgr* agentMgr_ = nullptr;
   orv::bfd_session_mgr* bfdSessionMgr_ = nullptr;
   orv::class_map_mgr* classMapMgr_ = nullptr;
   orv::fib_mgr* fibMgr_ = nullptr;
   orv::intf_mgr* intfMgr_ = nullptr;
   orv::ip_route_mgr* ipRouteMgr_ = nullptr;
   orv::mpls_route_mgr* mplsRouteMgr_ = nullptr;
   orv::mpls_vrf_label_mgr* mplsVrfLabelMgr_ = nullptr;
   orv::nexthop_group_mgr* nexthopGroupMgr_ = nullptr;
   orv::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr_ = nullptr;
   orv::policy_map_mgr* policyMapMgr_ = nullptr;
};

}  // namespace OrvSdkRpc
