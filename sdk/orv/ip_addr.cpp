#include "orv/ip_addr.h"

#include <arpa/inet.h>

#include "orv/error.h"

namespace orv {
namespace {

using groups_t = std::array<std::uint16_t, 8>;

// The longest run of zero groups, the first if several are equally long. A single group does not count.
struct zero_run {
   std::size_t start = 0;
   std::size_t length = 0;
};
zero_run longest_zero_run(const groups_t& groups, std::size_t count) {
   zero_run best;
   for (std::size_t i = 0; i < count;) {
      std::size_t end = i;
      while (end < count && groups[end] == 0)
         ++end;
      if (end - i > best.length) best = {.start = i, .length = end - i};
      i = end + 1;
   }
   return best.length > 1 ? best : zero_run{};
}

std::string dotted(const std::uint8_t* b) {
   return fmt::format("{}.{}.{}.{}", b[0], b[1], b[2], b[3]);
}

std::string ipv6_text(const std::uint8_t* b) {
   groups_t groups;
   for (std::size_t i = 0; i < groups.size(); ++i) {
      groups[i] = static_cast<std::uint16_t>((b[2 * i] << 8) | b[2 * i + 1]);
   }
   // RFC 5952 section 5: an address in ::ffff:0:0/96 shows its IPv4 part as a dotted quad.
   constexpr std::array<std::uint8_t, 12> kMapped{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
   if (std::memcmp(b, kMapped.data(), kMapped.size()) == 0) return "::ffff:" + dotted(b + 12);

   const zero_run run = longest_zero_run(groups, groups.size());
   std::string out;
   for (std::size_t i = 0; i < groups.size(); ++i) {
      if (run.length != 0 && i == run.start) {
         out += "::";
         i += run.length - 1;
         continue;
      }
      if (!out.empty() && out.back() != ':') out += ':';
      fmt::format_to(std::back_inserter(out), "{:x}", groups[i]);
   }
   return out;
}

}  // namespace

ip_addr_t::ip_addr_t(std::string_view text) {
   if (text.empty()) return;
   // inet_pton stops at the first zero byte, so a text that contains one is rejected here.
   std::array<char, INET6_ADDRSTRLEN> terminated{};
   if (text.size() < terminated.size() && text.find('\0') == std::string_view::npos) {
      std::memcpy(terminated.data(), text.data(), text.size());
      if (::inet_pton(AF_INET, terminated.data(), bytes_.data()) == 1) {
         af_ = af_ipv4;
         return;
      }
      if (::inet_pton(AF_INET6, terminated.data(), bytes_.data()) == 1) {
         af_ = af_ipv6;
         return;
      }
   }
   throw invalid_argument_error(
        fmt::format("invalid IP address '{}': expected an IPv4 or IPv6 address", detail::quotable(text)));
}

std::string ip_addr_t::to_string() const {
   switch (af_) {
      case af_none:
         return {};
      case af_ipv4:
         return dotted(bytes_.data());
      case af_ipv6:
         return ipv6_text(bytes_.data());
      default:
         return fmt::format("(address family {})", af_);
   }
}

}  // namespace orv
