// The RPCs that this program was built with. Free functions over constant data, safe from any thread.
#pragma once

#include <google/protobuf/descriptor.h>

#include <string>
#include <string_view>
#include <vector>

namespace orvctl {

// Every service that is linked in, the programming service first, then the mirror services by name.
std::vector<const google::protobuf::ServiceDescriptor*> linkedServices();

// Finds "package.service/method", "service/method", or a method's bare name: the programming service's, or
// where only one other service has it. Throws UsageError naming what was asked for.
const google::protobuf::MethodDescriptor& findMethod(std::string_view name);

// "/package.service/method", as gRPC puts it on the wire.
std::string methodPath(const google::protobuf::MethodDescriptor& method);

}  // namespace orvctl
