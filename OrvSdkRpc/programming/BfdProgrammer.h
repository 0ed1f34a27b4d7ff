// Seamless-BFD echo sessions.
//
// Thread-safety: pump thread only.
//
// This build programs no sessions: every request is answered with RPC_STATUS_ERROR and words that say so. A
// resync keeps its epoch, and finds no session to purge.
#pragma once

#include <cstdint>

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace OrvSdkRpc {

class ClientInit;

class BfdProgrammer {
public:
   explicit BfdProgrammer(const ClientInit& client) : client_(client) {}

   void processSbfdEchoSessionRequest(const pb::sbfd_echo_session_msg& request, pb::rpc_status_msg& response);
   void processSbfdEchoSessionBulkRequest(const pb::sbfd_echo_session_bulk_msg& request,
                                          pb::rpc_status_bulk_msg& response);

   // A new epoch begins: a session that is not programmed again before the end is stale.
   void resyncStart();
   void resyncEnd();

   // Generation of sessions, counted by resync starts.
   [[nodiscard]] std::uint32_t epoch() const { return epoch_; }

private:
   const ClientInit& client_;
   std::uint32_t epoch_ = 0;
};

}  // namespace OrvSdkRpc
