// The path of sBFD echo probes to the far end and back (RFC 7880, RFC 7881).
//
// The engine (sbfd_engine.h) decides when a probe leaves and polls for answers. A path implements what is in
// between: a model in memory (sbfd_model.h), or sockets. Times are nanoseconds of the engine's monotonic
// clock. A path timestamps arrivals itself, so that a main loop that polls late does not lengthen the
// round-trip time.
//
// Thread-safety: guarded by the SDK's lock. The main loop makes all calls except sessionAdd, sessionDel and
// linkIs, which a configuring thread makes too.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

#include "orv/sbfd_types.h"

namespace softswitch {

// A session's number: small, and reused after the session is removed.
using SbfdSlot = std::uint32_t;

inline constexpr std::int64_t sbfdNever = std::numeric_limits<std::int64_t>::max();

struct SbfdAnswer {
   SbfdSlot slot = 0;
   std::int64_t sent = 0;      // when its probe left
   std::int64_t received = 0;  // when it arrived, at or before the `now` of receive()
};

class SbfdPath {
public:
   virtual ~SbfdPath() = default;

   // For `show`.
   virtual std::string_view name() const = 0;

   // Called before the first probe of a session. Its link is down until linkIs() changes that.
   virtual void sessionAdd(SbfdSlot slot, const orv::sbfd_echo_session_key_t& key) = 0;
   // Outstanding answers of the session are never delivered.
   virtual void sessionDel(SbfdSlot slot) = 0;
   // Whether the interface that the session leaves through passes packets. A path that can observe its wires
   // may ignore it.
   virtual void linkIs(SbfdSlot slot, bool up) = 0;

   // Sends a probe now. Must not allocate per probe in steady state.
   virtual void send(SbfdSlot slot, std::int64_t now) = 0;
   // Takes the earliest answer that has arrived by `now`.
   // RETURNS: false if no answer has arrived.
   virtual bool receive(std::int64_t now, SbfdAnswer& answer) = 0;
   // RETURNS: when to poll again: at the next arrival, or sbfdNever if no answer is under way. A path that
   // cannot know returns the time of its next poll.
   virtual std::int64_t nextArrival() const = 0;
};

}  // namespace softswitch
