// JSON for any message, with addresses and prefixes as users write them.
//
// This is the protobuf JSON mapping with the .proto's field names, but with readable addresses: a field of
// type ip_address_msg may be "10.0.0.1", one of type ip_prefix_msg "10.0.0.0/8", and a bytes field of the
// mirror services "10.0.0.1" or "02:00:00:00:00:01". All print in this form; the canonical forms with base64
// bytes are accepted too.
// Thread-safety: any thread.
#pragma once

#include <google/protobuf/message.h>

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace orvctl {

// Fills `message` from JSON. `what` names the source in the error.
// THROWS: UsageError.
void messageFromJson(std::string_view what, std::string_view json, google::protobuf::Message& message);
// The same from a tree. Error texts begin with `where` and do not repeat the tree.
// THROWS: UsageError.
void messageFromTree(std::string_view where, nlohmann::ordered_json tree, google::protobuf::Message& message);

// RETURNS: one line of JSON, with fields that have default values, but without unset messages and members of
// a oneof.
std::string messageToJson(const google::protobuf::Message& message);
// The same without fields that have default values, for people.
std::string messageToShortJson(const google::protobuf::Message& message);
// As messageToJson(), as a tree.
nlohmann::ordered_json messageToTree(const google::protobuf::Message& message);

}  // namespace orvctl
