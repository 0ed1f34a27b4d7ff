// The stream of echo session updates.
//
// Thread-safety: pump thread only.
//
// This build has no sessions and no updates. A stream that stays silent would say that all is well, so the
// call ends with UNIMPLEMENTED and the words of the other RPCs of its kind.
#pragma once

#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/programming/OrvSdkRpcService.h"
#include "OrvSdkRpc/programming/Reply.h"

namespace OrvSdkRpc {

class SbfdEchoUpdatesHandler final
     : public GenericRequestHandler<SbfdEchoUpdatesHandler, pb::watch_sbfd_echo_session_config_msg,
                                    pb::watch_sbfd_echo_session_status_msg, OrvSdkRpcService, true> {
public:
   SbfdEchoUpdatesHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                          OrvSdkRpcService& service)
        : GenericRequestHandler(tag, server, cq, service) {
      post(service, &pb::orvsdk_service::AsyncService::Requestwatch_sbfd_echo_session_status_msgs);
   }

   void process(OpaqueId) override {
      state_ = 2;
      finish(grpc::Status(
           grpc::StatusCode::UNIMPLEMENTED,
           fmt::format("Error: not available in this build, request {}", pb::toString(*request_))));
   }
};

}  // namespace OrvSdkRpc
