#include "OrvSdkRpc/programming/Reply.h"

namespace OrvSdkRpc {

namespace pb {

std::string toString(const google::protobuf::Message& message) {
   return message.ShortDebugString();
}

}  // namespace pb

const orv::tracer& programmingTracer() {
   static const orv::tracer tracer("OrvSdkRpc");
   return tracer;
}

namespace detail {

void refuseNotInitialized(const google::protobuf::Message& request, pb::rpc_status_msg& response) {
   orv::fmttrace(programmingTracer(), 0, "{}",
                 setReplyStatusWithDebugString(response, pb::RPC_STATUS_NOT_INITIALIZED,
                                               "Error: no prior rpc_server_init call, request {}",
                                               pb::toString(request)));
}

void reportException(const google::protobuf::Message& request, const orv::error& e,
                     pb::rpc_status_msg& response) {
   orv::fmttrace(
        programmingTracer(), 0, "{}",
        setReplyStatusWithDebugString(response, pb::RPC_STATUS_ERROR, "Error: request {} exception {}",
                                      pb::toString(request), e.what()));
}

}  // namespace detail
}  // namespace OrvSdkRpc
