// The figures of MPLS routes as their mirror service sets, reports and acknowledges them.
#pragma once

#include "Measurements.h"

namespace bench {

void measureMirrorLabels(const Setup& setup, Report& report);
// watch_mpls_routes_fanout_1.
void measureLabelWatch(const Setup& setup, Report& report);
void measureAckLatency(const Setup& setup, Report& report);
void measureAckRate(const Setup& setup, Report& report);

}  // namespace bench
