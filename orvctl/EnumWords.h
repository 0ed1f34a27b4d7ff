// Enumerations as a person writes them: "up" for OPER_STATUS_UP.
// Free functions over constant data, safe from any thread.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/generated_enum_reflection.h>

#include <string>
#include <string_view>

namespace orvctl {

// The value's name without its enumeration's prefix, in small letters; a number that has no name as it is.
std::string enumWord(const google::protobuf::EnumDescriptor& type, int number);
// The same for a value that is known at compile time.
template <typename Enum>
std::string enumWord(Enum value) {
   return enumWord(*google::protobuf::GetEnumDescriptor<Enum>(), static_cast<int>(value));
}

// All words of the enumeration with "|" between them.
std::string enumWords(const google::protobuf::EnumDescriptor& type);

// Reads a word, a full name, or a number from 0 on, also one that the enumeration does not have. Throws
// UsageError.
int parseEnum(std::string_view what, std::string_view text, const google::protobuf::EnumDescriptor& type);

}  // namespace orvctl
