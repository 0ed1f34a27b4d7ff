#include "FloorStreams.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "OrvSdkRpcProtos/agent.grpc.pb.h"
#include "OrvSdkRpcProtos/intf.grpc.pb.h"
#include "OrvSdkRpcProtos/intf_counter.grpc.pb.h"
#include "OrvSdkRpcProtos/ip_route.grpc.pb.h"
#include "OrvSdkRpcProtos/mpls_route.grpc.pb.h"
#include "OrvSdkRpcProtos/nexthop_group.grpc.pb.h"
#include "OrvSdkRpcProtos/policy_map_counters.grpc.pb.h"

namespace bench {
namespace {

namespace rpc = orv::remote;

// What all streams of one RPC have in common.
template <class Response>
struct Script {
   Response message = {};
   // Follows the messages of a dump; may be null.
   const Response* last = nullptr;
   // 0: no limit.
   std::uint64_t count = 0;
   // Every write except the first may be buffered until the next one, as in a list.
   bool buffered = false;
   // Every write sends a new copy.
   bool fresh = false;
};

template <class Service, class Request, class Response>
class StreamHandler final : public FloorHandler {
public:
   using Method = void (Service::*)(grpc::ServerContext*, Request*, grpc::ServerAsyncWriter<Response>*,
                                    grpc::CompletionQueue*, grpc::ServerCompletionQueue*, void*);

   StreamHandler(Service& service, grpc::ServerCompletionQueue& queue, Method method,
                 const Script<Response>& script)
        : service_(service), queue_(queue), method_(method), script_(script), writer_(&context_) {
      if (script.buffered) options_.set_buffer_hint();
      (service_.*method_)(&context_, &request_, &writer_, &queue_, &queue_, this);
   }

   void proceed(bool ok) override {
      if (!ok || finished_) {
         delete this;
         return;
      }
      if (!arrived_) {
         arrived_ = true;
         new StreamHandler(service_, queue_, method_, script_);
      }
      if (script_.count == 0 || written_ < script_.count) {
         write();
      } else if (script_.last && !lastWritten_) {
         lastWritten_ = true;
         writer_.Write(*script_.last, this);
      } else {
         finished_ = true;
         writer_.Finish(grpc::Status::OK, this);
      }
   }

private:
   void write() {
      if (script_.fresh) {
         writer_.Write(Response(script_.message), this);
      } else if (written_++ == 0) {
         writer_.Write(script_.message, this);
      } else {
         writer_.Write(script_.message, options_, this);
      }
   }

   Service& service_;
   grpc::ServerCompletionQueue& queue_;
   Method method_;
   const Script<Response>& script_;
   grpc::ServerContext context_;
   Request request_;
   grpc::ServerAsyncWriter<Response> writer_;
   grpc::WriteOptions options_;
   std::uint64_t written_ = 0;
   bool arrived_ = false;
   bool lastWritten_ = false;
   bool finished_ = false;
};

template <class Rpc, class Request, class Response>
class Streams final : public FloorStreams {
public:
   using Service = typename Rpc::AsyncService;
   using Method = typename StreamHandler<Service, Request, Response>::Method;

   Streams(Method method, Script<Response> script) : method_(method), script_(std::move(script)) {}
   void registerWith(grpc::ServerBuilder& builder) override { builder.RegisterService(&service_); }
   void post(grpc::ServerCompletionQueue& queue) override {
      new StreamHandler<Service, Request, Response>(service_, queue, method_, script_);
   }

private:
   Service service_;
   Method method_;
   const Script<Response> script_;
};

template <class Message>
Message read(const std::string& path) {
   std::ifstream file(path, std::ios::binary);
   std::ostringstream bytes;
   bytes << file.rdbuf();
   Message message;
   if (!file || !message.ParseFromString(bytes.str())) {
      throw std::runtime_error(path + " does not hold a " + message.GetTypeName());
   }
   return message;
}

// RETURNS: the streams of `method`, an RPC of service `Rpc`; `script` without the message, which is in
// `file`.
template <class Rpc, class Base, class Request, class Response>
std::unique_ptr<FloorStreams> streams(void (Base::*method)(grpc::ServerContext*, Request*,
                                                           grpc::ServerAsyncWriter<Response>*,
                                                           grpc::CompletionQueue*,
                                                           grpc::ServerCompletionQueue*, void*),
                                      const std::string& file, Script<Response> script) {
   script.message = read<Response>(file);
   return std::make_unique<Streams<Rpc, Request, Response>>(method, std::move(script));
}

const rpc::WatchIntfResponse& dumpEnd() {
   static const rpc::WatchIntfResponse ack = [] {
      rpc::WatchIntfResponse message;
      message.set_ack(true);
      return message;
   }();
   return ack;
}

}  // namespace

std::vector<std::string> FloorStreams::names() {
   return {"list", "routes", "dump", "watch", "labels", "acks", "rates", "policies"};
}

std::unique_ptr<FloorStreams> FloorStreams::make(const FloorStreamOptions& options) {
   const auto& file = options.messageFile;
   if (options.rpc == "list") {
      using Rpc = rpc::NexthopGroupMgrService;
      return streams<Rpc>(&Rpc::AsyncService::Requestnexthop_groups, file,
                          {.count = options.count, .buffered = true});
   }
   if (options.rpc == "routes") {
      using Rpc = rpc::IpRouteMgrService;
      return streams<Rpc>(&Rpc::AsyncService::Requestip_routes, file,
                          {.count = options.count, .buffered = true});
   }
   if (options.rpc == "dump") {
      using Rpc = rpc::IntfMgrService;
      return streams<Rpc>(&Rpc::AsyncService::Requestwatch, file,
                          {.last = &dumpEnd(), .count = options.count});
   }
   if (options.rpc == "watch") {
      using Rpc = rpc::AgentService;
      return streams<Rpc>(&Rpc::AsyncService::Requestwatch, file, {});
   }
   if (options.rpc == "labels") {
      using Rpc = rpc::MplsRouteMgrService;
      return streams<Rpc>(&Rpc::AsyncService::Requestwatch, file, {});
   }
   if (options.rpc == "acks") {
      using Rpc = rpc::MplsRouteMgrService;
      return streams<Rpc>(&Rpc::AsyncService::Requestwatch_mpls_integrated, file, {});
   }
   if (options.rpc == "rates") {
      using Rpc = rpc::IntfCounterMgrService;
      return streams<Rpc>(&Rpc::AsyncService::Requestintf_traffic_rates_stream, file,
                          {.fresh = options.fresh});
   }
   if (options.rpc == "policies") {
      using Rpc = rpc::PolicyMapCountersService;
      return streams<Rpc>(&Rpc::AsyncService::Requestwatch_policy_map_counters, file,
                          {.fresh = options.fresh});
   }
   return nullptr;
}

}  // namespace bench
