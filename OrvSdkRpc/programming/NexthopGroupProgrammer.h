// Writes and deletes next-hop groups.
//
// Thread-safety: pump thread only.
//
// A write replaces the whole group. There is no state here: the SDK stores the groups and performs the
// resync.
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

   // Both may fill the error text.
   // REQUIRES: the caller holds the SDK's lock.
   // RETURNS: the status value.
   // THROWS: orv::error.
   int addUpdateNhg(const pb::nexthop_group_msg& request, std::string& errorText);
   int deleteNhg(const pb::nexthop_group_msg& request, std::string& errorText);

private:
   const ClientInit& client_;
   orv::nexthop_group_mgr* const mgr_;
};

}  // namespace OrvSdkRpc
