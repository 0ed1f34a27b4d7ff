// The watch RPCs that this program was built with, and their requests.
// Thread-safety: any thread.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <memory>
#include <string>
#include <vector>

namespace orvctl {

// One watch RPC, and the fields of its request that the client may set; null for a field that it does not
// have.
struct WatchRpc {
   // Its name on the command line: "intf".
   std::string word;
   // What can be selected, as text for the user: "interface". Empty if nothing can be selected.
   std::string kind;
   const google::protobuf::MethodDescriptor* method = nullptr;
   const google::protobuf::FieldDescriptor* all = nullptr;
   const google::protobuf::FieldDescriptor* name = nullptr;
   const google::protobuf::FieldDescriptor* intf = nullptr;
   // The key of an MPLS route.
   const google::protobuf::FieldDescriptor* label = nullptr;
   const google::protobuf::FieldDescriptor* regex = nullptr;
   // The message that holds `fields`, and the enumeration of its values.
   const google::protobuf::FieldDescriptor* fieldsControl = nullptr;
   const google::protobuf::EnumDescriptor* field = nullptr;
   const google::protobuf::FieldDescriptor* ack = nullptr;
   // The stream begins with the present state, whatever the request says, and an empty response behind it.
   bool snapshot = false;
};

// RETURNS: all watch RPCs except the alive watch, which delivers nothing.
const std::vector<WatchRpc>& watchRpcs();
// RETURNS: the watch RPC with this word.
// REQUIRES: it exists.
const WatchRpc& watchRpc(const std::string& word);

// The user's choice. Without `name`, `intf` and `label`, the watch covers all.
struct WatchChoice {
   std::string name = {};
   std::string intf = {};
   // A number, for the route with this label alone and metric 0.
   std::string label = {};
   std::string regex = {};
   // Words, names or numbers; one element may hold several, separated by commas.
   std::vector<std::string> fields = {};
   bool ack = false;
};

// RETURNS: the request for the choice.
// THROWS: UsageError for an unknown field, and for a label above 1048575.
std::unique_ptr<google::protobuf::Message> watchRequest(const WatchRpc& watch, const WatchChoice& choice);

// RETURNS: whether the server will first send the current state for this request of `watch`, and then report
// that it is complete. A number outside the enumeration requests nothing.
bool asksForDump(const WatchRpc& watch, const google::protobuf::Message& request);

}  // namespace orvctl
