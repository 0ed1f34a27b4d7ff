// Failures that travel inside a reply although gRPC itself says OK.
// Free functions without state, safe from any thread.
#pragma once

#include <google/protobuf/message.h>

#include <string>

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orvctl {

// True where the reply, or any message within it, is a status other than OK: rpc_status_msg of the
// programming service, RpcResponseStatus of the mirror services.
bool hasInBandFailure(const google::protobuf::Message& reply);

// "RPC_STATUS_ERROR: words", or the bare name where there are no words.
std::string statusText(const OrvSdkRpc::pb::rpc_status_msg& status);

}  // namespace orvctl
