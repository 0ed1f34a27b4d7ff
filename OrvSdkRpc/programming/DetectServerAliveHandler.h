// The alive watch: a stream without messages, whose end tells the client that the server is gone.
//
// Thread-safety: pump thread only.
#pragma once

#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/programming/OrvSdkRpcService.h"

namespace OrvSdkRpc {

// Never writes and never finishes: the call ends when the client disconnects or the server stops. The done
// event, the only event after the arrival, destroys the handler.
class DetectServerAliveHandler final
     : public MethodHandler<DetectServerAliveHandler,
                            &OrvSdkRpcService::AsyncService::Requestwatch_rpc_server_alive,
                            OrvSdkRpcService> {
public:
   DetectServerAliveHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                            OrvSdkRpcService& service)
        : GenericRequestHandler(tag, server, cq, service) {
      post(service, &OrvSdkRpcService::AsyncService::Requestwatch_rpc_server_alive);
   }

   void process(OpaqueId) override { state_ = 1; }
};

}  // namespace OrvSdkRpc
