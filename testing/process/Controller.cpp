#include "testing/process/Controller.h"

#include <grpcpp/grpcpp.h>

namespace orvtest {

Controller::Controller(const std::string& address, std::chrono::milliseconds deadline) : deadline_(deadline) {
   grpc::ChannelArguments arguments;
   arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
   channel_ = grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
   stub_ = pb::orvsdk_service::NewStub(channel_);
}

template <class Request, class Response>
Response Controller::call(const char* name,
                          grpc::Status (pb::orvsdk_service::Stub::*method)(grpc::ClientContext*,
                                                                           const Request&, Response*),
                          const Request& request) {
   grpc::ClientContext context;
   context.set_deadline(std::chrono::system_clock::now() + deadline_);
   Response response;
   const auto status = (stub_.get()->*method)(&context, request, &response);
   if (!status.ok()) throw CallBroke(std::string(name) + ": " + status.error_message());
   return response;
}

pb::rpc_server_init_status_msg Controller::init(const pb::rpc_server_config_msg& request) {
   return call("rpc_server_init", &pb::orvsdk_service::Stub::rpc_server_init, request);
}

pb::rpc_status_msg Controller::resync(pb::rpc_server_resync_msg::resync_phase_enum phase) {
   pb::rpc_server_resync_msg request;
   request.set_resync_phase(phase);
   return call("rpc_server_resync", &pb::orvsdk_service::Stub::rpc_server_resync, request);
}

std::vector<pb::rpc_status_msg> Controller::routes(const pb::ip_route_bulk_msg& request) {
   const auto reply = call("ip_route_bulk", &pb::orvsdk_service::Stub::ip_route_bulk, request);
   return {reply.statuses().begin(), reply.statuses().end()};
}

std::vector<pb::rpc_status_msg> Controller::groups(const pb::nexthop_group_bulk_msg& request) {
   const auto reply = call("nexthop_group_bulk", &pb::orvsdk_service::Stub::nexthop_group_bulk, request);
   return {reply.statuses().begin(), reply.statuses().end()};
}

pb::rpc_status_msg Controller::notes(const pb::rpc_server_state_config_msg& request) {
   return call("rpc_server_state", &pb::orvsdk_service::Stub::rpc_server_state, request);
}

pb::rpc_server_state_status_msg Controller::notes(const pb::rpc_server_state_status_msg& request) {
   return call("get_rpc_server_state", &pb::orvsdk_service::Stub::get_rpc_server_state, request);
}

void requireAllOk(const std::vector<pb::rpc_status_msg>& statuses, std::size_t count) {
   if (statuses.size() != count) {
      throw std::runtime_error(std::to_string(statuses.size()) + " statuses, expected " +
                               std::to_string(count));
   }
   for (std::size_t i = 0; i < count; ++i) {
      if (statuses[i].status() != pb::RPC_STATUS_OK) {
         throw std::runtime_error("item " + std::to_string(i) + ": " + statuses[i].ShortDebugString());
      }
   }
}

}  // namespace orvtest
