// Identifiers of forwarding equivalence classes (FECs): the kind in the top eight bits, a number within the
// kind below. 0 means no FEC.
//
// Thread-safety: functions without state.
#pragma once

#include <cstdint>

namespace softswitch {

enum class FecKind : std::uint8_t {
   hops = 1,          // an IP route with hops: the route's index plus one
   nexthopGroup = 3,  // a nexthop group: the number of its name
   mplsHops = 4,      // an MPLS route with hops: counted from one
};

constexpr std::uint64_t fecId(FecKind kind, std::uint64_t number) {
   return static_cast<std::uint64_t>(kind) << 56 | number;
}
constexpr FecKind fecKind(std::uint64_t id) {
   return static_cast<FecKind>(id >> 56);
}
constexpr std::uint64_t fecNumber(std::uint64_t id) {
   return id & 0x00ff'ffff'ffff'ffff;
}

}  // namespace softswitch
