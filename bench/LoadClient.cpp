#include "LoadClient.h"

#include <grpcpp/create_channel.h>
#include <grpcpp/security/credentials.h>
#include <sys/resource.h>

#include <cstring>
#include <stdexcept>

#include "OrvSdkRpcProtos/ip_route.pb.h"
#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"

namespace bench {

namespace pb = OrvSdkRpc::pb;

namespace {

using Clock = std::chrono::steady_clock;

struct Call {
   std::optional<grpc::ClientContext> context;
   std::unique_ptr<grpc::GenericClientAsyncResponseReader> reader;
   grpc::Status status;
   grpc::ByteBuffer reply;
   Clock::time_point sent;
};

double cpuSeconds() {
   rusage usage{};
   ::getrusage(RUSAGE_SELF, &usage);
   const auto seconds = [](const timeval& time) {
      return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
   };
   return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

std::string bytesOf(const grpc::ByteBuffer& buffer) {
   std::vector<grpc::Slice> slices;
   std::string bytes;
   if (buffer.Dump(&slices).ok()) {
      for (const auto& slice : slices)
         bytes.append(reinterpret_cast<const char*>(slice.begin()), slice.size());
   }
   return bytes;
}

bool sameBytes(const grpc::ByteBuffer& buffer, const std::string& expected) {
   if (buffer.Length() != expected.size()) return false;
   grpc::Slice slice;
   if (buffer.TrySingleSlice(&slice).ok())
      return std::memcmp(slice.begin(), expected.data(), slice.size()) == 0;
   return bytesOf(buffer) == expected;
}

// RETURNS: the status text of the first item that was not accepted.
std::string complaint(const Workload& workload, const grpc::ByteBuffer& reply) {
   const auto bytes = bytesOf(reply);
   if (workload.itemsPerRequest() == 1) {
      pb::rpc_status_msg status;
      if (status.ParseFromString(bytes)) return status.ShortDebugString();
   }
   if (workload.method().starts_with("/orv.remote.")) {
      // All bulks of the mirror services have the same reply.
      orv::remote::BulkIpRouteSetResponse applied;
      if (applied.ParseFromString(bytes)) return applied.ShortDebugString();
   }
   pb::rpc_status_bulk_msg statuses;
   if (statuses.ParseFromString(bytes)) {
      for (const auto& status : statuses.statuses()) {
         if (status.status() != pb::RPC_STATUS_OK) return status.ShortDebugString();
      }
      return std::to_string(statuses.statuses_size()) + " statuses";
   }
   return "a reply that does not parse";
}

void requireOk(const char* name, const grpc::Status& status, const pb::rpc_status_msg& reply) {
   if (!status.ok()) throw std::runtime_error(std::string(name) + ": " + status.error_message());
   if (reply.status() != pb::RPC_STATUS_OK) {
      throw std::runtime_error(std::string(name) + ": " + reply.ShortDebugString());
   }
}

}  // namespace

LoadClient::LoadClient(const std::string& target, std::chrono::milliseconds patience)
     : channel_(grpc::CreateChannel(target, grpc::InsecureChannelCredentials())), stub_(channel_) {
   if (!channel_->WaitForConnected(std::chrono::system_clock::now() + patience)) {
      throw std::runtime_error("cannot reach " + target);
   }
}

void LoadClient::init(const std::string& policyMap) {
   grpc::ClientContext context;
   pb::rpc_server_config_msg request;
   request.set_cbf_nexthop_group_redirect_policy_map_name(policyMap);
   pb::rpc_server_init_status_msg reply;
   const auto status = pb::orvsdk_service::NewStub(channel_)->rpc_server_init(&context, request, &reply);
   requireOk("rpc_server_init", status, reply.status());
}

void LoadClient::resyncStart() {
   resync(pb::rpc_server_resync_msg::RESYNC_START);
}

void LoadClient::resyncEnd() {
   resync(pb::rpc_server_resync_msg::RESYNC_END);
}

void LoadClient::resync(int phase) {
   grpc::ClientContext context;
   pb::rpc_server_resync_msg request;
   request.set_resync_phase(static_cast<pb::rpc_server_resync_msg::resync_phase_enum>(phase));
   pb::rpc_status_msg reply;
   const auto status = pb::orvsdk_service::NewStub(channel_)->rpc_server_resync(&context, request, &reply);
   requireOk("rpc_server_resync", status, reply);
}

LoadResult LoadClient::run(Workload& workload, std::size_t inFlight, Limit limit) {
   if (inFlight == 0 || (limit.requests == 0 && limit.duration.count() == 0)) {
      throw std::invalid_argument("a run needs calls in flight and an end");
   }
   LoadResult result;
   if (limit.requests) result.repliesAt.reserve(limit.requests);
   std::vector<Call> calls(inFlight);
   std::uint64_t sent = 0;
   std::size_t outstanding = 0;
   std::string failure;

   const auto send = [&](Call& call, Clock::time_point now) {
      call.context.emplace();
      call.sent = now;
      call.reader = stub_.PrepareUnaryCall(&*call.context, workload.method(), workload.next(), &queue_);
      call.reader->StartCall();
      call.reader->Finish(&call.reply, &call.status, &call);
      ++sent;
      ++outstanding;
   };
   const auto mayGoOn = [&](Clock::duration elapsed) {
      return failure.empty() && (limit.requests == 0 || sent < limit.requests) &&
             (limit.duration.count() == 0 || elapsed < limit.duration);
   };

   const double cpuBefore = cpuSeconds();
   const auto start = Clock::now();
   result.started = start;
   auto last = start;
   for (auto& call : calls) {
      if (mayGoOn(Clock::duration(0))) send(call, Clock::now());
   }
   while (outstanding > 0) {
      void* tag = nullptr;
      bool ok = false;
      if (!queue_.Next(&tag, &ok)) throw std::runtime_error("the completion queue is down");
      auto& call = *static_cast<Call*>(tag);
      --outstanding;
      last = Clock::now();
      if (!call.status.ok()) {
         if (failure.empty()) failure = workload.method() + ": " + call.status.error_message();
      } else if (!sameBytes(call.reply, workload.expectedReply())) {
         if (failure.empty()) failure = workload.method() + ": " + complaint(workload, call.reply);
      } else {
         result.items += workload.itemsPerRequest();
         result.latency.add(static_cast<std::uint64_t>((last - call.sent).count()));
         if (limit.requests) result.repliesAt.push_back(static_cast<std::uint64_t>((last - start).count()));
      }
      call.reply.Clear();
      if (mayGoOn(last - start)) send(call, last);
   }
   if (!failure.empty()) throw std::runtime_error(failure);
   result.seconds = std::chrono::duration<double>(last - start).count();
   result.clientCpuSeconds = cpuSeconds() - cpuBefore;
   return result;
}

}  // namespace bench
