#include "OrvSdkRpc/programming/OrvSdkRpcService.h"

#include "OrvSdkRpc/programming/CallbackRequestHandler.h"
#include "OrvSdkRpc/programming/DetectServerAliveHandler.h"
#include "OrvSdkRpc/programming/Reply.h"
#include "OrvSdkRpc/programming/SbfdEchoUpdatesHandler.h"

namespace OrvSdkRpc {
namespace {

constexpr char initHandlerName[] = "rpc_server_init";
constexpr char resyncHandlerName[] = "rpc_server_resync";
constexpr char opaqueSetHandlerName[] = "rpc_server_state";
constexpr char opaqueGetHandlerName[] = "get_rpc_server_state";
constexpr char nexthopGroupHandlerName[] = "nexthop_group";
constexpr char nexthopGroupBulkHandlerName[] = "nexthop_group_bulk";
constexpr char ipRouteHandlerName[] = "ip_route";
constexpr char ipRouteBulkHandlerName[] = "ip_route_bulk";
constexpr char nhgTunnelHandlerName[] = "nexthop_group_tunnel";
constexpr char nhgTunnelBulkHandlerName[] = "nexthop_group_tunnel_bulk";
constexpr char mplsRouteHandlerName[] = "mpls_route";
constexpr char mplsRouteBulkHandlerName[] = "mpls_route_bulk";
constexpr char cbfNexthopGroupRedirectName[] = "cbf_nexthop_group_redirect";
constexpr char cbfNexthopGroupRedirectBulkName[] = "cbf_nexthop_group_redirect_bulk";
constexpr char sbfdEchoSessionHandlerName[] = "sbfd_echo_session";
constexpr char sbfdEchoSessionBulkHandlerName[] = "sbfd_echo_session_bulk";

}  // namespace

OrvSdkRpcService::OrvSdkRpcService(orv::acl_mgr* aclMgr, orv::agent_mgr* agentMgr,
                                   orv::bfd_session_mgr* bfdSessionMgr, orv::intf_mgr* intfMgr,
                                   orv::class_map_mgr* classMapMgr, orv::ip_route_mgr* ipRouteMgr,
                                   orv::mpls_route_mgr* mplsRouteMgr,
                                   orv::mpls_vrf_label_mgr* mplsVrfLabelMgr,
                                   orv::nexthop_group_mgr* nexthopGroupMgr,
                                   orv::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr,
                                   orv::policy_map_mgr* policyMapMgr, CbfNhgMgr* cbfNhgMgr)
     : GrpcService("OrvSdkRpc"),
       updates_(*this),
       client_(ipRouteMgr, mplsRouteMgr, mplsVrfLabelMgr, nexthopGroupMgr, nexthopGroupTunnelMgr),
       bfd_(client_, bfdSessionMgr, intfMgr, *this),
       cbf_(client_, policyMapMgr, classMapMgr, aclMgr, agentMgr, cbfNhgMgr),
       ip_(client_, ipRouteMgr),
       mpls_(client_, mplsRouteMgr, mplsVrfLabelMgr),
       nexthopGroups_(client_, nexthopGroupMgr),
       tunnels_(client_, nexthopGroupTunnelMgr),
       opaque_(client_, agentMgr) {
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

template <const char* Name, class Rq, class Rp, class Programmer>
void OrvSdkRpcService::startCallbackHandler(
     void (AsyncService::*method)(grpc::ServerContext*, Rq*, grpc::ServerAsyncResponseWriter<Rp>*,
                                  grpc::CompletionQueue*, grpc::ServerCompletionQueue*, void*),
     Programmer& programmer, void (Programmer::*callback)(const Rq&, Rp&)) {
   using Handler = CallbackRequestHandler<Rq, Rp, Programmer, Name>;
   registerHandler(makeHandler<Handler>(nextOpaqueId(), server(), cq(), *this, method, programmer, callback));
}

void OrvSdkRpcService::startHandlers() {
   using Rpc = AsyncService;
   startCallbackHandler<initHandlerName, pb::rpc_server_config_msg, pb::rpc_server_init_status_msg>(
        &Rpc::Requestrpc_server_init, client_, &ClientInit::processInitRequest);
   startCallbackHandler<resyncHandlerName, pb::rpc_server_resync_msg, pb::rpc_status_msg>(
        &Rpc::Requestrpc_server_resync, client_, &ClientInit::processResync);
   startCallbackHandler<opaqueSetHandlerName, pb::rpc_server_state_config_msg, pb::rpc_status_msg>(
        &Rpc::Requestrpc_server_state, opaque_, &OpaqueProgrammer::processOpaqueStateSetRequest);
   startCallbackHandler<opaqueGetHandlerName, pb::rpc_server_state_status_msg,
                        pb::rpc_server_state_status_msg>(&Rpc::Requestget_rpc_server_state, opaque_,
                                                         &OpaqueProgrammer::processOpaqueStateGetRequest);
   startCallbackHandler<nexthopGroupHandlerName, pb::nexthop_group_msg, pb::rpc_status_msg>(
        &Rpc::Requestnexthop_group, nexthopGroups_, &NexthopGroupProgrammer::processNexthopGroupRequest);
   startCallbackHandler<nexthopGroupBulkHandlerName, pb::nexthop_group_bulk_msg, pb::rpc_status_bulk_msg>(
        &Rpc::Requestnexthop_group_bulk, nexthopGroups_,
        &NexthopGroupProgrammer::processNexthopGroupBulkRequest);
   startCallbackHandler<ipRouteHandlerName, pb::ip_route_msg, pb::rpc_status_msg>(
        &Rpc::Requestip_route, ip_, &IpRouteProgrammer::processIpRouteRequest);
   startCallbackHandler<ipRouteBulkHandlerName, pb::ip_route_bulk_msg, pb::rpc_status_bulk_msg>(
        &Rpc::Requestip_route_bulk, ip_, &IpRouteProgrammer::processIpRouteBulkRequest);
   startCallbackHandler<nhgTunnelHandlerName, pb::nexthop_group_tunnel_msg, pb::rpc_status_msg>(
        &Rpc::Requestnexthop_group_tunnel, tunnels_, &NhgTunnelProgrammer::processNhgTunnelRequest);
   startCallbackHandler<nhgTunnelBulkHandlerName, pb::nexthop_group_tunnel_bulk_msg, pb::rpc_status_bulk_msg>(
        &Rpc::Requestnexthop_group_tunnel_bulk, tunnels_, &NhgTunnelProgrammer::processNhgTunnelBulkRequest);
   startCallbackHandler<mplsRouteHandlerName, pb::mpls_route_msg, pb::rpc_status_msg>(
        &Rpc::Requestmpls_route, mpls_, &MplsRouteProgrammer::processMPLSRouteRequest);
   startCallbackHandler<mplsRouteBulkHandlerName, pb::mpls_route_bulk_msg, pb::rpc_status_bulk_msg>(
        &Rpc::Requestmpls_route_bulk, mpls_, &MplsRouteProgrammer::processMPLSRouteBulkRequest);
   startCallbackHandler<cbfNexthopGroupRedirectName, pb::cbf_nexthop_group_redirect_msg, pb::rpc_status_msg>(
        &Rpc::Requestcbf_nexthop_group_redirect, cbf_,
        &CbfNhgRedirectProgrammer::processCbfNhgRedirectRequest);
   startCallbackHandler<cbfNexthopGroupRedirectBulkName, pb::cbf_nexthop_group_redirect_bulk_msg,
                        pb::rpc_status_bulk_msg>(&Rpc::Requestcbf_nexthop_group_redirect_bulk, cbf_,
                                                 &CbfNhgRedirectProgrammer::processCbfNhgRedirectBulkRequest);
   startCallbackHandler<sbfdEchoSessionHandlerName, pb::sbfd_echo_session_msg, pb::rpc_status_msg>(
        &Rpc::Requestsbfd_echo_session, bfd_, &BfdProgrammer::processSbfdEchoSessionRequest);
   startCallbackHandler<sbfdEchoSessionBulkHandlerName, pb::sbfd_echo_session_bulk_msg,
                        pb::rpc_status_bulk_msg>(&Rpc::Requestsbfd_echo_session_bulk, bfd_,
                                                 &BfdProgrammer::processSbfdEchoSessionBulkRequest);
   registerNewHandler<DetectServerAliveHandler>(*this);
   registerNewHandler<SbfdEchoUpdatesHandler>(*this);
}

}  // namespace OrvSdkRpc
