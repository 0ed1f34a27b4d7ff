// The entry of the library: one object per process that puts the switch's SDK on the network.
//
// Thread-safety: the SDK's main thread only, but for waitUntilServing.
//
// The SDK calls on_initialized when it is ready, and then the server starts on a thread of its own; it calls
// on_agent_enabled(false) to end the agent, which stops the server, removes its socket files and
// acknowledges. The object must live until then: destroying it while the server thread runs ends the process.
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

// What a host sets before the SDK calls on_initialized; the library reads no option of its own for any of it.
// The address form needs none of it, and looks at the addresses, the namespace and the accounting flag alone.
struct HostConfiguration {
   // Listening addresses in gRPC's text form. None: the agent stays up without a server.
   std::vector<std::string> addresses = {};
   // Network namespace by name; empty for the process's own.
   std::string vrf = {};
   // Name of the SSL profile, for traces.
   std::string sslProfile = {};
   SslProfileState sslProfileState = SslProfileState::NotFound;
   std::shared_ptr<grpc::ServerCredentials> credentials = {};
   bool accountingEnabled = false;
   // Serve remote peers on an insecure server too.
   bool allowInsecureRemote = true;
   bool trustedServer = false;
};

class Agent : public orv::agent_handler {
public:
   // The service-list form: the mirror services of the list, on addresses that the host configures.
   Agent(orv::sdk& sdk, const std::vector<Server::Services>& services);

   // The address form: every mirror service and, on an address that is not in use, with insecure credentials
   // and for every peer, the programming service if `bfd` is set. `fib` fetches the FIB's manager; its
   // service is not in this build.
   Agent(orv::sdk& sdk, const std::string_view& address, bool bfd, bool fib);

   ~Agent() override;

   // Before on_initialized.
   void configurationIs(HostConfiguration configuration);

   // Creates one service. A value that is none is ignored.
   void enableServices(orv::sdk& sdk, const Server::Services& service);

   void on_initialized() override;
   void on_agent_enabled(bool enabled) override;

   // Whether somebody else listens on the address. A unix address that is free is locked and cleaned up by
   // the question.
   bool addressInUse(const std::string& address, const std::string& vrf);
   // `host` in dotted form, `port` in host order. IPv4 only.
   bool ipAddressInUse(const std::string& host, std::uint16_t port, const std::string& vrf);
   // "unix:///run/x" and "unix://run/x" both name /run/x.
   bool unixAddressInUse(const std::string& address);
   // Locks unixSockPath_'s lock file for this process; false if another has it.
   bool getUnixSockLock();
   // Removes socket and lock file, if they are this agent's; they are not from then on.
   void unlockUnixSocket();

   static void panicHandler(const orv::error& error);

   // Blocks until the server takes calls, or cannot; false in the second case and when there is no server.
   // Not for a thread that holds the SDK's lock.
   [[nodiscard]] bool waitUntilServing();

   [[nodiscard]] const std::vector<std::string>& addresses() const { return addresses_; }

private:
   // Appends a service to those that the server will take over.
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
   // The address form.
   bool internalServer_ = false;
   bool trustedServer_ = false;
   std::vector<std::unique_ptr<GrpcService>> services_;
   std::string sslProfile_;
   SslProfileState sslProfileState_ = SslProfileState::NotFound;
   std::shared_ptr<grpc::ServerCredentials> credentials_;
   bool accountingEnabled_ = false;
   std::unique_ptr<GrpcServer> server_;
   std::thread serverThread_;
   // For IntfCounterService; null where the rates stream is switched off.
   std::unique_ptr<IntfTrafficRatesWatcher> trafficRatesWatcher_;
   std::unique_ptr<CbfNhgMgr> cbfNhgMgr_;
   std::string unixLockPath_;
   // Not empty: this agent owns socket and lock file.
   std::string unixSockPath_;

   // The arguments of the programming service and the FIB service; only the address form fetches them.
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
