// The services of this folder's .proto files.
//
// Thread-safe.
#pragma once

#include <google/protobuf/descriptor.h>

#include <vector>

namespace OrvSdkRpc::pb {

// RETURNS: the descriptor of each service, the programming service first, the others in the order of their
// files.
std::vector<const google::protobuf::ServiceDescriptor*> services();

}  // namespace OrvSdkRpc::pb
