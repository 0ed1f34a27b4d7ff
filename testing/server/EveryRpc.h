// Whether a server waits for calls of every RPC of a service, by the service's descriptor.
#pragma once

#include <google/protobuf/descriptor.h>
#include <grpcpp/channel.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace orvtest {

// The service of that full name, such as "orv.remote.AclMgrService"; null where the wire has none.
const google::protobuf::ServiceDescriptor* serviceNamed(const std::string& fullName);

// Every service of the packages of the product, by full name.
std::vector<std::string> allServices();

// The RPCs of the service that have no handler: their calls stay unanswered. Each RPC is called with bytes
// that are no message, which gRPC answers for the handler that waits, so no handler is used up and the switch
// hears nothing. One that has no handler costs its deadline.
std::vector<std::string> rpcsWithoutHandler(const std::shared_ptr<grpc::Channel>& channel,
                                            const google::protobuf::ServiceDescriptor& service,
                                            std::chrono::seconds deadline = std::chrono::seconds(20));

}  // namespace orvtest
