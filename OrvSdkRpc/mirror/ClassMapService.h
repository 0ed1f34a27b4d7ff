// Serves the SDK's class maps over gRPC.
//
// Thread-safety: constructed and destroyed on the SDK's main thread. Everything else runs on the pump thread.
#pragma once

#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/class_map.grpc.pb.h"
#include "orv/class_map.h"

namespace OrvSdkRpc {

class ClassMapService final : public MirrorService<orv::remote::ClassMapMgrService> {
public:
   // REQUIRES: the manager outlives the service.
   explicit ClassMapService(orv::class_map_mgr* mgr) : MirrorService("class_map"), mgr_(mgr) {}

   void startHandlers() override;

   [[nodiscard]] orv::class_map_mgr& manager() const { return *mgr_; }

private:
   orv::class_map_mgr* const mgr_;
};

}  // namespace OrvSdkRpc
