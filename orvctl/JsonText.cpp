#include "orvctl/JsonText.h"

#include <absl/strings/escaping.h>
#include <fmt/format.h>
#include <google/protobuf/util/json_util.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/orvsdk.pb.h"
#include "orvctl/ExitCode.h"
#include "orvctl/Values.h"

namespace orvctl {
namespace {

using Json = nlohmann::ordered_json;
using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;

bool isAddress(const Descriptor& type) {
   return &type == OrvSdkRpc::pb::ip_address_msg::descriptor();
}
bool isPrefix(const Descriptor& type) {
   return &type == OrvSdkRpc::pb::ip_prefix_msg::descriptor();
}

Json addressObject(const std::string& bytes) {
   return Json{{"address", absl::Base64Escape(bytes)}};
}

// Calls `each(field of the value, value)` for every value that a field holds.
template <typename Each>
void forEachValue(const FieldDescriptor& field, Json& value, Each each) {
   if (field.is_map()) {
      if (!value.is_object()) return;
      for (auto& [key, inner] : value.items())
         each(*field.message_type()->map_value(), inner);
   } else if (value.is_array()) {
      for (Json& element : value)
         each(field, element);
   } else {
      each(field, value);
   }
}

// In the mirror services every bytes field is an address.
bool isWireAddress(const FieldDescriptor& field) {
   return field.type() == FieldDescriptor::TYPE_BYTES && field.file()->package() == "orv.remote";
}

// Converts the value of a field of type `type` to the canonical form.
void toCanonical(std::string_view where, const Descriptor& type, Json& value) {
   if (value.is_string() && isAddress(type)) {
      value = addressObject(parseAddressBytes(where, value.get<std::string>()));
      return;
   }
   if (value.is_string() && isPrefix(type)) {
      const auto prefix = parsePrefix(where, value.get<std::string>());
      value = Json{{"network", addressObject(prefix.network().address())},
                   {"prefix_length", prefix.prefix_length()}};
      return;
   }
   if (!value.is_object()) return;
   for (auto& [key, inner] : value.items()) {
      const FieldDescriptor* field = type.FindFieldByName(key);
      if (!field) field = type.FindFieldByCamelcaseName(key);
      if (!field) continue;
      forEachValue(*field, inner, [&where = key](const FieldDescriptor& of, Json& one) {
         if (of.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
            toCanonical(where, *of.message_type(), one);
         } else if (isWireAddress(of) && one.is_string()) {
            if (const auto bytes = wireAddressBytes(one.get<std::string>())) one = absl::Base64Escape(*bytes);
         }
      });
   }
}

std::string decodedAddress(const Json& object) {
   std::string bytes;
   if (auto it = object.find("address"); it != object.end())
      absl::Base64Unescape(it->get<std::string>(), &bytes);
   return bytes;
}

// The reverse, for output of the JSON printer: field names are those of the .proto, and the structure is
// known.
void toFriendly(const Descriptor& type, Json& value) {
   if (isAddress(type)) {
      OrvSdkRpc::pb::ip_address_msg address;
      address.set_address(decodedAddress(value));
      value = addressText(address);
      return;
   }
   if (isPrefix(type)) {
      OrvSdkRpc::pb::ip_prefix_msg prefix;
      if (auto it = value.find("network"); it != value.end()) {
         prefix.mutable_network()->set_address(decodedAddress(*it));
      }
      prefix.set_prefix_length(value.value("prefix_length", 0U));
      value = prefixText(prefix);
      return;
   }
   for (auto& [key, inner] : value.items()) {
      const FieldDescriptor* field = type.FindFieldByName(key);
      if (!field) continue;
      forEachValue(*field, inner, [](const FieldDescriptor& of, Json& one) {
         if (of.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
            if (one.is_object()) toFriendly(*of.message_type(), one);
         } else if (isWireAddress(of)) {
            std::string bytes;
            absl::Base64Unescape(one.get<std::string>(), &bytes);
            if (auto text = wireAddressText(bytes)) one = *text;
         }
      });
   }
}

// RETURNS: what is wrong with the tree; nothing if the message could be filled.
std::string fillMessage(std::string_view where, Json tree, google::protobuf::Message& message) {
   toCanonical(where, *message.GetDescriptor(), tree);
   message.Clear();
   const auto status = google::protobuf::util::JsonStringToMessage(tree.dump(), &message);
   return status.ok() ? std::string() : status.message().as_string();
}

Json printed(const google::protobuf::Message& message, bool defaults) {
   google::protobuf::util::JsonPrintOptions options;
   options.preserve_proto_field_names = true;
   options.always_print_primitive_fields = defaults;
   std::string canonical;
   auto status = google::protobuf::util::MessageToJsonString(message, &canonical, options);
   if (!status.ok()) {
      throw CallError(
           fmt::format("cannot print {}: {}", message.GetDescriptor()->name(), status.message().as_string()));
   }
   Json tree = Json::parse(canonical);
   toFriendly(*message.GetDescriptor(), tree);
   return tree;
}

std::string oneLine(const Json& tree) {
   return tree.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

void messageFromJson(std::string_view what, std::string_view json, google::protobuf::Message& message) {
   const std::string& typeName = message.GetDescriptor()->name();
   Json tree;
   try {
      tree = Json::parse(json);
   } catch (const Json::parse_error& error) {
      throw UsageError(fmt::format("{} is '{}', expected JSON of {}: error at byte {}", what, json, typeName,
                                   error.byte));
   }
   if (!tree.is_object()) {
      throw UsageError(fmt::format("{} is '{}', expected a JSON object of {}", what, json, typeName));
   }
   const std::string problem = fillMessage(what, std::move(tree), message);
   if (!problem.empty())
      throw UsageError(fmt::format("{} is '{}', expected JSON of {}: {}", what, json, typeName, problem));
}

void messageFromTree(std::string_view where, Json tree, google::protobuf::Message& message) {
   const std::string& typeName = message.GetDescriptor()->name();
   if (!tree.is_object()) throw UsageError(fmt::format("{}: expected the fields of {}", where, typeName));
   std::string problem;
   try {
      problem = fillMessage(where, std::move(tree), message);
   } catch (const UsageError& error) {
      problem = error.what();
   } catch (const Json::type_error&) {
      problem = "a text is not UTF-8";
   }
   if (!problem.empty()) throw UsageError(fmt::format("{}: expected {}: {}", where, typeName, problem));
}

Json messageToTree(const google::protobuf::Message& message) {
   return printed(message, true);
}

std::string messageToJson(const google::protobuf::Message& message) {
   return oneLine(printed(message, true));
}

std::string messageToShortJson(const google::protobuf::Message& message) {
   return oneLine(printed(message, false));
}

}  // namespace orvctl
