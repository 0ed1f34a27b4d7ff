#include "softswitch/sbfd/sbfd_model.h"

#include <algorithm>

#include "orv/error.h"

namespace softswitch {

struct SbfdModel::Later {
   bool operator()(const UnderWay& a, const UnderWay& b) const {
      if (a.answer.received != b.answer.received) return a.answer.received > b.answer.received;
      return static_cast<std::int32_t>(a.number - b.number) > 0;
   }
};

void SbfdModel::check(const SbfdFarEnd& farEnd) {
   constexpr std::int64_t micro = 1000;
   const auto span = [](std::string_view what, std::int64_t nanos) {
      if (nanos >= 0 && nanos <= delayMax) return;
      throw orv::invalid_range_error(
           what, static_cast<std::uint64_t>(std::max<std::int64_t>(nanos, 0) / micro), 0, delayMax / micro);
   };
   span("sBFD far end's delay, us,", farEnd.delayNanos);
   span("sBFD far end's jitter, us,", farEnd.jitterNanos);
   if (farEnd.lossPercent > 100)
      throw orv::invalid_range_error("sBFD far end's loss, percent,", std::uint64_t{farEnd.lossPercent}, 0,
                                     100);
}

void SbfdModel::defaultFarEndIs(const SbfdFarEnd& farEnd) {
   check(farEnd);
   default_ = farEnd;
}

void SbfdModel::farEndIs(const SbfdFarEndPlace& place, const SbfdFarEnd& farEnd) {
   check(farEnd);
   if (!place.nexthop)
      throw orv::invalid_argument_error("sBFD far end has no nexthop, expected an IPv4 or IPv6 address");
   if (farEnds_.insert_or_assign(place, farEnd).second) resolveAll();
}

void SbfdModel::farEndDel(const SbfdFarEndPlace& place) {
   const auto it = farEnds_.find(place);
   if (it == farEnds_.end()) return;
   // Keeps the far end alive while sessions still point to it.
   const auto gone = farEnds_.extract(it);
   resolveAll();
}

const SbfdFarEnd& SbfdModel::farEnd(const SbfdFarEndPlace& place) const {
   auto it = farEnds_.find(place);
   if (it == farEnds_.end()) it = farEnds_.find({.nexthop = place.nexthop, .intf = {}});
   return it == farEnds_.end() ? default_ : it->second;
}

void SbfdModel::resolveAll() {
   for (auto& session : sessions_)
      session.farEnd = &farEnd(session.place);
}

void SbfdModel::sessionAdd(SbfdSlot slot, const orv::sbfd_echo_session_key_t& key) {
   if (slot >= sessions_.size()) sessions_.resize(slot + std::size_t{1});
   auto& session = sessions_[slot];
   session.place = {.nexthop = key.nexthop(), .intf = key.nexthop_intf()};
   session.farEnd = &farEnd(session.place);
   session.linkUp = false;
}

void SbfdModel::sessionDel(SbfdSlot slot) {
   auto& session = sessions_[slot];
   ++session.generation;
   session.linkUp = false;
}

void SbfdModel::send(SbfdSlot slot, std::int64_t now) {
   const auto& session = sessions_[slot];
   const auto& farEnd = *session.farEnd;
   if (!session.linkUp || !farEnd.up) return;
   if (farEnd.lossPercent != 0 && random() % 100 < farEnd.lossPercent) return;
   auto arrival = now + farEnd.delayNanos;
   if (farEnd.jitterNanos != 0)
      arrival += static_cast<std::int64_t>(random() % (static_cast<std::uint64_t>(farEnd.jitterNanos) + 1));
   underWay_.push_back({.answer = {.slot = slot, .sent = now, .received = arrival},
                        .generation = session.generation,
                        .number = sent_++});
   std::push_heap(underWay_.begin(), underWay_.end(), Later{});
}

bool SbfdModel::receive(std::int64_t now, SbfdAnswer& answer) {
   while (!underWay_.empty() && underWay_.front().answer.received <= now) {
      std::pop_heap(underWay_.begin(), underWay_.end(), Later{});
      const auto arrived = underWay_.back();
      underWay_.pop_back();
      const auto& session = sessions_[arrived.answer.slot];
      if (session.generation != arrived.generation || !session.linkUp) continue;
      answer = arrived.answer;
      return true;
   }
   return false;
}

std::uint64_t SbfdModel::random() {
   // xorshift64*
   random_ ^= random_ >> 12;
   random_ ^= random_ << 25;
   random_ ^= random_ >> 27;
   return (random_ * 0x2545f4914f6cdd1d) >> 32;
}

}  // namespace softswitch
