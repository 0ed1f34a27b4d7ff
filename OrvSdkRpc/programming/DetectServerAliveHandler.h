// The alive watch: a stream that says nothing and whose end is the news.
//
// Thread-safety: pump thread only.
#pragma once

#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/programming/OrvSdkRpcService.h"

namespace OrvSdkRpc {

// Never writes and never finishes: the call ends when the client leaves or the server stops, and the done
// event, its only one after the arrival, takes the handler with it.
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
