// The types of an RPC, deduced from the generated member function that requests its next call:
//
//    &Generated::AsyncService::Request<rpc name>
//
// Every definition of an RPC names that member as `method`; the message types follow from it.
//
// Thread-safety: types only.
#pragma once

#include <grpcpp/completion_queue.h>
#include <grpcpp/server_context.h>
#include <grpcpp/support/async_stream.h>
#include <grpcpp/support/async_unary_call.h>

namespace OrvSdkRpc {

template <class Service, class Rq, class Rp>
using UnaryMethod = void (Service::*)(grpc::ServerContext*, Rq*, grpc::ServerAsyncResponseWriter<Rp>*,
                                      grpc::CompletionQueue*, grpc::ServerCompletionQueue*, void*);
template <class Service, class Rq, class Rp>
using StreamMethod = void (Service::*)(grpc::ServerContext*, Rq*, grpc::ServerAsyncWriter<Rp>*,
                                       grpc::CompletionQueue*, grpc::ServerCompletionQueue*, void*);

namespace detail {

template <class Method>
struct MethodTypes;

template <class S, class Rq, class Rp>
struct MethodTypes<UnaryMethod<S, Rq, Rp>> {
   using Service = S;
   using Request = Rq;
   using Response = Rp;
   static constexpr bool streaming = false;
};

template <class S, class Rq, class Rp>
struct MethodTypes<StreamMethod<S, Rq, Rp>> {
   using Service = S;
   using Request = Rq;
   using Response = Rp;
   static constexpr bool streaming = true;
};

}  // namespace detail

// Service, Request, Response and streaming of one RPC.
template <auto method>
struct MethodTraits : detail::MethodTypes<decltype(method)> {};

// A structure that defines the RPC of its member `method`.
template <class Definition>
concept DefinesRpc = requires {
   typename MethodTraits<Definition::method>::Request;
};

// The simplest base of a definition: the method and its message types.
template <auto requestMethod>
struct RpcOf {
   static constexpr auto method = requestMethod;
   using Request = typename MethodTraits<requestMethod>::Request;
   using Response = typename MethodTraits<requestMethod>::Response;
};

}  // namespace OrvSdkRpc
