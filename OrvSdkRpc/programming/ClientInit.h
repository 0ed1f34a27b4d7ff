// Whether the controller has initialized this server since it started, and whether a resync is in progress.
//
// Thread-safety: pump thread only.
#pragma once

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orv {
class ip_route_mgr;
class mpls_route_mgr;
class mpls_vrf_label_mgr;
class nexthop_group_mgr;
class nexthop_group_tunnel_mgr;
}  // namespace orv

namespace OrvSdkRpc {

class BfdProgrammer;
class CbfNhgRedirectProgrammer;
class IpRouteProgrammer;

class ClientInit {
public:
   // The programmers that init and resync call. They are created after this object, because each of them
   // reads it.
   struct Programmers {
      IpRouteProgrammer* ipRoute = nullptr;
      CbfNhgRedirectProgrammer* cbf = nullptr;
      BfdProgrammer* bfd = nullptr;
   };

   ClientInit(orv::ip_route_mgr* ipRouteMgr, orv::mpls_route_mgr* mplsRouteMgr,
              orv::mpls_vrf_label_mgr* mplsVrfLabelMgr, orv::nexthop_group_mgr* nexthopGroupMgr,
              orv::nexthop_group_tunnel_mgr* tunnelMgr)
        : ipRouteMgr_(ipRouteMgr),
          mplsRouteMgr_(mplsRouteMgr),
          mplsVrfLabelMgr_(mplsVrfLabelMgr),
          nexthopGroupMgr_(nexthopGroupMgr),
          tunnelMgr_(tunnelMgr) {}

   void programmersAre(const Programmers& programmers) { programmers_ = programmers; }

   // True if an rpc_server_init has succeeded since the process started.
   [[nodiscard]] bool initialized() const { return initialized_; }
   [[nodiscard]] bool resyncInProgress() const { return resyncInProgress_; }

   // Can be repeated, even during a resync.
   void processInitRequest(const pb::rpc_server_config_msg& request,
                           pb::rpc_server_init_status_msg& response);
   // Does not need init.
   void processResync(const pb::rpc_server_resync_msg& request, pb::rpc_status_msg& response);

private:
   void lookAtManagers(pb::rpc_server_init_status_msg& response) const;
   void resyncStart();
   void resyncEnd();

   Programmers programmers_;
   bool initialized_ = false;
   bool resyncInProgress_ = false;
   orv::ip_route_mgr* const ipRouteMgr_;
   orv::mpls_route_mgr* const mplsRouteMgr_;
   orv::mpls_vrf_label_mgr* const mplsVrfLabelMgr_;
   orv::nexthop_group_mgr* const nexthopGroupMgr_;
   orv::nexthop_group_tunnel_mgr* const tunnelMgr_;
};

}  // namespace OrvSdkRpc
