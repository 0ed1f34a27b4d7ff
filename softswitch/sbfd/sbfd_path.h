// The way that probes of sBFD echo sessions take to the far end and back (RFC 7880, RFC 7881).
//
// The engine (sbfd_engine.h) says when a probe leaves and asks for the answers that have come; what lies in
// between is a path's own: a model in memory (sbfd_model.h), or sockets. Times are nanoseconds of one clock
// that never goes back, the engine's. A path stamps arrivals itself, so that a main loop that comes late to
// an answer does not lengthen the round-trip time.
//
// Thread-safety: guarded by the SDK's lock; called from the main loop, but for sessionAdd, sessionDel and
// linkIs, which whoever configures calls too.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

#include "orv/sbfd_types.h"

namespace softswitch {

// A session's number: small, and given again once the session is gone.
using SbfdSlot = std::uint32_t;

inline constexpr std::int64_t sbfdNever = std::numeric_limits<std::int64_t>::max();

struct SbfdAnswer {
   SbfdSlot slot = 0;
   std::int64_t sent = 0;      // when its probe left
   std::int64_t received = 0;  // when it came in, at or before the time it is asked for
};

class SbfdPath {
public:
   virtual ~SbfdPath() = default;

   // For `show`.
   virtual std::string_view name() const = 0;

   // Before the first probe of a session. Its link is down until linkIs says otherwise.
   virtual void sessionAdd(SbfdSlot slot, const orv::sbfd_echo_session_key_t& key) = 0;
   // Answers that are still out are never delivered.
   virtual void sessionDel(SbfdSlot slot) = 0;
   // Whether the interface that the session leaves through passes packets. A path whose wires know by
   // themselves may ignore it.
   virtual void linkIs(SbfdSlot slot, bool up) = 0;

   // A probe leaves now. Must not allocate per probe in the long run.
   virtual void send(SbfdSlot slot, std::int64_t now) = 0;
   // Takes the earliest answer that has come in by `now`; false when there is none.
   virtual bool receive(std::int64_t now, SbfdAnswer& answer) = 0;
   // When to ask again: the next arrival, or sbfdNever when none is under way. A path that cannot know names
   // the time of its next poll.
   virtual std::int64_t nextArrival() const = 0;
};

}  // namespace softswitch
