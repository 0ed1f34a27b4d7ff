#include "orvctl/InBand.h"

#include "OrvSdkRpcProtos/status.pb.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;

bool hasInBandFailure(const google::protobuf::Message& reply) {
   const auto* type = reply.GetDescriptor();
   if (type == pb::rpc_status_msg::descriptor()) {
      return static_cast<const pb::rpc_status_msg&>(reply).status() != pb::RPC_STATUS_OK;
   }
   if (type == orv::remote::RpcResponseStatus::descriptor()) {
      return static_cast<const orv::remote::RpcResponseStatus&>(reply).code() !=
             orv::remote::RPC_RESPONSE_STATUS_CODE_SUCCESS;
   }
   const auto* reflection = reply.GetReflection();
   std::vector<const google::protobuf::FieldDescriptor*> fields;
   reflection->ListFields(reply, &fields);
   for (const auto* field : fields) {
      if (field->cpp_type() != google::protobuf::FieldDescriptor::CPPTYPE_MESSAGE) continue;
      if (!field->is_repeated()) {
         if (hasInBandFailure(reflection->GetMessage(reply, field))) return true;
         continue;
      }
      for (int i = 0; i < reflection->FieldSize(reply, field); ++i) {
         if (hasInBandFailure(reflection->GetRepeatedMessage(reply, field, i))) return true;
      }
   }
   return false;
}

std::string statusText(const pb::rpc_status_msg& status) {
   std::string name = pb::rpc_status_value_enum_Name(status.status());
   if (name.empty()) name = "status " + std::to_string(static_cast<int>(status.status()));
   if (!status.debug_string().empty()) name += ": " + status.debug_string();
   return name;
}

}  // namespace orvctl
