#include "orvctl/InBand.h"

#include <gtest/gtest.h>

#include "OrvSdkRpcProtos/status.pb.h"

namespace orvctl {
namespace {

namespace pb = OrvSdkRpc::pb;

TEST(InBand, aStatusOtherThanOkIsAFailure) {
   pb::rpc_status_msg status;
   EXPECT_FALSE(hasInBandFailure(status));
   status.set_status(pb::RPC_STATUS_NOT_FOUND);
   EXPECT_TRUE(hasInBandFailure(status));
   status.set_status(static_cast<pb::rpc_status_value_enum>(9));
   EXPECT_TRUE(hasInBandFailure(status));
}

TEST(InBand, aFailureIsFoundAtAnyDepth) {
   pb::rpc_status_bulk_msg bulk;
   bulk.add_statuses();
   bulk.add_statuses();
   EXPECT_FALSE(hasInBandFailure(bulk));
   bulk.mutable_statuses(1)->set_status(pb::RPC_STATUS_ERROR);
   EXPECT_TRUE(hasInBandFailure(bulk));

   pb::rpc_server_init_status_msg init;
   init.set_ip_routes_exist(true);
   EXPECT_FALSE(hasInBandFailure(init));
   init.mutable_status()->set_status(pb::RPC_STATUS_ERROR);
   EXPECT_TRUE(hasInBandFailure(init));
}

TEST(InBand, theMirrorServicesHaveAStatusOfTheirOwn) {
   orv::remote::RpcResponseStatus status;
   EXPECT_FALSE(hasInBandFailure(status));
   status.set_code(orv::remote::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT);
   EXPECT_TRUE(hasInBandFailure(status));
}

TEST(InBand, aStatusInWords) {
   pb::rpc_status_msg status;
   EXPECT_EQ(statusText(status), "RPC_STATUS_OK");
   status.set_status(pb::RPC_STATUS_ERROR);
   status.set_debug_string("no");
   EXPECT_EQ(statusText(status), "RPC_STATUS_ERROR: no");
   status.set_status(static_cast<pb::rpc_status_value_enum>(9));
   EXPECT_EQ(statusText(status), "status 9: no");
}

}  // namespace
}  // namespace orvctl
