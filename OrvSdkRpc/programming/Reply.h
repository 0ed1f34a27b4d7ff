// What the programmers' replies have in common: the status message, its words, and the rule that every
// request of the programming service follows.
//
// Thread-safety: pump thread only, but for toString, which is pure.
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

// A message in one line, as the words of errors and traces show it.
std::string toString(const google::protobuf::Message& message);

// A message as a format argument that becomes text only if the format is used.
struct Lazy {
   const google::protobuf::Message& message;
};

}  // namespace pb

// The tracer of the programming service and its programmers: 0 for refusals, 1 and 2 for ordinary steps.
const orv::tracer& programmingTracer();

// Writes the value and the formatted text, bounded as ErrorText.h says, into a status, and returns the text
// for tracing.
template <class... Args>
const std::string& setReplyStatusWithDebugString(pb::rpc_status_msg& response,
                                                 pb::rpc_status_value_enum value,
                                                 fmt::format_string<Args...> format, Args&&... args) {
   response.set_status(value);
   response.set_debug_string(errorText(fmt::format(format, std::forward<Args>(args)...)));
   return response.debug_string();
}

namespace detail {

void refuseNotInitialized(const google::protobuf::Message& request, pb::rpc_status_msg& response);
void reportException(const google::protobuf::Message& request, const orv::error& e,
                     pb::rpc_status_msg& response);

}  // namespace detail

// Serves one request: refuses before init, else runs `work(std::string& words)`, whose result is the
// status value and whose text, if any, becomes the debug string. An orv::error becomes RPC_STATUS_ERROR with
// its words.
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

// Serves the items of a bulk in order, one entry each; nothing stops at a failed item and nothing is undone.
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
