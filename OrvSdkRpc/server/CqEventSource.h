// What a stream handler has outstanding on the completion queue.
//
// Thread-safety: plain values.
#pragma once

#include <cstdint>
#include <string_view>

namespace OrvSdkRpc {

enum class CqEventSource : std::uint32_t {
   // Nothing.
   None = 0,
   // An immediate alarm that wakes the handler on the pump thread.
   Alarm = 1,
   // A write.
   Write = 2,
};

// RETURNS: "NONE", "ALARM" or "WRITE".
// THROWS: std::logic_error "Unknown event source {}" for any other value.
std::string_view toString(CqEventSource source);

}  // namespace OrvSdkRpc
