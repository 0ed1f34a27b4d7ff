#include "OrvSdkRpc/programming/BfdProgrammer.h"

#include "OrvSdkRpc/programming/Reply.h"
#include "orv/lock.h"

namespace OrvSdkRpc {

void BfdProgrammer::processSbfdEchoSessionRequest(const pb::sbfd_echo_session_msg& request,
                                                  pb::rpc_status_msg& response) {
   serveUnavailable(client_, request, response);
}

void BfdProgrammer::processSbfdEchoSessionBulkRequest(const pb::sbfd_echo_session_bulk_msg& request,
                                                      pb::rpc_status_bulk_msg& response) {
   serveBulk(request, response,
             [this](const auto& item, auto& status) { processSbfdEchoSessionRequest(item, status); });
}

void BfdProgrammer::resyncStart() {
   // The main loop reads the epoch too, once sessions report to it.
   orv::sdk_scoped_lock lock;
   ++epoch_;
}

void BfdProgrammer::resyncEnd() {}

}  // namespace OrvSdkRpc
