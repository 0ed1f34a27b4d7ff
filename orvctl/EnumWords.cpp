#include "orvctl/EnumWords.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>

#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

using google::protobuf::EnumDescriptor;

char lower(char c) {
   return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

char upper(char c) {
   return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

// "OPER_STATUS_" for OperStatus.
std::string prefixOf(const EnumDescriptor& type) {
   std::string prefix;
   for (const char c : type.name()) {
      if (std::isupper(static_cast<unsigned char>(c)) && !prefix.empty()) prefix += '_';
      prefix += upper(c);
   }
   return prefix + '_';
}

std::string wordOf(const EnumDescriptor& type, const std::string& name) {
   const std::string prefix = prefixOf(type);
   std::string word = name.starts_with(prefix) ? name.substr(prefix.size()) : name;
   std::transform(word.begin(), word.end(), word.begin(), lower);
   return word;
}

}  // namespace

std::string enumWord(const EnumDescriptor& type, int number) {
   const auto* value = type.FindValueByNumber(number);
   return value ? wordOf(type, value->name()) : std::to_string(number);
}

std::string enumWords(const EnumDescriptor& type) {
   std::string words;
   for (int i = 0; i < type.value_count(); ++i)
      words += (i ? "|" : "") + wordOf(type, type.value(i)->name());
   return words;
}

int parseEnum(std::string_view what, std::string_view text, const EnumDescriptor& type) {
   int number = 0;
   const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
   if (error == std::errc() && end == text.data() + text.size() && number >= 0) return number;
   std::string word(text);
   std::transform(word.begin(), word.end(), word.begin(), [](char c) { return c == '-' ? '_' : lower(c); });
   for (int i = 0; i < type.value_count(); ++i) {
      const auto& value = *type.value(i);
      if (value.name() == text || wordOf(type, value.name()) == word) return value.number();
   }
   throw UsageError(fmt::format("{} is '{}', expected one of {}, or a number", what, text, enumWords(type)));
}

}  // namespace orvctl
