// The figures of IP routes as the mirror services list, set and report them.
#pragma once

#include "Measurements.h"

namespace bench {

// list_ip_routes, and list_ip_routes_embedded with the vias.
void measureRouteList(const Setup& setup, Report& report);
void measureRouteListEmbedded(const Setup& setup, Report& report);
// list_filtered_skip_ns and list_filtered_ping_ms.
void measureFilteredList(const Setup& setup, Report& report);
void measureMirrorRoutes(const Setup& setup, Report& report);
void measureFibWatch(const Setup& setup, Report& report);

}  // namespace bench
