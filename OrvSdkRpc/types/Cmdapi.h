// Responses to commands. They are converted to the wire only.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/cmdapi_types.h"

namespace OrvSdkRpc::types {

orv::remote::CmdapiResponse convert(const orv::cmdapi_response_t& response);

}  // namespace OrvSdkRpc::types
