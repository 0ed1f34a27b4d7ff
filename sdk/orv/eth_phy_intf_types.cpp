#include "orv/eth_phy_intf_types.h"

#include <array>

namespace orv {
namespace {

struct speed_row {
   std::string_view text;
   std::uint64_t bits_per_second;
};

constexpr std::uint64_t mega = 1'000'000;
constexpr std::uint64_t giga = 1'000 * mega;

// By number.
constexpr std::array<speed_row, 15> speeds{{
     {"unknown", 0},
     {"10M", 10 * mega},
     {"100M", 100 * mega},
     {"1G", 1 * giga},
     {"2.5G", 2'500 * mega},
     {"5G", 5 * giga},
     {"10G", 10 * giga},
     {"25G", 25 * giga},
     {"40G", 40 * giga},
     {"50G", 50 * giga},
     {"100G", 100 * giga},
     {"200G", 200 * giga},
     {"400G", 400 * giga},
     {"800G", 800 * giga},
     {"1.6T", 1'600 * giga},
}};

speed_row row_of(eth_link_speed_t v) noexcept {
   const auto index = static_cast<std::size_t>(v);
   return index < speeds.size() ? speeds[index] : speed_row{};
}

}  // namespace

std::string_view enum_text(eth_link_speed_t v) noexcept {
   return row_of(v).text;
}

std::uint64_t bits_per_second(eth_link_speed_t v) noexcept {
   return row_of(v).bits_per_second;
}

}  // namespace orv
