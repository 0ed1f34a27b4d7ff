// The figures of echo sessions.
#pragma once

#include "Measurements.h"

namespace bench {

// sbfd_sessions: share of a core that the daemon uses.
void measureSbfdSessions(const Setup& setup, Report& report);
// sbfd_alive_latency_ms.
void measureSbfdAliveLatency(const Setup& setup, Report& report);

}  // namespace bench
