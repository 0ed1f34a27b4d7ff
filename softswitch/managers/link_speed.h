// Speeds of links: from bits per second, and from and to what an operator writes.
//
// Thread-safety: functions without state.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "orv/eth_phy_intf_types.h"

namespace softswitch {

// Unknown for a number that no link has.
orv::eth_link_speed_t linkSpeed(std::uint64_t bitsPerSecond);

// "100G", "2.5G", "10M", in either case; nothing for other words.
std::optional<orv::eth_link_speed_t> linkSpeedFromText(std::string_view text);

// "10M, 100M, … or 1.6T"
std::string linkSpeedNames();

}  // namespace softswitch
