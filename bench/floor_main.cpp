// The floor: a bare asynchronous server behind the same messages that does no
// work. What a daemon reaches is measured against it.
//
// One completion queue, one thread that drains it, one heap-allocated handler
// per call that posts its successor before it answers.
#include <grpcpp/grpcpp.h>
#include <signal.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <thread>

#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"

namespace {

namespace pb = OrvSdkRpc::pb;
using Service = pb::orvsdk_service::AsyncService;

class Handler {
public:
   virtual ~Handler() = default;
   // Deletes itself after its last event.
   virtual void proceed(bool ok) = 0;
};

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

template <class Request, class Response>
class UnaryHandler final : public Handler {
public:
   using Method = void (Service::*)(grpc::ServerContext*, Request*,
                                    grpc::ServerAsyncResponseWriter<Response>*, grpc::CompletionQueue*,
                                    grpc::ServerCompletionQueue*, void*);
   UnaryHandler(Service& service, grpc::ServerCompletionQueue& queue, Method method)
        : service_(service), queue_(queue), method_(method), writer_(&context_) {
      (service_.*method_)(&context_, &request_, &writer_, &queue_, &queue_, this);
   }
   void proceed(bool ok) override {
      if (!ok || answered_) {
         delete this;
         return;
      }
      new UnaryHandler(service_, queue_, method_);
      answer(request_, response_);
      answered_ = true;
      writer_.Finish(response_, grpc::Status::OK, this);
   }

private:
   Service& service_;
   grpc::ServerCompletionQueue& queue_;
   Method method_;
   grpc::ServerContext context_;
   Request request_;
   Response response_;
   grpc::ServerAsyncResponseWriter<Response> writer_;
   bool answered_ = false;
};

template <class Request, class Response, class Base>
void post(Service& service, grpc::ServerCompletionQueue& queue,
          void (Base::*method)(grpc::ServerContext*, Request*, grpc::ServerAsyncResponseWriter<Response>*,
                               grpc::CompletionQueue*, grpc::ServerCompletionQueue*, void*)) {
   new UnaryHandler<Request, Response>(service, queue, method);
}

void postAll(Service& service, grpc::ServerCompletionQueue& queue) {
   post(service, queue, &Service::Requestrpc_server_init);
   post(service, queue, &Service::Requestrpc_server_resync);
   post(service, queue, &Service::Requestrpc_server_state);
   post(service, queue, &Service::Requestget_rpc_server_state);
   post(service, queue, &Service::Requestnexthop_group);
   post(service, queue, &Service::Requestnexthop_group_bulk);
   post(service, queue, &Service::Requestip_route);
   post(service, queue, &Service::Requestip_route_bulk);
   post(service, queue, &Service::Requestnexthop_group_tunnel);
   post(service, queue, &Service::Requestnexthop_group_tunnel_bulk);
   post(service, queue, &Service::Requestmpls_route);
   post(service, queue, &Service::Requestmpls_route_bulk);
}

void pump(grpc::ServerCompletionQueue& queue) {
   void* tag = nullptr;
   bool ok = false;
   while (queue.Next(&tag, &ok))
      static_cast<Handler*>(tag)->proceed(ok);
}

}  // namespace

int main(int argc, char** argv) {
   CLI::App app("A bare asynchronous server that accepts everything and does nothing");
   std::string address;
   app.add_option("--listen", address, "Address to listen on, as gRPC writes it")->required();
   CLI11_PARSE(app, argc, argv);

   sigset_t ends;
   sigemptyset(&ends);
   sigaddset(&ends, SIGTERM);
   sigaddset(&ends, SIGINT);
   // Blocked before any thread exists, so that sigwait below is the only receiver.
   pthread_sigmask(SIG_BLOCK, &ends, nullptr);

   Service service;
   grpc::ServerBuilder builder;
   builder.AddListeningPort(address, grpc::InsecureServerCredentials());
   builder.RegisterService(&service);
   const auto queue = builder.AddCompletionQueue();
   const auto server = builder.BuildAndStart();
   if (!server) {
      std::fprintf(stderr, "cannot listen on %s\n", address.c_str());
      return 2;
   }
   postAll(service, *queue);
   std::thread thread([&queue] { pump(*queue); });

   int signal = 0;
   sigwait(&ends, &signal);
   server->Shutdown(std::chrono::system_clock::now());
   queue->Shutdown();
   thread.join();
   return 0;
}
