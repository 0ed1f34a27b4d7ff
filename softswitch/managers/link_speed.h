// Link speeds: from bits per second, and from and to text.
//
// Thread-safety: functions without state.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "orv/eth_phy_intf_types.h"

namespace softswitch {

// RETURNS: unknown if no link has this speed.
orv::eth_link_speed_t linkSpeed(std::uint64_t bitsPerSecond);

// "100G", "2.5G", "10M", in either case; empty for any other text.
std::optional<orv::eth_link_speed_t> linkSpeedFromText(std::string_view text);

// "10M, 100M, … or 1.6T"
std::string linkSpeedNames();

}  // namespace softswitch
