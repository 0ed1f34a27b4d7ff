#pragma once

// The names of the nexthop groups that hardware has, by the switch's number for a group.
// Thread-safety: guarded by the activity lock, as Rillo::Table.

#include <cstdint>

#include "platform/pavo/String.h"
#include "platform/rillo/Table.h"
#include "platform/state/Fib.h"

namespace NexthopGroup {

// The switch's number for a group, below 2^56. The number of a removed group may be reused for another name.
using NexthopGroupId = std::uint64_t;

// The FEC that leads to a group, and the group that such a FEC leads to.
constexpr Rillo::Fib::FecId nexthopGroupIdToFecId(NexthopGroupId id) {
   return Rillo::Fib::FecId(NexthopGroupId{Rillo::Fib::adjTypeNexthopGroup} << Rillo::Fib::adjTypePos() | id);
}
// REQUIRES: the FEC's adjacency type is adjTypeNexthopGroup.
constexpr NexthopGroupId fecIdToNexthopGroupId(Rillo::Fib::FecId fec) {
   return fec.value() & ((NexthopGroupId{1} << Rillo::Fib::adjTypePos()) - 1);
}

class NexthopGroupMap final : public Rillo::Table<NexthopGroupId, Pavo::String> {
public:
   static constexpr std::string_view entityType = "NexthopGroup::NexthopGroupMap";
   using Table::Table;

   // RETURNS: the group's name; empty if hardware has no group of this number.
   [[nodiscard]] Pavo::String name(NexthopGroupId id) const { return row(id).value_or(Pavo::String()); }
};

}  // namespace NexthopGroup
