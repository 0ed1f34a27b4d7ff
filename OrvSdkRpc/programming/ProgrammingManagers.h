// What the programming service works on.
//
// Thread-safe: plain pointers.
#pragma once

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

// The managers live longer than the service. None but the last may be null, and none has a default, so that
// one that is left out is noticed by the compiler.
struct ProgrammingManagers {
   orv::acl_mgr* acl;
   orv::agent_mgr* agent;
   orv::bfd_session_mgr* bfdSession;
   orv::intf_mgr* intf;
   orv::class_map_mgr* classMap;
   orv::ip_route_mgr* ipRoute;
   orv::mpls_route_mgr* mplsRoute;
   orv::mpls_vrf_label_mgr* mplsVrfLabel;
   orv::nexthop_group_mgr* nexthopGroup;
   orv::nexthop_group_tunnel_mgr* nexthopGroupTunnel;
   orv::policy_map_mgr* policyMap;
   // Null where the platform has no override table.
   CbfNhgMgr* cbfNhg;
};

}  // namespace OrvSdkRpc
