// Base of the services that mirror a manager of the SDK, one method to one RPC.
//
// Thread-safety: as GrpcService.h.
//
// A service adds its handler of the SDK, its controller, its callbacks, its SDK manager as `manager()`, and
// in its source the definitions of its RPCs and one list of them, startHandlers.
#pragma once

#include <grpcpp/server_builder.h>

#include "OrvSdkRpc/server/GrpcService.h"

namespace OrvSdkRpc {

// Rpc is the generated service, such as orv::remote::AclMgrService.
template <class Rpc>
class MirrorService : public GrpcService, public Rpc::AsyncService {
public:
   using AsyncService = typename Rpc::AsyncService;

   void registerRpcService(grpc::ServerBuilder& builder) final { builder.RegisterService(this); }

protected:
   using GrpcService::GrpcService;
};

}  // namespace OrvSdkRpc
