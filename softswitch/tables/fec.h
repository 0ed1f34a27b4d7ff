// Numbers of forwarding equivalence classes: their kind in the top eight bits, below it whatever the kind
// counts. 0 is no FEC.
//
// Thread-safety: none needed.
#pragma once

#include <cstdint>

namespace softswitch {

enum class FecKind : std::uint8_t {
   hops = 1,          // of one IP route with hops; its index plus one
   nexthopGroup = 3,  // of a group; the number of its name
   mplsHops = 4,      // of one MPLS route with hops; counted from one
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
