// The controller's opaque state: key/value strings that the server stores as agent status and does not
// interpret.
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

   // Sets run before deletes. After a failure, earlier changes stay.
   void processOpaqueStateSetRequest(const pb::rpc_server_state_config_msg& request,
                                     pb::rpc_status_msg& response);

   // Works before init, too. The reply has no status: after a failure it holds the pairs read so far.
   void processOpaqueStateGetRequest(const pb::rpc_server_state_status_msg& request,
                                     pb::rpc_server_state_status_msg& response);

private:
   const ClientInit& client_;
   orv::agent_mgr* const mgr_;
};

}  // namespace OrvSdkRpc
