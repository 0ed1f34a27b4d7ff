#include "AckLatency.h"

#include <grpcpp/grpcpp.h>

#include <chrono>
#include <memory>
#include <stdexcept>

#include "OrvSdkRpcProtos/mpls_route.grpc.pb.h"
#include "OrvSdkRpcProtos/nexthop_group.grpc.pb.h"

namespace bench {
namespace {

namespace rpc = orv::remote;
using Clock = std::chrono::steady_clock;

constexpr const char* groupName = "acknowledged";

void require(const grpc::Status& status) {
   if (!status.ok()) throw std::runtime_error(status.error_message());
}

void setGroup(const std::shared_ptr<grpc::Channel>& channel) {
   rpc::NexthopGroupSetRequest request;
   request.mutable_nexthop_group()->set_name(groupName);
   request.mutable_nexthop_group()->set_type(rpc::NEXTHOP_GROUP_ENCAP_TYPES_MPLS);
   (*request.mutable_nexthop_group()->mutable_nexthops())[0].set_nexthop(std::string("\x0a\0\0\x01", 4));
   // Only a group with a version is acknowledged.
   request.set_version_id(1);
   grpc::ClientContext context;
   rpc::NexthopGroupSetResponse response;
   require(rpc::NexthopGroupMgrService::NewStub(channel)->nexthop_group_set(&context, request, &response));
}

// An open watch of acknowledgements.
class Acks {
public:
   explicit Acks(rpc::MplsRouteMgrService::Stub& stub) {
      rpc::MplsIntegratedAckRequest request;
      request.set_ack(true);
      reader_ = stub.watch_mpls_integrated(&context_, request);
      do {
         read();
      } while (!message_.ack());
   }
   ~Acks() {
      context_.TryCancel();
      while (reader_->Read(&message_)) {
      }
      reader_->Finish();
   }
   Acks(const Acks&) = delete;
   Acks& operator=(const Acks&) = delete;

   void waitFor(std::uint32_t label) {
      do {
         read();
      } while (message_.mpls_route_via_set_version_info().route_key().labels_size() == 0 ||
               message_.mpls_route_via_set_version_info().route_key().labels(0).label() != label);
      if (message_.mpls_route_via_set_version_info().hw_state() != rpc::FEC_HW_PROGRAMMING_STATE_SUCCESS) {
         throw std::runtime_error("not in hardware: " + message_.ShortDebugString());
      }
   }

private:
   void read() {
      if (!reader_->Read(&message_)) throw std::runtime_error("the watch of acknowledgements has ended");
   }

   grpc::ClientContext context_;
   std::unique_ptr<grpc::ClientReader<rpc::MplsIntegratedAckResponse>> reader_;
   rpc::MplsIntegratedAckResponse message_;
};

void setLabel(rpc::MplsRouteMgrService::Stub& stub, std::uint32_t label) {
   rpc::MplsRouteSetRequest request;
   auto& key = *request.mutable_route()->mutable_key();
   key.add_labels()->set_label(label);
   request.mutable_route()->set_version_id(1);
   auto& via = *request.add_vias();
   via.set_label_action(rpc::MPLS_ACTIONS_FORWARD);
   *via.mutable_route_key() = key;
   via.set_nexthop_group(groupName);
   grpc::ClientContext context;
   rpc::MplsRouteSetResponse response;
   require(stub.mpls_route_set(&context, request, &response));
}

}  // namespace

Histogram ackLatencies(const std::string& target, std::uint32_t first, std::uint32_t untimed,
                       std::uint32_t count) {
   const auto channel = grpc::CreateChannel(target, grpc::InsecureChannelCredentials());
   if (!channel->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(10))) {
      throw std::runtime_error("cannot reach " + target);
   }
   setGroup(channel);
   const auto stub = rpc::MplsRouteMgrService::NewStub(channel);
   Acks acks(*stub);
   Histogram latencies;
   const std::uint32_t timed = first + untimed;
   for (std::uint32_t label = first; label < timed + count; ++label) {
      setLabel(*stub, label);
      const auto replied = Clock::now();
      acks.waitFor(label);
      const std::chrono::nanoseconds took = Clock::now() - replied;
      if (label >= timed) latencies.add(static_cast<std::uint64_t>(took.count()));
   }
   return latencies;
}

}  // namespace bench
