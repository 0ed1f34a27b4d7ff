// The edge between a callback of the SDK and the streams.
//
// Thread-safe: no state.
#pragma once

#include <string_view>
#include <utility>

#include "orv/error.h"
#include "orv/tracer.h"

namespace OrvSdkRpc {

// Runs `tell`, which converts what the SDK said and then hands it on. A value that the wire has no form for,
// a newer SDK's perhaps, or one that the SDK refuses to look up costs this one event (`what`) and a trace:
// thrown on into the SDK's main loop, it would end the switch.
//
// `tell` converts first. What it has handed on when it throws stays handed on.
template <class Tell>
void tellOrTrace(const orv::tracer& tracer, std::string_view what, Tell&& tell) {
   try {
      std::forward<Tell>(tell)();
   } catch (const orv::error& e) {
      orv::fmttrace(tracer, 0, "{} is not told: {}", what, e.what());
   }
}

}  // namespace OrvSdkRpc
