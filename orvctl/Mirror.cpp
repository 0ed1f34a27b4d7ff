#include "orvctl/Mirror.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "orvctl/EnumWords.h"

namespace orvctl {

void askMirror(Connection& connection, const std::string& rpc, const std::string& about,
               const google::protobuf::Message& request, google::protobuf::Message& reply) {
   const auto status = connection.unary("/orv.remote." + rpc, request, reply);
   const std::string method = rpc.substr(rpc.find('/') + 1);
   connection.require(about.empty() ? method : method + " " + about, status);
}

orv::remote::IntfId intfId(const std::string& name) {
   orv::remote::IntfId id;
   id.set_name(name);
   return id;
}

int reportMirrorBulk(Context& context, const orv::remote::RpcResponseStatus& status, uint64_t count,
                     uint64_t sent, const std::function<std::string(uint64_t)>& name) {
   const bool ok = status.code() == orv::remote::RPC_RESPONSE_STATUS_CODE_SUCCESS;
   const std::string item = !ok && count < sent ? name(count) : std::string();
   if (context.json) {
      nlohmann::ordered_json tree{{"items", sent},
                                  {"applied", count},
                                  {"status", orv::remote::RpcResponseStatusCode_Name(status.code())}};
      if (!ok) {
         tree["failed"] = item;
         tree["message"] = status.message();
      }
      context.out << tree.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
   } else if (ok) {
      context.out << fmt::format("{} items applied\n", count);
   } else {
      context.err << fmt::format("{}: {}: {}; {} of {} items applied\n", item, enumWord(status.code()),
                                 status.message(), count, sent);
   }
   return ok ? kOk : kRefused;
}

}  // namespace orvctl
