// Serves the SDK's MPLS labels that lead into a VRF over gRPC.
//
// Thread-safety: constructed and destroyed on the SDK's main thread. Everything else runs on the pump thread.
#pragma once

#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/mpls_vrf_label.grpc.pb.h"
#include "orv/mpls_vrf_label.h"

namespace OrvSdkRpc {

class MplsVrfLabelService final : public MirrorService<orv::remote::MplsVrfLabelMgrService> {
public:
   // REQUIRES: the manager outlives the service.
   explicit MplsVrfLabelService(orv::mpls_vrf_label_mgr* mgr) : MirrorService("mpls_vrf_label"), mgr_(mgr) {}

   void startHandlers() override;

   [[nodiscard]] orv::mpls_vrf_label_mgr& manager() const { return *mgr_; }

private:
   orv::mpls_vrf_label_mgr* const mgr_;
};

}  // namespace OrvSdkRpc
