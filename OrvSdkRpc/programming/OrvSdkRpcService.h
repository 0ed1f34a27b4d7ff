// The programming service: it owns the programmers and turns each RPC into one call of one of them.
//
// Thread-safety: constructed on the SDK's main thread, then pump thread only.
#pragma once

#include <grpcpp/server_builder.h>

#include "OrvSdkRpc/programming/BfdProgrammer.h"
#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"
#include "OrvSdkRpc/programming/ClientInit.h"
#include "OrvSdkRpc/programming/IpRouteProgrammer.h"
#include "OrvSdkRpc/programming/MplsRouteProgrammer.h"
#include "OrvSdkRpc/programming/NexthopGroupProgrammer.h"
#include "OrvSdkRpc/programming/NhgTunnelProgrammer.h"
#include "OrvSdkRpc/programming/OpaqueProgrammer.h"
#include "OrvSdkRpc/programming/SbfdEchoUpdates.h"
#include "OrvSdkRpc/programming/SbfdUpdateSender.h"
#include "OrvSdkRpc/server/GrpcService.h"
#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"

namespace orv {
class acl_mgr;
class agent_mgr;
class bfd_session_mgr;
class class_map_mgr;
class intf_mgr;
class ip_route_mgr;
class mpls_route_mgr;
class mpls_vrf_label_mgr;
class nexthop_group_mgr;
class nexthop_group_tunnel_mgr;
class policy_map_mgr;
}  // namespace orv

namespace OrvSdkRpc {

class CbfNhgMgr;

class OrvSdkRpcService final : public GrpcService,
                               public pb::orvsdk_service::AsyncService,
                               public SbfdUpdateSender {
public:
   using AsyncService = pb::orvsdk_service::AsyncService;

   // The managers live longer than the service. `cbfNhgMgr` may be null.
   OrvSdkRpcService(orv::acl_mgr* aclMgr, orv::agent_mgr* agentMgr, orv::bfd_session_mgr* bfdSessionMgr,
                    orv::intf_mgr* intfMgr, orv::class_map_mgr* classMapMgr, orv::ip_route_mgr* ipRouteMgr,
                    orv::mpls_route_mgr* mplsRouteMgr, orv::mpls_vrf_label_mgr* mplsVrfLabelMgr,
                    orv::nexthop_group_mgr* nexthopGroupMgr,
                    orv::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr, orv::policy_map_mgr* policyMapMgr,
                    CbfNhgMgr* cbfNhgMgr);
   ~OrvSdkRpcService() override;

   void registerRpcService(grpc::ServerBuilder& builder) override;
   // One handler for each of the eighteen RPCs, in their order.
   void startHandlers() override;

   // Adds a stream to those that get the updates of echo sessions.
   void registerSbfdHandlerForUpdates(OpaqueId tag) { updates_.insert(tag); }
   // To every stream; dropped when the server stops.
   void sendSbfdAliveUpdate(pb::watch_sbfd_echo_session_status_msg&& message) override;
   void sendSbfdRttUpdate(pb::watch_sbfd_echo_session_status_msg&& message) override;

   [[nodiscard]] const ClientInit& client() const { return client_; }

private:
   template <const char* Name, class Rq, class Rp, class Programmer>
   void startCallbackHandler(void (AsyncService::*method)(grpc::ServerContext*, Rq*,
                                                          grpc::ServerAsyncResponseWriter<Rp>*,
                                                          grpc::CompletionQueue*,
                                                          grpc::ServerCompletionQueue*, void*),
                             Programmer& programmer, void (Programmer::*callback)(const Rq&, Rp&));

   SbfdEchoUpdates updates_;
   ClientInit client_;
   BfdProgrammer bfd_;
   CbfNhgRedirectProgrammer cbf_;
   IpRouteProgrammer ip_;
   MplsRouteProgrammer mpls_;
   NexthopGroupProgrammer nexthopGroups_;
   NhgTunnelProgrammer tunnels_;
   OpaqueProgrammer opaque_;
};

}  // namespace OrvSdkRpc
