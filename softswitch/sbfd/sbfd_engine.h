// The timing of sBFD echo sessions (RFC 7880): probes, session status and round-trip times.
//
// A session starts down. It sends a probe at every interval, whether up or down. The first probe leaves at a
// point of the first interval that depends on the slot, so that sessions created together do not send
// together. An answer takes the session up. No answer for interval times multiplier takes it down, or to
// admin_down if its interface is administratively disabled. There is no handshake, so no session is ever in
// init. A round-trip time counts for the session's lifetime and for the current snapshot interval. The first
// answer at or after the end of that interval closes it; a session that reports round-trip times then has a
// report.
//
// Time that the switch itself loses between a probe's due time and its sending is not held against the far
// end: detection is delayed by the same amount.
//
// Times are nanoseconds of the caller's monotonic clock; nothing here reads a clock. Probes leave and answers
// are taken at whole ticks of the wheel (1 ms). Nothing is allocated per packet.
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <vector>

#include "orv/sbfd_types.h"
#include "softswitch/sbfd/sbfd_path.h"
#include "softswitch/sbfd/sbfd_wheel.h"

namespace softswitch {

class SbfdEngine {
public:
   static constexpr std::int64_t defaultSnapshotNanos = 1'000'000'000;

   // REQUIRES: the path outlives the engine.
   explicit SbfdEngine(SbfdPath& path, std::int64_t snapshotNanos = defaultSnapshotNanos)
        : path_(path), snapshotNanos_(snapshotNanos) {}

   // REQUIRES: interval and multiplier are not 0.
   SbfdSlot add(const orv::sbfd_echo_session_key_t& key, const orv::sbfd_interval_t& interval,
                std::int64_t now);
   void del(SbfdSlot slot);
   // Restarts detection with the new interval.
   void intervalIs(SbfdSlot slot, const orv::sbfd_interval_t& interval, std::int64_t now);
   // Whether the session's interface is enabled, and whether it passes packets.
   void linkIs(SbfdSlot slot, bool enabled, bool up, std::int64_t now);
   // Round-trip times are measured either way.
   void reportsRttIs(SbfdSlot slot, bool reports) { sessions_[slot].reportsRtt = reports; }

   orv::bfd_session_status_t status(SbfdSlot slot) const { return sessions_[slot].status; }
   // RETURNS: zeros for what has not been measured yet.
   orv::sbfd_echo_session_rtt_stats_t rtt(SbfdSlot slot) const;
   std::uint64_t sent(SbfdSlot slot) const { return sessions_[slot].sent; }
   std::uint64_t answered(SbfdSlot slot) const { return sessions_[slot].life.count; }

   // Does what is due by `now`. Asks `shouldYield` from time to time.
   // RETURNS: whether it stopped early and has to be called again.
   bool run(std::int64_t now, const std::function<bool()>& shouldYield);
   // RETURNS: when run() next has work; sbfdNever if it has none.
   std::int64_t nextDue() const;

   struct StatusChange {
      SbfdSlot slot;
      orv::bfd_session_status_t status;
   };
   // RETURNS: the oldest status change that run() has found; changes of removed sessions are skipped.
   std::optional<StatusChange> takeStatus();
   // RETURNS: a session with a closed snapshot that was not yet reported.
   std::optional<SbfdSlot> takeRtt();
   bool hasReports() const { return !statuses_.empty() || !rtts_.empty(); }

private:
   struct Account {
      std::uint64_t count = 0;
      std::uint64_t sum = 0;  // microseconds, as min and max
      std::uint32_t min = 0;
      std::uint32_t max = 0;

      void add(std::uint32_t micros);
      std::uint32_t average() const { return count == 0 ? 0 : static_cast<std::uint32_t>(sum / count); }
   };
   struct Session {
      std::int64_t interval = 0;
      std::int64_t detection = 0;
      std::int64_t nextProbe = sbfdNever;
      std::int64_t deadline = sbfdNever;  // when the next answer is due
      std::int64_t snapshotSince = sbfdNever;
      std::uint64_t sent = 0;
      Account life;
      Account snapshot;  // the running one
      Account closed;    // the last complete one
      std::uint32_t lastRtt = 0;
      std::uint32_t generation = 0;  // of the slot
      orv::bfd_session_status_t status = orv::bfd_session_status_t::unknown;
      bool enabled = true;
      bool reportsRtt = false;
      bool rttQueued = false;
   };
   struct QueuedStatus {
      StatusChange change;
      std::uint32_t generation;
   };

   static std::int64_t phase(SbfdSlot slot, std::int64_t interval);
   void arm(SbfdSlot slot);
   void heard(const SbfdAnswer& answer);
   void measured(SbfdSlot slot, const SbfdAnswer& answer);
   void due(SbfdSlot slot, std::int64_t now);
   void statusIs(SbfdSlot slot, orv::bfd_session_status_t status);

   SbfdPath& path_;
   const std::int64_t snapshotNanos_;
   std::vector<Session> sessions_;  // by slot
   std::vector<SbfdSlot> free_;
   SbfdWheel wheel_;
   std::deque<QueuedStatus> statuses_;
   std::deque<SbfdSlot> rtts_;
};

}  // namespace softswitch
