// The SDK managers that the programming service uses.
//
// Thread-safety: plain pointers.
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

// There are no defaults, so that the compiler reports a missing manager.
// REQUIRES: the managers outlive the service, and only the last may be null.
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
   // Null if the platform has no override table.
   CbfNhgMgr* cbfNhg;
};

}  // namespace OrvSdkRpc
