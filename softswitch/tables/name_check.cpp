#include "softswitch/tables/name_check.h"

#include <fmt/format.h>

#include "orv/error.h"
#include "orv/value.h"
#include "platform/zelt/Utf8.h"

namespace softswitch {

std::string textFault(std::string_view text, std::size_t bytesMax) {
   if (text.size() > bytesMax) return fmt::format("of {} bytes, expected at most {}", text.size(), bytesMax);
   if (!Zelt::isUtf8(text)) return fmt::format("'{}' is not UTF-8", orv::detail::quotable(text));
   return {};
}

void checkText(std::string_view what, std::string_view text, std::size_t bytesMax) {
   if (const auto fault = textFault(text, bytesMax); !fault.empty())
      throw orv::invalid_argument_error(fmt::format("{} {}", what, fault));
}

}  // namespace softswitch
