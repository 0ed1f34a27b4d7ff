// The watch RPCs that this program was built with, and their requests.
// Free functions over constant data, safe from any thread.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <memory>
#include <string>
#include <vector>

namespace orvctl {

// One watch, and what its request lets the client choose; null where there is no such choice.
struct WatchRpc {
   // What a person calls it: "intf".
   std::string word;
   // What can be selected, in words: "interface". Empty where there is no selection.
   std::string kind;
   const google::protobuf::MethodDescriptor* method = nullptr;
   const google::protobuf::FieldDescriptor* all = nullptr;
   const google::protobuf::FieldDescriptor* name = nullptr;
   const google::protobuf::FieldDescriptor* intf = nullptr;
   const google::protobuf::FieldDescriptor* regex = nullptr;
   // The message that holds `fields`, and the enumeration of these.
   const google::protobuf::FieldDescriptor* fieldsControl = nullptr;
   const google::protobuf::EnumDescriptor* field = nullptr;
   const google::protobuf::FieldDescriptor* ack = nullptr;
};

// All of them but the alive watch, which delivers nothing.
const std::vector<WatchRpc>& watchRpcs();
// The watch of that word, which must be one.
const WatchRpc& watchRpc(const std::string& word);

// What a person chose. Nothing chosen of `name` and `intf` stands for all.
struct WatchChoice {
   std::string name = {};
   std::string intf = {};
   std::string regex = {};
   // Words, names or numbers, several in one with commas.
   std::vector<std::string> fields = {};
   bool ack = false;
};

// The request for it. Throws UsageError for a field that is none.
std::unique_ptr<google::protobuf::Message> watchRequest(const WatchRpc& watch, const WatchChoice& choice);

// Whether the server will show what is there first for this request of `watch`, and then tell that it is
// complete. A number that is no field of the enumeration asks for nothing.
bool asksForDump(const WatchRpc& watch, const google::protobuf::Message& request);

}  // namespace orvctl
