// The state that the demonstration programs: numbered groups and routes.
//
// Thread-safety: pure functions.
#pragma once

#include <cstdint>
#include <string>

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orvtest::demo {

inline constexpr std::uint32_t groupCount = 1000;
inline constexpr std::uint32_t routesPerBulk = 1000;

// "core-0000" and so on, each with two entries over two of the sixty-four ports.
OrvSdkRpc::pb::nexthop_group_msg group(std::uint32_t index);
// 20.0.0.0/32 and so on. Each hundred routes in a row share a group; the last group is followed by the first.
OrvSdkRpc::pb::ip_route_msg route(std::uint32_t index);

}  // namespace orvtest::demo
