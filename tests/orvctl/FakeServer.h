// A gRPC server that records its requests and answers them as the test has set.
//
// Thread-safety: the setters before start(); the readers from any thread.
#pragma once

#include <grpcpp/grpcpp.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "FakeMirror.h"
#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"
#include "testing/base/TempDir.h"

namespace orvctl::test {

namespace pb = OrvSdkRpc::pb;

class FakeServer final : private pb::orvsdk_service::Service {
public:
   FakeServer() = default;
   ~FakeServer() override;

   // The replies to the next requests; OK where nothing is set.
   pb::rpc_server_init_status_msg initReply;
   pb::rpc_status_msg statusReply;
   // Answers an item of a bulk, and a single route or group.
   std::function<pb::rpc_status_msg(const std::string& item)> itemReply;
   // The names of RPCs that end with UNIMPLEMENTED.
   std::vector<std::string> unimplemented;
   bool reflection = false;
   // Returns fewer notes than were asked for.
   bool truncateNotes = false;
   // Calls block until stop().
   bool hang = false;
   // What the mirror services answer.
   FakeMirror mirror;

   void start();
   // Cancels all open calls.
   void stop();
   std::string target() const { return "unix:" + directory_.path() + "/rpc.sock"; }

   // "method request-in-one-line", in order.
   std::vector<std::string> requests() const;
   // Blocks until `count` alive watches are open.
   void waitForWatches(int count);

private:
   template <typename Request>
   grpc::Status record(const std::string& method, const Request& request, grpc::ServerContext* context);
   pb::rpc_status_msg answer(const std::string& item) const {
      return itemReply ? itemReply(item) : statusReply;
   }

   grpc::Status rpc_server_init(grpc::ServerContext*, const pb::rpc_server_config_msg*,
                                pb::rpc_server_init_status_msg*) override;
   grpc::Status rpc_server_resync(grpc::ServerContext*, const pb::rpc_server_resync_msg*,
                                  pb::rpc_status_msg*) override;
   grpc::Status rpc_server_state(grpc::ServerContext*, const pb::rpc_server_state_config_msg*,
                                 pb::rpc_status_msg*) override;
   grpc::Status get_rpc_server_state(grpc::ServerContext*, const pb::rpc_server_state_status_msg*,
                                     pb::rpc_server_state_status_msg*) override;
   grpc::Status nexthop_group(grpc::ServerContext*, const pb::nexthop_group_msg*,
                              pb::rpc_status_msg*) override;
   grpc::Status nexthop_group_bulk(grpc::ServerContext*, const pb::nexthop_group_bulk_msg*,
                                   pb::rpc_status_bulk_msg*) override;
   grpc::Status ip_route(grpc::ServerContext*, const pb::ip_route_msg*, pb::rpc_status_msg*) override;
   grpc::Status ip_route_bulk(grpc::ServerContext*, const pb::ip_route_bulk_msg*,
                              pb::rpc_status_bulk_msg*) override;
   grpc::Status mpls_route(grpc::ServerContext*, const pb::mpls_route_msg*, pb::rpc_status_msg*) override;
   grpc::Status mpls_route_bulk(grpc::ServerContext*, const pb::mpls_route_bulk_msg*,
                                pb::rpc_status_bulk_msg*) override;
   grpc::Status nexthop_group_tunnel(grpc::ServerContext*, const pb::nexthop_group_tunnel_msg*,
                                     pb::rpc_status_msg*) override;
   grpc::Status nexthop_group_tunnel_bulk(grpc::ServerContext*, const pb::nexthop_group_tunnel_bulk_msg*,
                                          pb::rpc_status_bulk_msg*) override;
   grpc::Status watch_rpc_server_alive(grpc::ServerContext*, const pb::rpc_server_alive_msg*,
                                       grpc::ServerWriter<pb::rpc_server_alive_msg>*) override;
   grpc::Status watch_sbfd_echo_session_status_msgs(
        grpc::ServerContext*, const pb::watch_sbfd_echo_session_config_msg*,
        grpc::ServerWriter<pb::watch_sbfd_echo_session_status_msg>*) override;

   // Blocks until the call is cancelled or the server stops.
   void waitForEnd(grpc::ServerContext* context);

   orvtest::TempDir directory_;
   std::unique_ptr<grpc::Server> server_;
   mutable std::mutex mutex_;
   std::condition_variable changed_;
   std::vector<std::string> requests_;
   int watches_ = 0;
   bool stopping_ = false;
};

}  // namespace orvctl::test
