#include "softswitch/managers/link_speed.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <vector>

namespace softswitch {
namespace {

// Slowest first.
std::vector<orv::eth_link_speed_t> speeds() {
   std::vector<orv::eth_link_speed_t> all;
   for (int i = 1; orv::bits_per_second(static_cast<orv::eth_link_speed_t>(i)) != 0; ++i)
      all.push_back(static_cast<orv::eth_link_speed_t>(i));
   return all;
}

}  // namespace

orv::eth_link_speed_t linkSpeed(std::uint64_t bitsPerSecond) {
   for (const auto speed : speeds()) {
      if (orv::bits_per_second(speed) == bitsPerSecond) return speed;
   }
   return orv::eth_link_speed_t::unknown;
}

std::optional<orv::eth_link_speed_t> linkSpeedFromText(std::string_view text) {
   std::string wanted(text);
   std::transform(wanted.begin(), wanted.end(), wanted.begin(),
                  [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
   for (const auto speed : speeds()) {
      if (enum_text(speed) == wanted) return speed;
   }
   return std::nullopt;
}

std::string linkSpeedNames() {
   std::vector<std::string> names;
   for (const auto speed : speeds())
      names.emplace_back(enum_text(speed));
   const auto last = std::move(names.back());
   names.pop_back();
   return fmt::format("{} or {}", fmt::join(names, ", "), last);
}

}  // namespace softswitch
