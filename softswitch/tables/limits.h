// How many objects of each kind the switch accepts. A set above a limit is refused and changes nothing.
//
// Thread-safety: plain values.
#pragma once

#include <cstddef>

namespace softswitch {

struct Limits {
   std::size_t ipRoutes = 2'000'000;
   std::size_t viasPerRoute = 1024;
   std::size_t nexthopGroups = 65'536;
   std::size_t entriesPerNexthopGroup = 1024;
   std::size_t nexthopGroupTunnels = 65'536;
   std::size_t mplsRoutes = 1'048'576;
   std::size_t mplsVrfLabels = 65'536;
   std::size_t vrfs = 4'096;
   std::size_t agentStatuses = 65'536;
   std::size_t acls = 16'384;
   std::size_t classMaps = 16'384;
   std::size_t policyMaps = 16'384;
   std::size_t trafficPolicies = 16'384;
   std::size_t bfdSessions = 16'384;
};

}  // namespace softswitch
