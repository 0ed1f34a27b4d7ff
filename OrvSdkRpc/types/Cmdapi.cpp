#include "OrvSdkRpc/types/Cmdapi.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

remote::CmdapiResponse convert(const orv::cmdapi_response_t& response) {
   remote::CmdapiResponse message;
   message.set_success(response.success());
   message.set_error_code(response.error_code());
   message.set_error_message(response.error_message());
   message.mutable_responses()->Add(response.responses().begin(), response.responses().end());
   message.set_raw_response(response.raw_response());
   return message;
}

}  // namespace OrvSdkRpc::types
