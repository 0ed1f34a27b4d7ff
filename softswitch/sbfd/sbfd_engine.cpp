#include "softswitch/sbfd/sbfd_engine.h"

#include <algorithm>
#include <limits>

namespace softswitch {
namespace {

using Status = orv::bfd_session_status_t;

constexpr std::int64_t nanosPerMilli = 1'000'000;
constexpr std::int64_t nanosPerMicro = 1'000;
constexpr unsigned stepsPerLook = 32;  // between two checks of the quantum

std::int64_t roundedUpToTick(std::int64_t time) {
   return (time + SbfdWheel::tickNanos - 1) / SbfdWheel::tickNanos * SbfdWheel::tickNanos;
}

}  // namespace

void SbfdEngine::Account::add(std::uint32_t micros) {
   min = count == 0 ? micros : std::min(min, micros);
   max = std::max(max, micros);
   sum += micros;
   ++count;
}

// Multiples of the golden ratio are spread evenly for any number of sessions.
std::int64_t SbfdEngine::phase(SbfdSlot slot, std::int64_t interval) {
   const std::uint32_t part = slot * 2'654'435'769U;
   return static_cast<std::int64_t>((static_cast<std::uint64_t>(interval) / nanosPerMicro * part) >> 32) *
          nanosPerMicro;
}

SbfdSlot SbfdEngine::add(const orv::sbfd_echo_session_key_t& key, const orv::sbfd_interval_t& interval,
                         std::int64_t now) {
   if (free_.empty()) {
      free_.push_back(static_cast<SbfdSlot>(sessions_.size()));
      sessions_.emplace_back();
      wheel_.grow(sessions_.size());
   }
   const auto slot = free_.back();
   path_.sessionAdd(slot, key);
   free_.pop_back();
   auto& session = sessions_[slot];
   const auto generation = session.generation;
   session = Session{};
   session.generation = generation;
   session.status = Status::down;
   intervalIs(slot, interval, now);
   return slot;
}

void SbfdEngine::del(SbfdSlot slot) {
   auto& session = sessions_[slot];
   ++session.generation;
   session.status = Status::unknown;
   session.rttQueued = false;
   wheel_.cancel(slot);
   path_.sessionDel(slot);
   free_.push_back(slot);
}

void SbfdEngine::intervalIs(SbfdSlot slot, const orv::sbfd_interval_t& interval, std::int64_t now) {
   auto& session = sessions_[slot];
   session.interval = interval.min_tx() * nanosPerMilli;
   session.detection = session.interval * interval.multiplier();
   session.nextProbe = now + phase(slot, session.interval);
   if (session.deadline != sbfdNever) session.deadline = now + session.detection;
   arm(slot);
}

void SbfdEngine::linkIs(SbfdSlot slot, bool enabled, bool up, std::int64_t now) {
   auto& session = sessions_[slot];
   path_.linkIs(slot, up);
   if (session.enabled == enabled) return;
   session.enabled = enabled;
   // A session that is not up may have to change between down and admin_down.
   if (session.deadline != sbfdNever) return;
   session.deadline = now + session.detection;
   arm(slot);
}

void SbfdEngine::arm(SbfdSlot slot) {
   wheel_.set(slot, std::min(sessions_[slot].nextProbe, sessions_[slot].deadline));
}

orv::sbfd_echo_session_rtt_stats_t SbfdEngine::rtt(SbfdSlot slot) const {
   const auto& session = sessions_[slot];
   orv::sbfd_echo_session_rtt_stats_t stats;
   stats.last_rtt_is(session.lastRtt);
   stats.min_rtt_is(session.life.min);
   stats.avg_rtt_is(session.life.average());
   stats.max_rtt_is(session.life.max);
   stats.snapshot_min_rtt_is(session.closed.min);
   stats.snapshot_avg_rtt_is(session.closed.average());
   stats.snapshot_max_rtt_is(session.closed.max);
   return stats;
}

bool SbfdEngine::run(std::int64_t now, const std::function<bool()>& shouldYield) {
   unsigned steps = 0;
   const auto stop = [&] { return ++steps % stepsPerLook == 0 && shouldYield(); };
   // Answers first, so that the end of the detection time never overtakes an answer that has arrived.
   SbfdAnswer answer;
   while (path_.receive(now, answer)) {
      heard(answer);
      if (stop()) return true;
   }
   while (const auto slot = wheel_.expired(now)) {
      due(*slot, now);
      if (stop()) return true;
   }
   return false;
}

std::int64_t SbfdEngine::nextDue() const {
   const auto arrival = path_.nextArrival();
   return std::min(wheel_.nextDue(), arrival == sbfdNever ? sbfdNever : roundedUpToTick(arrival));
}

void SbfdEngine::heard(const SbfdAnswer& answer) {
   auto& session = sessions_[answer.slot];
   // The wheel stays as it is: it holds the next probe, which is due before the deadline.
   const auto deadline = answer.received + session.detection;
   session.deadline = session.deadline == sbfdNever ? deadline : std::max(session.deadline, deadline);
   measured(answer.slot, answer);
   statusIs(answer.slot, Status::up);
}

void SbfdEngine::measured(SbfdSlot slot, const SbfdAnswer& answer) {
   auto& session = sessions_[slot];
   const auto micros = std::clamp<std::int64_t>((answer.received - answer.sent) / nanosPerMicro, 0,
                                                std::numeric_limits<std::uint32_t>::max());
   session.lastRtt = static_cast<std::uint32_t>(micros);
   session.life.add(session.lastRtt);
   session.snapshot.add(session.lastRtt);
   if (session.snapshotSince == sbfdNever) session.snapshotSince = answer.received;
   if (answer.received - session.snapshotSince < snapshotNanos_) return;
   session.closed = session.snapshot;
   session.snapshot = {};
   session.snapshotSince = answer.received;
   if (!session.reportsRtt || session.rttQueued) return;
   session.rttQueued = true;
   rtts_.push_back(slot);
}

void SbfdEngine::due(SbfdSlot slot, std::int64_t now) {
   auto& session = sessions_[slot];
   if (now >= session.nextProbe) {
      const auto late = now - session.nextProbe;
      if (late > SbfdWheel::tickNanos && session.deadline != sbfdNever) session.deadline += late;
      path_.send(slot, now);
      ++session.sent;
      session.nextProbe = (late < session.interval ? session.nextProbe : now) + session.interval;
   }
   if (now >= session.deadline) {
      session.deadline = sbfdNever;
      statusIs(slot, session.enabled ? Status::down : Status::admin_down);
   }
   arm(slot);
}

void SbfdEngine::statusIs(SbfdSlot slot, Status status) {
   auto& session = sessions_[slot];
   if (session.status == status) return;
   session.status = status;
   statuses_.push_back({.change = {.slot = slot, .status = status}, .generation = session.generation});
}

std::optional<SbfdEngine::StatusChange> SbfdEngine::takeStatus() {
   while (!statuses_.empty()) {
      const auto queued = statuses_.front();
      statuses_.pop_front();
      if (sessions_[queued.change.slot].generation == queued.generation) return queued.change;
   }
   return std::nullopt;
}

std::optional<SbfdSlot> SbfdEngine::takeRtt() {
   while (!rtts_.empty()) {
      const auto slot = rtts_.front();
      rtts_.pop_front();
      auto& session = sessions_[slot];
      if (!session.rttQueued) continue;
      session.rttQueued = false;
      return slot;
   }
   return std::nullopt;
}

}  // namespace softswitch
