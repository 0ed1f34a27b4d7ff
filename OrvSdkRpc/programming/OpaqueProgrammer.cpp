#include "OrvSdkRpc/programming/OpaqueProgrammer.h"

#include <cstddef>
#include <string>
#include <utility>

#include "OrvSdkRpc/programming/Reply.h"
#include "orv/agent.h"
#include "orv/error.h"
#include "orv/lock.h"

namespace OrvSdkRpc {
namespace {

// A key takes a few bytes to ask for and a value of a mebibyte may stand behind it, again and again.
constexpr std::size_t replyBytesMax = std::size_t{64} << 20;

}  // namespace

void OpaqueProgrammer::processOpaqueStateSetRequest(const pb::rpc_server_state_config_msg& request,
                                                    pb::rpc_status_msg& response) {
   serveRequest(client_, request, response, [&](std::string&) {
      orv::sdk_scoped_lock lock;
      orv::fmttrace(programmingTracer(), 1, "Opaque set for {} key/value pairs and {} deletes",
                    request.key_value_pairs_size(), request.deletes_size());
      for (const auto& pair : request.key_value_pairs()) {
         orv::fmttrace(programmingTracer(), 1, "Opaque set key='{}' value='{}'", pair.key(), pair.value());
         mgr_->status_set(pair.key(), pair.value());
      }
      for (const auto& pair : request.deletes()) {
         orv::fmttrace(programmingTracer(), 1, "Opaque del key='{}'", pair.key());
         mgr_->status_del(pair.key());
      }
      return pb::RPC_STATUS_OK;
   });
}

void OpaqueProgrammer::processOpaqueStateGetRequest(const pb::rpc_server_state_status_msg& request,
                                                    pb::rpc_server_state_status_msg& response) {
   orv::sdk_scoped_lock lock;
   orv::fmttrace(programmingTracer(), 1, "Opaque get for {} keys", request.key_value_pairs_size());
   std::size_t bytes = 0;
   try {
      for (const auto& asked : request.key_value_pairs()) {
         std::string value = mgr_->status(asked.key());
         bytes += asked.key().size() + value.size();
         if (bytes > replyBytesMax)
            throw orv::error(fmt::format("the reply has room for {} bytes", replyBytesMax));
         orv::fmttrace(programmingTracer(), 1, "Opaque get key='{}' value='{}'", asked.key(), value);
         auto& pair = *response.add_key_value_pairs();
         pair.set_key(asked.key());
         pair.set_value(std::move(value));
      }
   } catch (const orv::error& e) {
      orv::fmttrace(programmingTracer(), 0, "Error: request {} exception {}", pb::Lazy{request}, e.what());
   }
}

}  // namespace OrvSdkRpc
