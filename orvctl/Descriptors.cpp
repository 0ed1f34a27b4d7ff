#include "orvctl/Descriptors.h"

#include <fmt/format.h>

#include "OrvSdkRpcProtos/services.h"
#include "orvctl/ExitCode.h"

namespace orvctl {

using google::protobuf::MethodDescriptor;
using google::protobuf::ServiceDescriptor;

const MethodDescriptor& findMethod(std::string_view name) {
   const size_t slash = name.find('/');
   const bool bare = slash == std::string_view::npos;
   const std::string_view service = bare ? std::string_view() : name.substr(0, slash);
   const std::string method(bare ? name : name.substr(slash + 1));
   const MethodDescriptor* found = nullptr;
   bool serviceKnown = bare;
   for (const ServiceDescriptor* candidate : OrvSdkRpc::pb::services()) {
      if (!bare && service != candidate->full_name() && service != candidate->name()) continue;
      serviceKnown = true;
      const MethodDescriptor* match = candidate->FindMethodByName(method);
      if (!match) continue;
      if (bare && candidate == OrvSdkRpc::pb::services().front()) return *match;
      if (found) {
         throw UsageError(fmt::format("the RPC is '{}', expected SERVICE/METHOD: both {} and {} have it",
                                      name, found->service()->name(), candidate->name()));
      }
      found = match;
   }
   if (!found) {
      throw UsageError(
           fmt::format("the RPC is '{}', expected SERVICE/METHOD of a known {}: see 'orvctl list'", name,
                       serviceKnown ? "method" : "service"));
   }
   return *found;
}

std::string methodPath(const MethodDescriptor& method) {
   return fmt::format("/{}/{}", method.service()->full_name(), method.name());
}

}  // namespace orvctl
