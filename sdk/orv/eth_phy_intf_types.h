// Values of physical Ethernet interfaces.
//
// Thread-safety: plain values.
#pragma once

#include "orv/value.h"

namespace orv {

// Speed of a link.
enum class eth_link_speed_t : std::uint8_t {
   unknown = 0,  // not known, or no link
   speed_10mb = 1,
   speed_100mb = 2,
   speed_1gb = 3,
   speed_2p5gb = 4,
   speed_5gb = 5,
   speed_10gb = 6,
   speed_25gb = 7,
   speed_40gb = 8,
   speed_50gb = 9,
   speed_100gb = 10,
   speed_200gb = 11,
   speed_400gb = 12,
   speed_800gb = 13,
   speed_1600gb = 14,
};
[[nodiscard]] std::string_view enum_text(eth_link_speed_t v) noexcept;

// 0 for an unknown speed and for a number without a name.
[[nodiscard]] std::uint64_t bits_per_second(eth_link_speed_t v) noexcept;

}  // namespace orv
