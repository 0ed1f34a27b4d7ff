// Tracer of the agent's lifecycle: levels 0 and 1, and level 5 for a panic.
//
// Thread-safety: any thread.
#pragma once

#include "orv/tracer.h"

namespace OrvSdkRpc {

inline const orv::tracer& agentTracer() {
   static const orv::tracer tracer("OrvSdkRpc");
   return tracer;
}

}  // namespace OrvSdkRpc
