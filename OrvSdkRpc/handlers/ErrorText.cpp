#include "OrvSdkRpc/handlers/ErrorText.h"

#include <fmt/format.h>

#include <iterator>

#include "platform/zelt/Utf8.h"

namespace OrvSdkRpc {
namespace {

constexpr std::string_view gap = "...";

// The longest prefix of UTF-8 text that has at most `bytes` bytes and cuts no character.
std::string_view head(std::string_view text, std::size_t bytes) {
   while (bytes > 0 && Zelt::utf8CharacterBytes(text.substr(bytes)) == 0)
      --bytes;
   return text.substr(0, bytes);
}

// The same for a suffix.
std::string_view tail(std::string_view text, std::size_t bytes) {
   std::size_t from = text.size() - bytes;
   while (from < text.size() && Zelt::utf8CharacterBytes(text.substr(from)) == 0)
      ++from;
   return text.substr(from);
}

std::string inUtf8(std::string_view words) {
   std::string text;
   text.reserve(words.size());
   while (!words.empty()) {
      std::size_t bytes = Zelt::utf8CharacterBytes(words);
      if (bytes != 0) {
         text.append(words.substr(0, bytes));
      } else {
         fmt::format_to(std::back_inserter(text), "\\x{:02x}", static_cast<unsigned char>(words.front()));
         bytes = 1;
      }
      words.remove_prefix(bytes);
   }
   return text;
}

}  // namespace

std::string errorText(std::string_view words) {
   std::string text = Zelt::isUtf8(words) ? std::string(words) : inUtf8(words);
   if (text.size() <= errorTextBytesMax) return text;
   constexpr std::size_t kept = errorTextBytesMax - gap.size();
   constexpr std::size_t behind = kept / 2;
   return fmt::format("{}{}{}", head(text, kept - behind), gap, tail(text, behind));
}

}  // namespace OrvSdkRpc
