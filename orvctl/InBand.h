// Failures that a reply carries although its gRPC status is OK.
// Thread-safety: any thread.
#pragma once

#include <google/protobuf/message.h>

#include <string>

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orvctl {

// RETURNS: whether the reply, or any message in it, is a status other than OK: rpc_status_msg of the
// programming service, RpcResponseStatus of the mirror services.
bool hasInBandFailure(const google::protobuf::Message& reply);

// RETURNS: "RPC_STATUS_ERROR: text", or only the name if there is no text.
std::string statusText(const OrvSdkRpc::pb::rpc_status_msg& status);

}  // namespace orvctl
