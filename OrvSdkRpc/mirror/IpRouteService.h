// Serves the SDK's IP routes over gRPC.
//
// Thread-safety: constructed and destroyed on the SDK's main thread. Everything else runs on the pump thread.
#pragma once

#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/ip_route.grpc.pb.h"
#include "orv/ip_route.h"
#include "orv/vrf.h"

namespace OrvSdkRpc {

class IpRouteService final : public MirrorService<orv::remote::IpRouteMgrService> {
public:
   // REQUIRES: the managers outlive the service.
   IpRouteService(orv::ip_route_mgr* mgr, orv::vrf_mgr* vrfMgr);
   ~IpRouteService() override;

   void startHandlers() override;

   [[nodiscard]] orv::ip_route_mgr& manager() const { return *mgr_; }
   [[nodiscard]] orv::vrf_mgr& vrfManager() const { return *vrfMgr_; }

private:
   orv::ip_route_mgr* const mgr_;
   orv::vrf_mgr* const vrfMgr_;
};

}  // namespace OrvSdkRpc
