// The RPCs that this program was built with.
// Thread-safety: any thread.
#pragma once

#include <google/protobuf/descriptor.h>

#include <string>
#include <string_view>

namespace orvctl {

// Finds "package.service/method", "service/method", or a bare method name. A bare name means the method of
// the programming service, or else of the only other service that has it.
// THROWS: UsageError that quotes `name`.
const google::protobuf::MethodDescriptor& findMethod(std::string_view name);

// RETURNS: "/package.service/method", as gRPC puts it on the wire.
std::string methodPath(const google::protobuf::MethodDescriptor& method);

}  // namespace orvctl
