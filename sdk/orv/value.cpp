#include "orv/value.h"

namespace orv::detail {

std::string quotable(std::string_view text) {
   constexpr std::size_t kMaxLength = 128;
   std::string out;
   for (const char c : text.substr(0, kMaxLength)) {
      if (c >= ' ' && c <= '~') {
         out += c;
      } else {
         out += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
      }
   }
   if (text.size() > kMaxLength) out += "...";
   return out;
}

}  // namespace orv::detail
