// The timing of sBFD echo sessions (RFC 7880): when probes leave, when a session is up or down, round-trip
// times.
//
// A session starts down. It sends a probe at every interval, whether up or down, the first one at a point of
// its first interval that depends on its slot, so that sessions made together do not send together. An answer
// takes it up; no answer for interval times multiplier takes it down, or to admin_down where its interface
// is administratively disabled. There is no handshake, so no session is ever in init. A round-trip time
// counts for the session's life and for the running snapshot interval; the first answer at or behind the end
// of that interval closes it, and a session that reports then has something to report.
//
// Time that the switch itself lost between a probe's time and its sending is not held against the far end:
// detection is put off by as much.
//
// Times are whatever clock the caller has, nanoseconds, never going back; nothing here reads one. Probes
// leave and answers are taken at whole ticks of the wheel (1 ms). Nothing is allocated per packet.
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

   // The path outlives the engine.
   explicit SbfdEngine(SbfdPath& path, std::int64_t snapshotNanos = defaultSnapshotNanos)
        : path_(path), snapshotNanos_(snapshotNanos) {}

   // Interval and multiplier are not 0.
   SbfdSlot add(const orv::sbfd_echo_session_key_t& key, const orv::sbfd_interval_t& interval,
                std::int64_t now);
   void del(SbfdSlot slot);
   // Detection begins anew with the new interval.
   void intervalIs(SbfdSlot slot, const orv::sbfd_interval_t& interval, std::int64_t now);
   // Whether the session's interface passes packets, and whether it is enabled at all.
   void linkIs(SbfdSlot slot, bool enabled, bool up, std::int64_t now);
   // Round-trip times are measured all the same.
   void reportsRttIs(SbfdSlot slot, bool reports) { sessions_[slot].reportsRtt = reports; }

   orv::bfd_session_status_t status(SbfdSlot slot) const { return sessions_[slot].status; }
   // Zeros for what has not been measured yet.
   orv::sbfd_echo_session_rtt_stats_t rtt(SbfdSlot slot) const;
   std::uint64_t sent(SbfdSlot slot) const { return sessions_[slot].sent; }
   std::uint64_t answered(SbfdSlot slot) const { return sessions_[slot].life.count; }

   // Does what is due by `now`. Asks now and then whether to stop early; true when it did and should be
   // called again.
   bool run(std::int64_t now, const std::function<bool()>& shouldYield);
   // When run() has something to do next; sbfdNever when nothing.
   std::int64_t nextDue() const;

   struct StatusChange {
      SbfdSlot slot;
      orv::bfd_session_status_t status;
   };
   // What run() has found, the oldest first; nothing of sessions that are gone.
   std::optional<StatusChange> takeStatus();
   // A session with a snapshot that was closed and not yet reported.
   std::optional<SbfdSlot> takeRtt();
   bool hasReports() const { return !statuses_.empty() || !rtts_.empty(); }

private:
   struct Account {
      std::uint64_t count = 0;
      std::uint64_t sum = 0;  // microseconds, all three
      std::uint32_t min = 0;
      std::uint32_t max = 0;

      void add(std::uint32_t micros);
      std::uint32_t average() const { return count == 0 ? 0 : static_cast<std::uint32_t>(sum / count); }
   };
   struct Session {
      std::int64_t interval = 0;
      std::int64_t detection = 0;
      std::int64_t nextProbe = sbfdNever;
      std::int64_t deadline = sbfdNever;  // to be answered by
      std::int64_t snapshotSince = sbfdNever;
      std::uint64_t sent = 0;
      Account life;
      Account snapshot;  // the running one
      Account closed;    // the last one that was over
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
