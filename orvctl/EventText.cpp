#include "orvctl/EventText.h"

#include <fmt/format.h>

#include <vector>

#include "orvctl/EnumWords.h"
#include "orvctl/JsonText.h"
#include "orvctl/Values.h"

namespace orvctl {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

// Quotes text that could be mistaken for something else.
std::string quoted(const std::string& text) {
   if (!text.empty() && text.find_first_of(" \t\r\n\"=") == std::string::npos) return text;
   std::string result = "\"";
   for (const char c : text) {
      if (c == '"' || c == '\\') result += '\\';
      if (c == '\n') {
         result += "\\n";
      } else {
         result += c;
      }
   }
   return result + '"';
}

// Whether the message consists of a name only, as an interface does.
bool isName(const Descriptor& type) {
   return type.field_count() == 1 && type.field(0)->name() == "name" &&
          type.field(0)->cpp_type() == FieldDescriptor::CPPTYPE_STRING && !type.field(0)->is_repeated();
}

bool isFlat(const Descriptor& type) {
   for (int i = 0; i < type.field_count(); ++i) {
      if (type.field(i)->is_repeated()) return false;
      if (type.field(i)->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) return false;
   }
   return true;
}

std::string scalarText(const Message& message, const FieldDescriptor& field) {
   const auto& reflection = *message.GetReflection();
   switch (field.cpp_type()) {
      case FieldDescriptor::CPPTYPE_INT32:
         return fmt::to_string(reflection.GetInt32(message, &field));
      case FieldDescriptor::CPPTYPE_INT64:
         return fmt::to_string(reflection.GetInt64(message, &field));
      case FieldDescriptor::CPPTYPE_UINT32:
         return fmt::to_string(reflection.GetUInt32(message, &field));
      case FieldDescriptor::CPPTYPE_UINT64:
         return fmt::to_string(reflection.GetUInt64(message, &field));
      case FieldDescriptor::CPPTYPE_DOUBLE:
         return decimalText(reflection.GetDouble(message, &field));
      case FieldDescriptor::CPPTYPE_FLOAT:
         return decimalText(reflection.GetFloat(message, &field));
      case FieldDescriptor::CPPTYPE_BOOL:
         return reflection.GetBool(message, &field) ? "true" : "false";
      case FieldDescriptor::CPPTYPE_ENUM:
         return enumWord(*field.enum_type(), reflection.GetEnumValue(message, &field));
      case FieldDescriptor::CPPTYPE_STRING: {
         const std::string value = reflection.GetString(message, &field);
         if (field.type() == FieldDescriptor::TYPE_BYTES) {
            return wireAddressText(value).value_or(fmt::format("({} bytes)", value.size()));
         }
         return quoted(value);
      }
      case FieldDescriptor::CPPTYPE_MESSAGE:
         break;
   }
   return {};
}

std::string listText(const Message& message, const FieldDescriptor& field) {
   const auto& reflection = *message.GetReflection();
   const int size = reflection.FieldSize(message, &field);
   if (field.cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE) return fmt::format("({} values)", size);
   std::string text = "[";
   for (int i = 0; i < size; ++i)
      text += (i ? "," : "") + messageToJson(reflection.GetRepeatedMessage(message, &field, i));
   return text + "]";
}

void append(std::string& line, std::string_view name, std::string_view value) {
   fmt::format_to(std::back_inserter(line), "{}{}={}", line.empty() ? "" : " ", name, value);
}

// Whether the field is one of several alternative events, so that its name identifies the event.
bool isOneOfSeveralEvents(const FieldDescriptor& field) {
   const auto* choice = field.real_containing_oneof();
   return choice && choice->field_count() > 1 && field.name().starts_with("on_");
}

void appendRecord(std::string& line, const FieldDescriptor& of, const Message& record) {
   const Descriptor& type = *record.GetDescriptor();
   const std::string name = of.name().starts_with("on_") ? of.name().substr(3) : of.name();
   if (isName(type)) {
      append(line, name, scalarText(record, *type.field(0)));
   } else if (type.field_count() == 0) {
      line += (line.empty() ? "" : " ") + name;
   } else if (isFlat(type)) {
      if (isOneOfSeveralEvents(of)) line += (line.empty() ? "" : " ") + name;
      // The presence of the record is the event, so its fields are printed even if they are zero.
      for (int i = 0; i < type.field_count(); ++i) {
         const FieldDescriptor& field = *type.field(i);
         if (field.has_presence() && !record.GetReflection()->HasField(record, &field)) continue;
         append(line, field.name(), scalarText(record, field));
      }
   } else {
      append(line, name, messageToJson(record));
   }
}

// RETURNS: the field that holds the events of a batch; null if a message of this type holds one event.
const FieldDescriptor* batchField(const Descriptor& type) {
   for (const char* name : {"data", "bulk"}) {
      const FieldDescriptor* field = type.FindFieldByName(name);
      if (field && field->is_repeated() && field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE)
         return field;
   }
   return nullptr;
}

}  // namespace

std::string eventText(const Message& event) {
   std::string line;
   const auto& reflection = *event.GetReflection();
   std::vector<const FieldDescriptor*> fields;
   reflection.ListFields(event, &fields);
   for (const FieldDescriptor* field : fields) {
      const std::string& name = field->name();
      if (field->is_repeated()) {
         append(line, name, listText(event, *field));
      } else if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
         const Message& record = reflection.GetMessage(event, field);
         if (line.empty() && isName(*record.GetDescriptor())) {
            line = scalarText(record, *record.GetDescriptor()->field(0));
         } else {
            appendRecord(line, *field, record);
         }
      } else if (line.empty() && name == "name") {
         line = scalarText(event, *field);
      } else {
         append(line, name, scalarText(event, *field));
      }
   }
   return line;
}

bool forEachEvent(const Message& reply, const std::function<bool(const Message&)>& each) {
   const FieldDescriptor* batch = batchField(*reply.GetDescriptor());
   const int size = batch ? reply.GetReflection()->FieldSize(reply, batch) : 0;
   if (size == 0) return each(reply);
   for (int i = 0; i < size; ++i) {
      if (!each(reply.GetReflection()->GetRepeatedMessage(reply, batch, i))) return false;
   }
   return true;
}

bool isAcknowledgement(const Message& reply) {
   const Descriptor& type = *reply.GetDescriptor();
   for (const char* name : {"ack", "initial"}) {
      const FieldDescriptor* field = type.FindFieldByName(name);
      if (field && field->cpp_type() == FieldDescriptor::CPPTYPE_BOOL) {
         return reply.GetReflection()->GetBool(reply, field);
      }
   }
   const FieldDescriptor* batch = batchField(type);
   return batch && reply.GetReflection()->FieldSize(reply, batch) == 0;
}

}  // namespace orvctl
