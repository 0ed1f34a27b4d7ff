// The debug handle of the agent's lifecycle: levels 0 and 1, and 5 for a panic.
//
// Thread-safe.
#pragma once

#include "orv/tracer.h"

namespace OrvSdkRpc {

inline const orv::tracer& agentTracer() {
   static const orv::tracer tracer("OrvSdkRpc");
   return tracer;
}

}  // namespace OrvSdkRpc
