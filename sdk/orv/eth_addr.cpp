#include "orv/eth_addr.h"

#include <charconv>

#include "orv/error.h"

namespace orv {

eth_addr_t::eth_addr_t(std::string_view text) {
   constexpr std::size_t kTextSize = 3 * size - 1;
   bool good = text.size() == kTextSize;
   for (std::size_t i = 0; good && i < size; ++i) {
      const char* const digits = text.data() + 3 * i;
      const auto [end, failed] = std::from_chars(digits, digits + 2, bytes_[i], 16);
      good = failed == std::errc{} && end == digits + 2 && (i + 1 == size || *end == ':');
   }
   if (!good) {
      throw invalid_argument_error(fmt::format(
           "invalid Ethernet address '{}': expected six pairs of hexadecimal digits with ':' between",
           detail::quotable(text)));
   }
}

std::string eth_addr_t::to_string() const {
   return fmt::format("{:02x}:{:02x}:{:02x}:{:02x}:{:02x}:{:02x}", bytes_[0], bytes_[1], bytes_[2], bytes_[3],
                      bytes_[4], bytes_[5]);
}

}  // namespace orv
