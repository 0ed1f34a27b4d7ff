// The RPCs that this program was built with. Free functions over constant data, safe from any thread.
#pragma once

#include <google/protobuf/descriptor.h>

#include <string>
#include <string_view>
#include <vector>

namespace orvctl {

// Every service that is linked in, in the order of the service list of the .proto files.
std::vector<const google::protobuf::ServiceDescriptor*> linkedServices();

// Finds "package.service/method", "service/method", or a method's bare name where only one service has it.
// Throws UsageError naming what was asked for.
const google::protobuf::MethodDescriptor& findMethod(std::string_view name);

// "/package.service/method", as gRPC puts it on the wire.
std::string methodPath(const google::protobuf::MethodDescriptor& method);

}  // namespace orvctl
