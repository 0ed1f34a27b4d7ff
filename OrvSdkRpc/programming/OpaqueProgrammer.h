// The controller's own notes: key/value strings that the server keeps, as agent status, without reading them.
//
// Thread-safety: pump thread only.
#pragma once

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orv {
class agent_mgr;
}

namespace OrvSdkRpc {

class ClientInit;

class OpaqueProgrammer {
public:
   OpaqueProgrammer(const ClientInit& client, orv::agent_mgr* mgr) : client_(client), mgr_(mgr) {}

   // Sets run before deletes. What was set before a failure stays.
   void processOpaqueStateSetRequest(const pb::rpc_server_state_config_msg& request,
                                     pb::rpc_status_msg& response);

   // Served before init too. The reply has no status: after a failure it holds the pairs read so far.
   void processOpaqueStateGetRequest(const pb::rpc_server_state_status_msg& request,
                                     pb::rpc_server_state_status_msg& response);

private:
   const ClientInit& client_;
   orv::agent_mgr* const mgr_;
};

}  // namespace OrvSdkRpc
