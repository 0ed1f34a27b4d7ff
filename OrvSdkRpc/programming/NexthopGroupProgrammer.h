// Writes and deletes next-hop groups.
//
// Thread-safety: pump thread only.
//
// A write is a whole replacement, and there is no table here: the SDK is the store, and a resync is the
// SDK's.
#pragma once

#include <string>

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orv {
class nexthop_group_mgr;
}

namespace OrvSdkRpc {

class ClientInit;

class NexthopGroupProgrammer {
public:
   NexthopGroupProgrammer(const ClientInit& client, orv::nexthop_group_mgr* mgr)
        : client_(client), mgr_(mgr) {}

   void processNexthopGroupRequest(const pb::nexthop_group_msg& request, pb::rpc_status_msg& response);
   void processNexthopGroupBulkRequest(const pb::nexthop_group_bulk_msg& request,
                                       pb::rpc_status_bulk_msg& response);

   // Both want the SDK's lock, return the status value and may fill the text; they let orv::error pass.
   int addUpdateNhg(const pb::nexthop_group_msg& request, std::string& errorText);
   int deleteNhg(const pb::nexthop_group_msg& request, std::string& errorText);

private:
   const ClientInit& client_;
   orv::nexthop_group_mgr* const mgr_;
};

}  // namespace OrvSdkRpc
