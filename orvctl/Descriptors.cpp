#include "orvctl/Descriptors.h"

#include <fmt/format.h>

#include "OrvSdkRpcProtos/acl.pb.h"
#include "OrvSdkRpcProtos/agent.pb.h"
#include "OrvSdkRpcProtos/eth_phy_intf.pb.h"
#include "OrvSdkRpcProtos/intf.pb.h"
#include "OrvSdkRpcProtos/intf_counter.pb.h"
#include "OrvSdkRpcProtos/nexthop_group.pb.h"
#include "OrvSdkRpcProtos/orvsdk.pb.h"
#include "orvctl/ExitCode.h"

namespace orvctl {

using google::protobuf::FileDescriptor;
using google::protobuf::MethodDescriptor;
using google::protobuf::ServiceDescriptor;

std::vector<const ServiceDescriptor*> linkedServices() {
   // Every .proto file with services is listed here; the use of its descriptor also keeps its generated code
   // linked.
   const FileDescriptor* const files[] = {
        OrvSdkRpc::pb::ip_route_msg::descriptor()->file(),
        orv::remote::AclsRequest::descriptor()->file(),
        orv::remote::AgentEnabledRequest::descriptor()->file(),
        orv::remote::EthPhyIntfsRequest::descriptor()->file(),
        orv::remote::IntfsRequest::descriptor()->file(),
        orv::remote::IntfCountersRequest::descriptor()->file(),
        orv::remote::NexthopGroupsRequest::descriptor()->file(),
   };
   std::vector<const ServiceDescriptor*> services;
   for (const FileDescriptor* file : files) {
      for (int i = 0; i < file->service_count(); ++i)
         services.push_back(file->service(i));
   }
   return services;
}

const MethodDescriptor& findMethod(std::string_view name) {
   const size_t slash = name.find('/');
   const bool bare = slash == std::string_view::npos;
   const std::string_view service = bare ? std::string_view() : name.substr(0, slash);
   const std::string method(bare ? name : name.substr(slash + 1));
   const MethodDescriptor* found = nullptr;
   bool serviceKnown = bare;
   for (const ServiceDescriptor* candidate : linkedServices()) {
      if (!bare && service != candidate->full_name() && service != candidate->name()) continue;
      serviceKnown = true;
      const MethodDescriptor* match = candidate->FindMethodByName(method);
      if (!match) continue;
      if (bare && candidate == linkedServices().front()) return *match;
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
