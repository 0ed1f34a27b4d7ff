// JSON for any message, with addresses and prefixes as a person writes them.
//
// The protobuf JSON mapping with the .proto's field names, and some comforts: a field of type ip_address_msg
// may be "10.0.0.1", one of type ip_prefix_msg "10.0.0.0/8", and a bytes field of the mirror services
// "10.0.0.1" or "02:00:00:00:00:01" (and all print so); the canonical forms with base64 bytes are read too.
// Free functions without state, safe from any thread.
#pragma once

#include <google/protobuf/message.h>

#include <string>
#include <string_view>

namespace orvctl {

// Fills `message` from JSON. `what` names the source. Throws UsageError.
void messageFromJson(std::string_view what, std::string_view json, google::protobuf::Message& message);

// One line of JSON; fields with default values are printed, unset messages and members of a oneof are not.
std::string messageToJson(const google::protobuf::Message& message);

}  // namespace orvctl
