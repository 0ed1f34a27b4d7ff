// Base of the services that mirror an SDK manager, with one RPC for each method.
//
// Thread-safety: see GrpcService.h.
//
// A service adds its SDK handler and callbacks, its controller, and its SDK manager as `manager()`. Its
// source defines the RPCs and lists them in startHandlers.
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
