#include "platform/zelt/Utf8.h"

#include <cstdint>
#include <cstring>

namespace Zelt {

std::size_t utf8CharacterBytes(std::string_view text) noexcept {
   if (text.empty()) return 0;
   const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
   const unsigned char first = at(0);
   if (first < 0x80) return 1;
   // The range of the second byte excludes overlong forms, surrogates and code points above 0x10ffff.
   std::size_t bytes = 0;
   unsigned char low = 0x80;
   unsigned char high = 0xbf;
   if (first >= 0xc2 && first <= 0xdf) {
      bytes = 2;
   } else if (first >= 0xe0 && first <= 0xef) {
      bytes = 3;
      if (first == 0xe0) low = 0xa0;
      if (first == 0xed) high = 0x9f;
   } else if (first >= 0xf0 && first <= 0xf4) {
      bytes = 4;
      if (first == 0xf0) low = 0x90;
      if (first == 0xf4) high = 0x8f;
   }
   if (bytes == 0 || text.size() < bytes || at(1) < low || at(1) > high) return 0;
   for (std::size_t i = 2; i < bytes; ++i) {
      if ((at(i) & 0xc0) != 0x80) return 0;
   }
   return bytes;
}

bool isUtf8(std::string_view text) noexcept {
   // Most texts are ASCII: eight bytes at a time.
   std::uint64_t word = 0;
   while (text.size() >= sizeof word) {
      std::memcpy(&word, text.data(), sizeof word);
      if ((word & 0x8080808080808080U) != 0) break;
      text.remove_prefix(sizeof word);
   }
   while (!text.empty()) {
      const std::size_t bytes = utf8CharacterBytes(text);
      if (bytes == 0) return false;
      text.remove_prefix(bytes);
   }
   return true;
}

}  // namespace Zelt
