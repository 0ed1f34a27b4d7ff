#include "FakeServer.h"

#include <grpcpp/ext/proto_server_reflection_plugin.h>

#include <algorithm>

#include "orvctl/JsonText.h"
#include "orvctl/Values.h"

namespace orvctl::test {
namespace {

// The reflection library adds its plugin to every server of a process that it is linked into.
class WithoutReflection final : public grpc::ServerBuilderOption {
public:
   void UpdateArguments(grpc::ChannelArguments*) override {}
   void UpdatePlugins(std::vector<std::unique_ptr<grpc::ServerBuilderPlugin>>* plugins) override {
      std::erase_if(*plugins, [](const auto& plugin) { return plugin->name() == "proto_server_reflection"; });
   }
};

}  // namespace

FakeServer::~FakeServer() {
   stop();
}

void FakeServer::start() {
   grpc::reflection::InitProtoReflectionServerBuilderPlugin();
   grpc::ServerBuilder builder;
   builder.AddListeningPort(target(), grpc::InsecureServerCredentials());
   builder.RegisterService(this);
   builder.RegisterCallbackGenericService(&mirror);
   if (!reflection) builder.SetOption(std::make_unique<WithoutReflection>());
   server_ = builder.BuildAndStart();
   if (!server_) throw std::runtime_error("the fake server cannot listen on " + target());
}

void FakeServer::stop() {
   {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
      changed_.notify_all();
   }
   if (server_) server_->Shutdown(std::chrono::system_clock::now());
   server_.reset();
}

std::vector<std::string> FakeServer::requests() const {
   const std::lock_guard lock(mutex_);
   return requests_;
}

void FakeServer::waitForWatches(int count) {
   std::unique_lock lock(mutex_);
   changed_.wait(lock, [&] { return watches_ >= count; });
}

void FakeServer::waitForEnd(grpc::ServerContext* context) {
   std::unique_lock lock(mutex_);
   while (!stopping_ && !context->IsCancelled())
      changed_.wait_for(lock, std::chrono::milliseconds(5));
}

template <typename Request>
grpc::Status FakeServer::record(const std::string& method, const Request& request,
                                grpc::ServerContext* context) {
   {
      const std::lock_guard lock(mutex_);
      requests_.push_back(method + " " + messageToJson(request));
   }
   if (hang) waitForEnd(context);
   const bool missing = std::find(unimplemented.begin(), unimplemented.end(), method) != unimplemented.end();
   return missing ? grpc::Status(grpc::StatusCode::UNIMPLEMENTED, "") : grpc::Status::OK;
}

grpc::Status FakeServer::rpc_server_init(grpc::ServerContext* context,
                                         const pb::rpc_server_config_msg* request,
                                         pb::rpc_server_init_status_msg* reply) {
   *reply = initReply;
   return record("rpc_server_init", *request, context);
}

grpc::Status FakeServer::rpc_server_resync(grpc::ServerContext* context,
                                           const pb::rpc_server_resync_msg* request,
                                           pb::rpc_status_msg* reply) {
   *reply = statusReply;
   return record("rpc_server_resync", *request, context);
}

grpc::Status FakeServer::rpc_server_state(grpc::ServerContext* context,
                                          const pb::rpc_server_state_config_msg* request,
                                          pb::rpc_status_msg* reply) {
   *reply = statusReply;
   return record("rpc_server_state", *request, context);
}

grpc::Status FakeServer::get_rpc_server_state(grpc::ServerContext* context,
                                              const pb::rpc_server_state_status_msg* request,
                                              pb::rpc_server_state_status_msg* reply) {
   for (const auto& pair : request->key_value_pairs()) {
      auto* answered = reply->add_key_value_pairs();
      answered->set_key(pair.key());
      answered->set_value("value of " + pair.key());
      if (truncateNotes) break;
   }
   return record("get_rpc_server_state", *request, context);
}

grpc::Status FakeServer::nexthop_group(grpc::ServerContext* context, const pb::nexthop_group_msg* request,
                                       pb::rpc_status_msg* reply) {
   *reply = answer(request->name());
   return record("nexthop_group", *request, context);
}

grpc::Status FakeServer::nexthop_group_bulk(grpc::ServerContext* context,
                                            const pb::nexthop_group_bulk_msg* request,
                                            pb::rpc_status_bulk_msg* reply) {
   for (const auto& item : request->bulk())
      *reply->add_statuses() = answer(item.name());
   return record("nexthop_group_bulk", *request, context);
}

grpc::Status FakeServer::ip_route(grpc::ServerContext* context, const pb::ip_route_msg* request,
                                  pb::rpc_status_msg* reply) {
   *reply = answer(prefixText(request->prefix()));
   return record("ip_route", *request, context);
}

grpc::Status FakeServer::ip_route_bulk(grpc::ServerContext* context, const pb::ip_route_bulk_msg* request,
                                       pb::rpc_status_bulk_msg* reply) {
   for (const auto& item : request->bulk())
      *reply->add_statuses() = answer(prefixText(item.prefix()));
   return record("ip_route_bulk", *request, context);
}

grpc::Status FakeServer::mpls_route(grpc::ServerContext* context, const pb::mpls_route_msg* request,
                                    pb::rpc_status_msg* reply) {
   *reply = answer("mpls");
   return record("mpls_route", *request, context);
}

grpc::Status FakeServer::mpls_route_bulk(grpc::ServerContext* context, const pb::mpls_route_bulk_msg* request,
                                         pb::rpc_status_bulk_msg* reply) {
   for (const auto& item : request->bulk())
      *reply->add_statuses() = answer("mpls " + std::to_string(item.label()));
   return record("mpls_route_bulk", *request, context);
}

grpc::Status FakeServer::nexthop_group_tunnel_bulk(grpc::ServerContext* context,
                                                   const pb::nexthop_group_tunnel_bulk_msg* request,
                                                   pb::rpc_status_bulk_msg* reply) {
   for (const auto& item : request->bulk())
      *reply->add_statuses() = answer("tunnel " + prefixText(item.prefix()));
   return record("nexthop_group_tunnel_bulk", *request, context);
}

grpc::Status FakeServer::nexthop_group_tunnel(grpc::ServerContext* context,
                                              const pb::nexthop_group_tunnel_msg* request,
                                              pb::rpc_status_msg* reply) {
   *reply = answer("tunnel");
   return record("nexthop_group_tunnel", *request, context);
}

grpc::Status FakeServer::watch_rpc_server_alive(grpc::ServerContext* context,
                                                const pb::rpc_server_alive_msg* request,
                                                grpc::ServerWriter<pb::rpc_server_alive_msg>*) {
   const grpc::Status status = record("watch_rpc_server_alive", *request, context);
   if (!status.ok()) return status;
   {
      const std::lock_guard lock(mutex_);
      ++watches_;
      changed_.notify_all();
   }
   waitForEnd(context);
   return grpc::Status::CANCELLED;
}

grpc::Status FakeServer::watch_sbfd_echo_session_status_msgs(
     grpc::ServerContext* context, const pb::watch_sbfd_echo_session_config_msg* request,
     grpc::ServerWriter<pb::watch_sbfd_echo_session_status_msg>* writer) {
   const grpc::Status status = record("watch_sbfd_echo_session_status_msgs", *request, context);
   if (!status.ok()) return status;
   pb::watch_sbfd_echo_session_status_msg message;
   message.set_initial(true);
   if (request->send_initial_message()) writer->Write(message);
   message.Clear();
   message.mutable_key()->set_nexthop_intf("Ethernet1");
   message.mutable_oper_status()->set_status(pb::sbfd_echo_session_oper_status_msg::SBFD_OPER_STATUS_UP);
   writer->Write(message);
   return grpc::Status::OK;
}

}  // namespace orvctl::test
