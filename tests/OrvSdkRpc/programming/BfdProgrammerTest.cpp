#include "OrvSdkRpc/programming/BfdProgrammer.h"

#include <gtest/gtest.h>

#include "fixture/Contract.h"

namespace OrvSdkRpc {
namespace {

TEST(BfdProgrammer, aRequestIsRefusedAsUninitializedFirst) {
   fixture::Contract contract;
   pb::sbfd_echo_session_msg request;
   request.set_min_tx(300);
   pb::rpc_status_msg response;
   contract.bfd.processSbfdEchoSessionRequest(request, response);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_NOT_INITIALIZED);
   EXPECT_EQ(response.debug_string(), "Error: no prior rpc_server_init call, request min_tx: 300");
}

TEST(BfdProgrammer, everyItemIsToldThatThereAreNoSessionsInThisBuild) {
   fixture::Contract contract;
   contract.init();
   pb::sbfd_echo_session_bulk_msg request;
   request.add_bulk()->set_min_tx(1);
   request.add_bulk()->set_min_tx(2);
   pb::rpc_status_bulk_msg response;
   contract.bfd.processSbfdEchoSessionBulkRequest(request, response);
   ASSERT_EQ(response.statuses_size(), 2);
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.statuses(0).debug_string(), "Error: not available in this build, request min_tx: 1");
   EXPECT_EQ(response.statuses(1).debug_string(), "Error: not available in this build, request min_tx: 2");
}

}  // namespace
}  // namespace OrvSdkRpc
