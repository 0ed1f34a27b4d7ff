// A simple controller of the programming service: it makes one call at a time and checks every reply.
//
// Thread-safety: one thread at a time.
#pragma once

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"

namespace orvtest {

namespace pb = OrvSdkRpc::pb;

// The call itself failed: the server has gone away or never ran. Whether it processed the request is unknown.
class CallBroke : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

class Controller {
public:
   // Connects lazily to "unix://…" over a connection of its own.
   explicit Controller(const std::string& address,
                       std::chrono::milliseconds deadline = std::chrono::seconds(30));

   // THROWS: CallBroke when the call fails.
   pb::rpc_server_init_status_msg init(const pb::rpc_server_config_msg& request = {});
   pb::rpc_status_msg resync(pb::rpc_server_resync_msg::resync_phase_enum phase);
   std::vector<pb::rpc_status_msg> routes(const pb::ip_route_bulk_msg& request);
   std::vector<pb::rpc_status_msg> groups(const pb::nexthop_group_bulk_msg& request);
   pb::rpc_status_msg notes(const pb::rpc_server_state_config_msg& request);
   pb::rpc_server_state_status_msg notes(const pb::rpc_server_state_status_msg& request);

private:
   template <class Request, class Response>
   Response call(const char* name,
                 grpc::Status (pb::orvsdk_service::Stub::*method)(grpc::ClientContext*, const Request&,
                                                                  Response*),
                 const Request& request);

   std::shared_ptr<grpc::Channel> channel_;
   std::unique_ptr<pb::orvsdk_service::Stub> stub_;
   std::chrono::milliseconds deadline_;
};

// THROWS: std::runtime_error with the message of the first refusal, unless there are `count` statuses and
// each is OK.
void requireAllOk(const std::vector<pb::rpc_status_msg>& statuses, std::size_t count);

}  // namespace orvtest
