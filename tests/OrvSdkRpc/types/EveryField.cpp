#include "EveryField.h"

#include <google/protobuf/text_format.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace types_test {
namespace {

using google::protobuf::EnumValueDescriptor;
using google::protobuf::Reflection;

// The values of a field in all messages: its elements, or itself where it is set.
std::vector<const Message*> messagesIn(const std::vector<const Message*>& messages,
                                       const FieldDescriptor& field) {
   std::vector<const Message*> in;
   for (const Message* message : messages) {
      const Reflection& reflection = *message->GetReflection();
      if (!field.is_repeated()) {
         if (reflection.HasField(*message, &field)) in.push_back(&reflection.GetMessage(*message, &field));
         continue;
      }
      for (int i = 0; i < reflection.FieldSize(*message, &field); ++i)
         in.push_back(&reflection.GetRepeatedMessage(*message, &field, i));
   }
   return in;
}

void collectUnset(const std::vector<const Message*>& messages, const Descriptor& type,
                  const std::string& prefix, const std::set<std::string>& except,
                  std::vector<std::string>& unset) {
   for (int i = 0; i < type.field_count(); ++i) {
      const FieldDescriptor& field = *type.field(i);
      if (except.contains(field.full_name())) continue;
      const std::string path = prefix + field.name();
      const bool set = std::any_of(messages.begin(), messages.end(), [&](const Message* message) {
         const Reflection& reflection = *message->GetReflection();
         return field.is_repeated() ? reflection.FieldSize(*message, &field) > 0
                                    : reflection.HasField(*message, &field);
      });
      if (!set) {
         unset.push_back(path);
      } else if (field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
         collectUnset(messagesIn(messages, field), *field.message_type(), path + ".", except, unset);
      }
   }
}

std::string bytesOf(std::size_t size, std::uint32_t n) {
   std::string bytes(size, '\0');
   bytes[0] = 10;
   bytes[size - 2] = static_cast<char>(n >> 8);
   bytes[size - 1] = static_cast<char>(n);
   return bytes;
}

// Six bytes where the SDK has an Ethernet address.
bool isEthernetAddress(const FieldDescriptor& field) {
   return field.name() == "router_mac" || field.containing_type()->name() == "AclRuleEth";
}

// Sets the fields in their order, each from the next number.
class Filler {
public:
   void fill(Message& message) {
      const Descriptor& type = *message.GetDescriptor();
      if (type.name() == "Prefix" || type.name() == "ip_prefix_msg") return fillPrefix(message);
      for (int i = 0; i < type.field_count(); ++i) {
         const FieldDescriptor& field = *type.field(i);
         const int elements = field.is_map() ? 1 : field.is_repeated() ? 2 : 0;
         if (elements == 0) set(message, field);
         for (int n = 0; n < elements; ++n)
            add(message, field);
      }
   }

private:
   // No bits behind the length.
   void fillPrefix(Message& message) {
      const Reflection& reflection = *message.GetReflection();
      const FieldDescriptor& network = *message.GetDescriptor()->FindFieldByNumber(1);
      std::string bytes{10, static_cast<char>(number()), 0, 0};
      if (network.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
         Message& address = *reflection.MutableMessage(&message, &network);
         address.GetReflection()->SetString(&address, address.GetDescriptor()->field(0), std::move(bytes));
      } else {
         reflection.SetString(&message, &network, std::move(bytes));
      }
      reflection.SetUInt32(&message, message.GetDescriptor()->FindFieldByNumber(2), 16);
   }

   std::uint32_t number() { return 1 + n_++ % 100; }
   // The last, which is not the default; two of them differ.
   const EnumValueDescriptor& member(const FieldDescriptor& field) {
      const auto& type = *field.enum_type();
      return *type.value(type.value_count() - 1 - (field.is_repeated() ? static_cast<int>(n_++ % 2) : 0));
   }
   std::string text(const FieldDescriptor& field) {
      const std::uint32_t n = number();
      if (field.type() == FieldDescriptor::TYPE_BYTES) return bytesOf(isEthernetAddress(field) ? 6 : 4, n);
      // Names of interfaces have a form.
      const bool intf = field.containing_type()->name() == "IntfId" || field.name() == "nexthop_intf";
      return (intf ? "Ethernet" : field.name() + "-") + std::to_string(n);
   }

   void set(Message& message, const FieldDescriptor& field) {
      const Reflection& reflection = *message.GetReflection();
      switch (field.cpp_type()) {
         case FieldDescriptor::CPPTYPE_MESSAGE:
            return fill(*reflection.MutableMessage(&message, &field));
         case FieldDescriptor::CPPTYPE_STRING:
            return reflection.SetString(&message, &field, text(field));
         case FieldDescriptor::CPPTYPE_ENUM:
            return reflection.SetEnum(&message, &field, &member(field));
         case FieldDescriptor::CPPTYPE_BOOL:
            return reflection.SetBool(&message, &field, true);
         case FieldDescriptor::CPPTYPE_UINT32:
            return reflection.SetUInt32(&message, &field, number());
         case FieldDescriptor::CPPTYPE_UINT64:
            return reflection.SetUInt64(&message, &field, (std::uint64_t{1} << 40) + number());
         case FieldDescriptor::CPPTYPE_DOUBLE:
            return reflection.SetDouble(&message, &field, number() + 0.5);
         default:
            ADD_FAILURE() << "no value for " << field.full_name();
      }
   }
   void add(Message& message, const FieldDescriptor& field) {
      const Reflection& reflection = *message.GetReflection();
      switch (field.cpp_type()) {
         case FieldDescriptor::CPPTYPE_MESSAGE:
            return fill(*reflection.AddMessage(&message, &field));
         case FieldDescriptor::CPPTYPE_STRING:
            return reflection.AddString(&message, &field, text(field));
         case FieldDescriptor::CPPTYPE_ENUM:
            return reflection.AddEnum(&message, &field, &member(field));
         case FieldDescriptor::CPPTYPE_UINT32:
            return reflection.AddUInt32(&message, &field, number());
         default:
            ADD_FAILURE() << "no value for " << field.full_name();
      }
   }

   std::uint32_t n_ = 0;
};

std::string otherText(const FieldDescriptor& field, std::string text) {
   if (field.type() != FieldDescriptor::TYPE_BYTES) return text + "1";
   // The second byte stands in front of every prefix's length.
   text[1] = static_cast<char>(text[1] ^ 0x40);
   return text;
}

std::uint32_t otherNumber(const FieldDescriptor& field, std::uint32_t number) {
   // A length that the network's bits allow.
   if (field.name() == "prefix_length") return number + 1;
   // Three bits.
   if (field.name() == "mpls_exp") return number ^ 1;
   return number > 100 ? number - 100 : number + 100;
}

}  // namespace

testing::AssertionResult setsEveryField(const std::vector<const Message*>& samples,
                                        const std::set<std::string>& except) {
   std::vector<std::string> unset;
   collectUnset(samples, *samples.front()->GetDescriptor(), "", except, unset);
   if (unset.empty()) return testing::AssertionSuccess();
   auto failure = testing::AssertionFailure() << "not set in " << samples.front()->GetTypeName() << ":";
   for (const std::string& path : unset)
      failure << " " << path;
   return failure;
}

testing::AssertionResult setsEveryField(const Message& sample, const std::set<std::string>& except) {
   return setsEveryField(std::vector<const Message*>{&sample}, except);
}

std::unique_ptr<Message> everyFieldOf(const Descriptor& type) {
   const Message& prototype = *google::protobuf::MessageFactory::generated_factory()->GetPrototype(&type);
   std::unique_ptr<Message> message(prototype.New());
   Filler().fill(*message);
   return message;
}

std::vector<Leaf> Leaf::of(const Message& message) {
   std::vector<Leaf> leaves;
   std::vector<Step> path;
   collect(message, path, leaves);
   return leaves;
}

void Leaf::collect(const Message& message, std::vector<Step>& path, std::vector<Leaf>& leaves) {
   const Reflection& reflection = *message.GetReflection();
   std::vector<const FieldDescriptor*> fields;
   reflection.ListFields(message, &fields);
   for (const FieldDescriptor* field : fields) {
      const int size = field->is_repeated() ? reflection.FieldSize(message, field) : 1;
      for (int i = 0; i < size; ++i) {
         path.push_back({field, i});
         if (field->cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE) {
            leaves.push_back(Leaf(path));
         } else {
            collect(field->is_repeated() ? reflection.GetRepeatedMessage(message, field, i)
                                         : reflection.GetMessage(message, field),
                    path, leaves);
         }
         path.pop_back();
      }
   }
}

std::string Leaf::path() const {
   std::string text;
   for (const Step& step : path_) {
      if (!text.empty()) text += '.';
      text += step.field->name();
      if (step.field->is_repeated()) text += '[' + std::to_string(step.index) + ']';
   }
   return text;
}

bool Leaf::within(const std::string& fullName) const {
   return std::any_of(path_.begin(), path_.end(),
                      [&](const Step& step) { return step.field->full_name() == fullName; });
}

std::vector<std::unique_ptr<Message>> Leaf::changed(const Message& message) const {
   std::vector<std::unique_ptr<Message>> copies;
   // Walks to the leaf in a copy, then hands it over.
   const auto inCopy = [&](const auto& change) {
      copies.emplace_back(message.New());
      copies.back()->CopyFrom(message);
      Message* at = copies.back().get();
      for (std::size_t i = 0; i + 1 < path_.size(); ++i) {
         const Step& step = path_[i];
         at = step.field->is_repeated()
                   ? at->GetReflection()->MutableRepeatedMessage(at, step.field, step.index)
                   : at->GetReflection()->MutableMessage(at, step.field);
      }
      change(*at, *at->GetReflection());
   };
   const FieldDescriptor* const field = path_.back().field;
   const int index = path_.back().index;
   const bool repeated = field->is_repeated();
   switch (field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_STRING:
         inCopy([&](Message& at, const Reflection& reflection) {
            if (repeated) {
               reflection.SetRepeatedString(
                    &at, field, index, otherText(*field, reflection.GetRepeatedString(at, field, index)));
            } else {
               reflection.SetString(&at, field, otherText(*field, reflection.GetString(at, field)));
            }
         });
         break;
      case FieldDescriptor::CPPTYPE_UINT32:
         inCopy([&](Message& at, const Reflection& reflection) {
            if (repeated) {
               reflection.SetRepeatedUInt32(
                    &at, field, index, otherNumber(*field, reflection.GetRepeatedUInt32(at, field, index)));
            } else {
               reflection.SetUInt32(&at, field, otherNumber(*field, reflection.GetUInt32(at, field)));
            }
         });
         break;
      case FieldDescriptor::CPPTYPE_UINT64:
         inCopy([&](Message& at, const Reflection& reflection) {
            reflection.SetUInt64(&at, field, reflection.GetUInt64(at, field) ^ (std::uint64_t{1} << 50));
         });
         break;
      case FieldDescriptor::CPPTYPE_DOUBLE:
         inCopy([&](Message& at, const Reflection& reflection) {
            reflection.SetDouble(&at, field, reflection.GetDouble(at, field) + 1);
         });
         break;
      case FieldDescriptor::CPPTYPE_BOOL:
         inCopy([&](Message& at, const Reflection& reflection) {
            reflection.SetBool(&at, field, !reflection.GetBool(at, field));
         });
         break;
      case FieldDescriptor::CPPTYPE_ENUM:
         for (int i = 0; i < field->enum_type()->value_count(); ++i) {
            inCopy([&](Message& at, const Reflection& reflection) {
               const EnumValueDescriptor* const other = field->enum_type()->value(i);
               if (reflection.GetEnum(at, field) == other) {
                  copies.pop_back();
               } else {
                  reflection.SetEnum(&at, field, other);
               }
            });
         }
         break;
      default:
         ADD_FAILURE() << "no other value for " << field->full_name();
   }
   return copies;
}

std::string Leaf::value(const Message& message) const {
   const Message* at = &message;
   for (std::size_t i = 0; i + 1 < path_.size(); ++i) {
      const Step& step = path_[i];
      at = step.field->is_repeated() ? &at->GetReflection()->GetRepeatedMessage(*at, step.field, step.index)
                                     : &at->GetReflection()->GetMessage(*at, step.field);
   }
   std::string text;
   const Step& last = path_.back();
   google::protobuf::TextFormat::PrintFieldValueToString(*at, last.field,
                                                         last.field->is_repeated() ? last.index : -1, &text);
   return text;
}

}  // namespace types_test
