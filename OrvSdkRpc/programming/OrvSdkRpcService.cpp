#include "OrvSdkRpc/programming/OrvSdkRpcService.h"

#include "OrvSdkRpc/programming/CallbackRequestHandler.h"
#include "OrvSdkRpc/programming/DetectServerAliveHandler.h"
#include "OrvSdkRpc/programming/Reply.h"
#include "OrvSdkRpc/programming/SbfdEchoUpdatesHandler.h"

namespace OrvSdkRpc {
namespace {

using Rpc = OrvSdkRpcService::AsyncService;

struct InitHandler : CallbackOf<&Rpc::Requestrpc_server_init, &ClientInit::processInitRequest> {};
struct ResyncHandler : CallbackOf<&Rpc::Requestrpc_server_resync, &ClientInit::processResync> {};
struct OpaqueSetHandler
     : CallbackOf<&Rpc::Requestrpc_server_state, &OpaqueProgrammer::processOpaqueStateSetRequest> {};
struct OpaqueGetHandler
     : CallbackOf<&Rpc::Requestget_rpc_server_state, &OpaqueProgrammer::processOpaqueStateGetRequest> {};
struct NexthopGroupHandler
     : CallbackOf<&Rpc::Requestnexthop_group, &NexthopGroupProgrammer::processNexthopGroupRequest> {};
struct NexthopGroupBulkHandler
     : CallbackOf<&Rpc::Requestnexthop_group_bulk, &NexthopGroupProgrammer::processNexthopGroupBulkRequest> {
};
struct IpRouteHandler : CallbackOf<&Rpc::Requestip_route, &IpRouteProgrammer::processIpRouteRequest> {};
struct IpRouteBulkHandler
     : CallbackOf<&Rpc::Requestip_route_bulk, &IpRouteProgrammer::processIpRouteBulkRequest> {};
struct NhgTunnelHandler
     : CallbackOf<&Rpc::Requestnexthop_group_tunnel, &NhgTunnelProgrammer::processNhgTunnelRequest> {};
struct NhgTunnelBulkHandler
     : CallbackOf<&Rpc::Requestnexthop_group_tunnel_bulk, &NhgTunnelProgrammer::processNhgTunnelBulkRequest> {
};
struct MplsRouteHandler : CallbackOf<&Rpc::Requestmpls_route, &MplsRouteProgrammer::processMPLSRouteRequest> {
};
struct MplsRouteBulkHandler
     : CallbackOf<&Rpc::Requestmpls_route_bulk, &MplsRouteProgrammer::processMPLSRouteBulkRequest> {};
struct CbfNexthopGroupRedirect : CallbackOf<&Rpc::Requestcbf_nexthop_group_redirect,
                                            &CbfNhgRedirectProgrammer::processCbfNhgRedirectRequest> {};
struct CbfNexthopGroupRedirectBulk : CallbackOf<&Rpc::Requestcbf_nexthop_group_redirect_bulk,
                                                &CbfNhgRedirectProgrammer::processCbfNhgRedirectBulkRequest> {
};
struct SbfdEchoSessionHandler
     : CallbackOf<&Rpc::Requestsbfd_echo_session, &BfdProgrammer::processSbfdEchoSessionRequest> {};
struct SbfdEchoSessionBulkHandler
     : CallbackOf<&Rpc::Requestsbfd_echo_session_bulk, &BfdProgrammer::processSbfdEchoSessionBulkRequest> {};

}  // namespace

OrvSdkRpcService::OrvSdkRpcService(const ProgrammingManagers& managers)
     : GrpcService("OrvSdkRpc"),
       updates_(*this),
       client_(managers.ipRoute, managers.mplsRoute, managers.mplsVrfLabel, managers.nexthopGroup,
               managers.nexthopGroupTunnel),
       bfd_(client_, managers.bfdSession, managers.intf, *this),
       cbf_(client_, managers.policyMap, managers.classMap, managers.acl, managers.agent, managers.cbfNhg),
       ip_(client_, managers.ipRoute),
       mpls_(client_, managers.mplsRoute, managers.mplsVrfLabel),
       nexthopGroups_(client_, managers.nexthopGroup),
       tunnels_(client_, managers.nexthopGroupTunnel),
       opaque_(client_, managers.agent) {
   client_.programmersAre({.ipRoute = &ip_, .cbf = &cbf_, .bfd = &bfd_});
}

OrvSdkRpcService::~OrvSdkRpcService() = default;

void OrvSdkRpcService::sendSbfdAliveUpdate(pb::watch_sbfd_echo_session_status_msg&& message) {
   if (closing()) return;
   orv::fmttrace(programmingTracer(), 1, "{} Bulk alive update {}", name(), pb::Lazy{message});
   updates_.fanout(&SbfdEchoUpdatesHandler::sendAliveUpdate, std::move(message));
}

void OrvSdkRpcService::sendSbfdRttUpdate(pb::watch_sbfd_echo_session_status_msg&& message) {
   if (closing()) return;
   orv::fmttrace(programmingTracer(), 6, "{} Bulk rtt update {}", name(), pb::Lazy{message});
   updates_.fanout(&SbfdEchoUpdatesHandler::sendRttUpdate, std::move(message));
}

void OrvSdkRpcService::registerRpcService(grpc::ServerBuilder& builder) {
   builder.RegisterService(this);
}

void OrvSdkRpcService::startHandlers() {
   registerAdapter<CallbackRequestHandler, InitHandler>(*this);
   registerAdapter<CallbackRequestHandler, ResyncHandler>(*this);
   registerAdapter<CallbackRequestHandler, OpaqueSetHandler>(*this);
   registerAdapter<CallbackRequestHandler, OpaqueGetHandler>(*this);
   registerAdapter<CallbackRequestHandler, NexthopGroupHandler>(*this);
   registerAdapter<CallbackRequestHandler, NexthopGroupBulkHandler>(*this);
   registerAdapter<CallbackRequestHandler, IpRouteHandler>(*this);
   registerAdapter<CallbackRequestHandler, IpRouteBulkHandler>(*this);
   registerAdapter<CallbackRequestHandler, NhgTunnelHandler>(*this);
   registerAdapter<CallbackRequestHandler, NhgTunnelBulkHandler>(*this);
   registerAdapter<CallbackRequestHandler, MplsRouteHandler>(*this);
   registerAdapter<CallbackRequestHandler, MplsRouteBulkHandler>(*this);
   registerAdapter<CallbackRequestHandler, CbfNexthopGroupRedirect>(*this);
   registerAdapter<CallbackRequestHandler, CbfNexthopGroupRedirectBulk>(*this);
   registerAdapter<CallbackRequestHandler, SbfdEchoSessionHandler>(*this);
   registerAdapter<CallbackRequestHandler, SbfdEchoSessionBulkHandler>(*this);
   registerNewHandler<DetectServerAliveHandler>(*this);
   registerNewHandler<SbfdEchoUpdatesHandler>(*this);
}

}  // namespace OrvSdkRpc
