// The floor: a bare asynchronous server with the same messages, which does no work. The daemon is measured
// against it.
//
// It has one completion queue, one thread that drains it, and one heap-allocated handler per call, which
// posts its successor before it answers. Messages are members of the handler, as in gRPC's examples. With
// --arena, the messages of a bulk live on an arena, as in the daemon, which makes freeing them almost free of
// cost. With --stream, it also serves one RPC with a stream of responses, which repeats one message. With
// --mirror-bulks, it also answers the bulks with which the mirror services set routes.
#include <google/protobuf/arena.h>
#include <grpcpp/grpcpp.h>
#include <signal.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <thread>

#include "FloorHandler.h"
#include "FloorStreams.h"
#include "OrvSdkRpcProtos/ip_route.grpc.pb.h"
#include "OrvSdkRpcProtos/mpls_route.grpc.pb.h"
#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"

namespace {

namespace pb = OrvSdkRpc::pb;
namespace rpc = orv::remote;
using Programming = pb::orvsdk_service::AsyncService;

using bench::FloorHandler;

void answer(const auto&, auto&) {}

// As many statuses as the request had items, each of them OK.
template <class Request>
void answer(const Request& request, pb::rpc_status_bulk_msg& response) {
   const int items = request.bulk_size();
   response.mutable_statuses()->Reserve(items);
   for (int i = 0; i < items; ++i)
      response.add_statuses();
}

void answer(const pb::rpc_server_config_msg&, pb::rpc_server_init_status_msg& response) {
   response.mutable_status();
}

void answer(const pb::rpc_server_state_status_msg& request, pb::rpc_server_state_status_msg& response) {
   response = request;
}

// The mirror's reply to a bulk: every item is applied.
template <class Request, class Response>
void applied(const Request& request, Response& response) {
   response.mutable_status();
   response.set_count(static_cast<std::uint64_t>(request.requests_size()));
}

void answer(const rpc::BulkIpRouteSetRequest& request, rpc::BulkIpRouteSetResponse& response) {
   applied(request, response);
}

void answer(const rpc::BulkMplsRouteSetRequest& request, rpc::BulkMplsRouteSetResponse& response) {
   applied(request, response);
}

template <class Request, class Response>
struct MemberMessages {
   Request request;
   Response response;
};

template <class Request, class Response>
struct ArenaMessages {
   google::protobuf::Arena arena;
   Request& request = *google::protobuf::Arena::CreateMessage<Request>(&arena);
   Response& response = *google::protobuf::Arena::CreateMessage<Response>(&arena);
};

template <class Service, class Request, class Response, template <class, class> class Messages>
class UnaryHandler final : public FloorHandler {
public:
   using Method = void (Service::*)(grpc::ServerContext*, Request*,
                                    grpc::ServerAsyncResponseWriter<Response>*, grpc::CompletionQueue*,
                                    grpc::ServerCompletionQueue*, void*);
   UnaryHandler(Service& service, grpc::ServerCompletionQueue& queue, Method method)
        : service_(service), queue_(queue), method_(method), writer_(&context_) {
      (service_.*method_)(&context_, &messages_.request, &writer_, &queue_, &queue_, this);
   }
   void proceed(bool ok) override {
      if (!ok || answered_) {
         delete this;
         return;
      }
      new UnaryHandler(service_, queue_, method_);
      answer(messages_.request, messages_.response);
      answered_ = true;
      writer_.Finish(messages_.response, grpc::Status::OK, this);
   }

private:
   Service& service_;
   grpc::ServerCompletionQueue& queue_;
   Method method_;
   grpc::ServerContext context_;
   Messages<Request, Response> messages_;
   grpc::ServerAsyncResponseWriter<Response> writer_;
   bool answered_ = false;
};

template <template <class, class> class Messages = MemberMessages, class Service, class Request,
          class Response, class Base>
void post(Service& service, grpc::ServerCompletionQueue& queue,
          void (Base::*method)(grpc::ServerContext*, Request*, grpc::ServerAsyncResponseWriter<Response>*,
                               grpc::CompletionQueue*, grpc::ServerCompletionQueue*, void*)) {
   new UnaryHandler<Service, Request, Response, Messages>(service, queue, method);
}

template <template <class, class> class BulkMessages>
void postBulks(Programming& service, grpc::ServerCompletionQueue& queue) {
   post<BulkMessages>(service, queue, &Programming::Requestnexthop_group_bulk);
   post<BulkMessages>(service, queue, &Programming::Requestip_route_bulk);
   post<BulkMessages>(service, queue, &Programming::Requestnexthop_group_tunnel_bulk);
   post<BulkMessages>(service, queue, &Programming::Requestmpls_route_bulk);
}

void postSingles(Programming& service, grpc::ServerCompletionQueue& queue) {
   post(service, queue, &Programming::Requestrpc_server_init);
   post(service, queue, &Programming::Requestrpc_server_resync);
   post(service, queue, &Programming::Requestrpc_server_state);
   post(service, queue, &Programming::Requestget_rpc_server_state);
   post(service, queue, &Programming::Requestnexthop_group);
   post(service, queue, &Programming::Requestip_route);
   post(service, queue, &Programming::Requestnexthop_group_tunnel);
   post(service, queue, &Programming::Requestmpls_route);
}

// The services of the mirror whose bulks the floor answers.
struct Mirror {
   rpc::IpRouteMgrService::AsyncService ipRoutes;
   rpc::MplsRouteMgrService::AsyncService mplsRoutes;

   void registerWith(grpc::ServerBuilder& builder) {
      builder.RegisterService(&ipRoutes);
      builder.RegisterService(&mplsRoutes);
   }
   template <template <class, class> class BulkMessages>
   void post(grpc::ServerCompletionQueue& queue) {
      ::post<BulkMessages>(ipRoutes, queue, &rpc::IpRouteMgrService::AsyncService::Requestbulk_ip_route_set);
      ::post<BulkMessages>(mplsRoutes, queue,
                           &rpc::MplsRouteMgrService::AsyncService::Requestbulk_mpls_route_set);
   }
};

}  // namespace

int main(int argc, char** argv) {
   CLI::App app("A bare asynchronous server that accepts everything and does nothing");
   std::string address;
   app.add_option("--listen", address, "Address to listen on, as gRPC writes it")->required();
   bool arena = false;
   app.add_flag("--arena", arena, "Keep the messages of a bulk on an arena");
   bench::FloorStreamOptions stream;
   auto* message = app.add_option("--message", stream.messageFile, "File with the message that is streamed");
   auto* streamed = app.add_option("--stream", stream.rpc, "Serve this stream too")
                         ->check(CLI::IsMember(bench::FloorStreams::names()))
                         ->needs(message);
   app.add_option("--count", stream.count, "Messages in a list or a dump");
   app.add_flag("--fresh", stream.fresh, "Make each batch anew");
   bool mirrorBulks = false;
   // A server can have each service only once, and the streams have theirs.
   app.add_flag("--mirror-bulks", mirrorBulks, "Answer the mirror's bulks of routes and labels too")
        ->excludes(streamed);
   CLI11_PARSE(app, argc, argv);

   sigset_t ends;
   sigemptyset(&ends);
   sigaddset(&ends, SIGTERM);
   sigaddset(&ends, SIGINT);
   // Blocked before any thread exists, so that sigwait below is the only receiver.
   pthread_sigmask(SIG_BLOCK, &ends, nullptr);

   std::unique_ptr<bench::FloorStreams> streams;
   try {
      streams = bench::FloorStreams::make(stream);
   } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      return 2;
   }
   Programming service;
   std::optional<Mirror> mirror;
   if (mirrorBulks) mirror.emplace();
   grpc::ServerBuilder builder;
   builder.AddListeningPort(address, grpc::InsecureServerCredentials());
   builder.RegisterService(&service);
   if (streams) streams->registerWith(builder);
   if (mirror) mirror->registerWith(builder);
   const auto queue = builder.AddCompletionQueue();
   const auto server = builder.BuildAndStart();
   if (!server) {
      std::fprintf(stderr, "cannot listen on %s\n", address.c_str());
      return 2;
   }
   postSingles(service, *queue);
   if (arena) {
      postBulks<ArenaMessages>(service, *queue);
      if (mirror) mirror->post<ArenaMessages>(*queue);
   } else {
      postBulks<MemberMessages>(service, *queue);
      if (mirror) mirror->post<MemberMessages>(*queue);
   }
   if (streams) streams->post(*queue);
   bench::FloorPump pump(*queue);
   std::thread thread([&pump] { pump.run(); });

   int signal = 0;
   sigwait(&ends, &signal);
   pump.stop(*server);
   thread.join();
   return 0;
}
