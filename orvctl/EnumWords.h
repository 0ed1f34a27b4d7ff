// Enumerations as users write them: "up" for OPER_STATUS_UP.
// Thread-safety: any thread.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/generated_enum_reflection.h>

#include <string>
#include <string_view>

namespace orvctl {

// RETURNS: the value's name in lower case without the enumeration's prefix; the number if it has no name.
std::string enumWord(const google::protobuf::EnumDescriptor& type, int number);
// The same for a value that is known at compile time.
template <typename Enum>
std::string enumWord(Enum value) {
   return enumWord(*google::protobuf::GetEnumDescriptor<Enum>(), static_cast<int>(value));
}

// RETURNS: all words of the enumeration, separated by "|".
std::string enumWords(const google::protobuf::EnumDescriptor& type);

// Parses a word, a full name, or a non-negative number, which need not be a value of the enumeration.
// THROWS: UsageError.
int parseEnum(std::string_view what, std::string_view text, const google::protobuf::EnumDescriptor& type);

}  // namespace orvctl
