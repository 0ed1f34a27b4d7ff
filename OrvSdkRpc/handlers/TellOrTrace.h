// The boundary between the SDK's callbacks and the streams.
//
// Thread-safety: no state.
#pragma once

#include <string_view>
#include <utility>

#include "orv/error.h"
#include "orv/tracer.h"

namespace OrvSdkRpc {

// Runs `tell`, which converts an SDK event and then publishes it. If the wire format cannot express a value,
// perhaps of a newer SDK, or the SDK refuses a look-up, this event (`what`) is traced and lost. An exception
// that reached the SDK's main loop would end the switch.
//
// `tell` must convert before it publishes. If it throws, what it has already published stays published.
template <class Tell>
void tellOrTrace(const orv::tracer& tracer, std::string_view what, Tell&& tell) {
   try {
      std::forward<Tell>(tell)();
   } catch (const orv::error& e) {
      orv::fmttrace(tracer, 0, "{} is not told: {}", what, e.what());
   }
}

}  // namespace OrvSdkRpc
