// What the programmers share: the status message, its texts, and how a request is served.
//
// Thread-safety: pump thread only, except for toString, Lazy and programmingTracer, which any thread may use.
#pragma once

#include <fmt/format.h>
#include <google/protobuf/message.h>

#include <string>
#include <utility>

#include "OrvSdkRpc/handlers/ErrorText.h"
#include "OrvSdkRpc/programming/ClientInit.h"
#include "OrvSdkRpcProtos/orvsdk.pb.h"
#include "orv/error.h"
#include "orv/tracer.h"

namespace OrvSdkRpc {

namespace pb {

// A message on one line, for error texts and traces.
std::string toString(const google::protobuf::Message& message);

// A message as a format argument, converted to text only if the format is used.
struct Lazy {
   const google::protobuf::Message& message;
};

}  // namespace pb

// The tracer of the programming service and its programmers: level 0 for errors, higher levels for steps.
const orv::tracer& programmingTracer();

// Sets the status to the value and the formatted text, shortened as described in ErrorText.h.
// RETURNS: the text, for tracing.
template <class... Args>
const std::string& setReplyStatusWithDebugString(pb::rpc_status_msg& response,
                                                 pb::rpc_status_value_enum value,
                                                 fmt::format_string<Args...> format, Args&&... args) {
   response.set_status(value);
   response.set_debug_string(errorText(fmt::format(format, std::forward<Args>(args)...)));
   return response.debug_string();
}

// Formats and traces the error text of a request that is refused.
// RETURNS: RPC_STATUS_ERROR.
template <class... Args>
int refuse(std::string& errorText, fmt::format_string<Args...> format, Args&&... args) {
   errorText = fmt::format(format, std::forward<Args>(args)...);
   orv::fmttrace(programmingTracer(), 0, "{}", errorText);
   return pb::RPC_STATUS_ERROR;
}

namespace detail {

void refuseNotInitialized(const google::protobuf::Message& request, pb::rpc_status_msg& response);
void reportException(const google::protobuf::Message& request, const orv::error& e,
                     pb::rpc_status_msg& response);

}  // namespace detail

// Serves one request. Rejects it before init, otherwise calls `work(std::string& words)`: its result is the
// status value, and `words`, if not empty, becomes the debug string. An orv::error becomes RPC_STATUS_ERROR
// with the error's text.
template <class Request, class Work>
void serveRequest(const ClientInit& client, const Request& request, pb::rpc_status_msg& response,
                  Work&& work) {
   if (!client.initialized()) [[unlikely]] {
      detail::refuseNotInitialized(request, response);
      return;
   }
   std::string words;
   try {
      response.set_status(static_cast<pb::rpc_status_value_enum>(std::forward<Work>(work)(words)));
   } catch (const orv::error& e) {
      detail::reportException(request, e, response);
      return;
   }
   if (!words.empty()) response.set_debug_string(errorText(words));
}

// Serves the items of a bulk in order, with one status each. A failed item neither stops the bulk nor undoes
// others.
template <class BulkRequest, class Single>
void serveBulk(const BulkRequest& request, pb::rpc_status_bulk_msg& response, Single&& single) {
   auto& statuses = *response.mutable_statuses();
   statuses.Reserve(request.bulk_size());
   for (const auto& item : request.bulk())
      single(item, *statuses.Add());
}

}  // namespace OrvSdkRpc

template <>
struct fmt::formatter<OrvSdkRpc::pb::Lazy> : fmt::formatter<std::string_view> {
   template <class Context>
   auto format(const OrvSdkRpc::pb::Lazy& lazy, Context& context) const {
      return fmt::formatter<std::string_view>::format(OrvSdkRpc::pb::toString(lazy.message), context);
   }
};
