// A path without wires: every probe crosses a model of the far end, which answers after a delay or loses it.
//
// One far end answers for all next hops; a next hop, or a next hop behind one interface, may be given one of
// its own. Which packets are lost, and by how much jitter an answer is late, comes from a fixed pseudo-random
// sequence. Nothing of this survives a restart.
//
// Memory: 32 bytes per answer that is under way, kept for later use.
//
// Thread-safety: as sbfd_path.h; the far ends are guarded by the SDK's lock.
#pragma once

#include <map>
#include <vector>

#include "softswitch/sbfd/sbfd_path.h"

namespace softswitch {

struct SbfdFarEnd {
   std::int64_t delayNanos = 200'000;  // from the probe's leaving to the answer's arrival
   std::int64_t jitterNanos = 0;       // at most this is added, evenly spread
   unsigned lossPercent = 0;           // of the probes
   bool up = true;                     // answers at all

   bool operator==(const SbfdFarEnd&) const = default;
};

// Where a far end is. Without an interface: behind every interface that has no entry of its own.
struct SbfdFarEndPlace {
   orv::ip_addr_t nexthop;
   orv::intf_id_t intf;

   auto operator<=>(const SbfdFarEndPlace&) const = default;
};

class SbfdModel final : public SbfdPath {
public:
   static constexpr std::int64_t delayMax = 10'000'000'000;
   using FarEnds = std::map<SbfdFarEndPlace, SbfdFarEnd>;

   // Both refuse (orv::invalid_range_error) delay and jitter above 10 s and a loss above 100 percent.
   void defaultFarEndIs(const SbfdFarEnd& farEnd);
   // Refuses a place without a nexthop too (orv::invalid_argument_error).
   void farEndIs(const SbfdFarEndPlace& place, const SbfdFarEnd& farEnd);
   // The place is answered for by what else there is; one without a far end of its own is no error.
   void farEndDel(const SbfdFarEndPlace& place);
   // Who answers there.
   const SbfdFarEnd& farEnd(const SbfdFarEndPlace& place) const;
   const SbfdFarEnd& defaultFarEnd() const { return default_; }
   const FarEnds& farEnds() const { return farEnds_; }

   std::string_view name() const override { return "model"; }
   void sessionAdd(SbfdSlot slot, const orv::sbfd_echo_session_key_t& key) override;
   void sessionDel(SbfdSlot slot) override;
   void linkIs(SbfdSlot slot, bool up) override { sessions_[slot].linkUp = up; }
   void send(SbfdSlot slot, std::int64_t now) override;
   bool receive(std::int64_t now, SbfdAnswer& answer) override;
   std::int64_t nextArrival() const override {
      return underWay_.empty() ? sbfdNever : underWay_.front().answer.received;
   }

private:
   struct Session {
      SbfdFarEndPlace place;
      const SbfdFarEnd* farEnd = nullptr;
      std::uint32_t generation = 0;  // of the slot
      bool linkUp = false;
   };
   struct UnderWay {
      SbfdAnswer answer;
      std::uint32_t generation;
      std::uint32_t number;  // of those that arrive at one time the first sent comes first
   };
   struct Later;

   static void check(const SbfdFarEnd& farEnd);
   void resolveAll();
   std::uint64_t random();

   SbfdFarEnd default_;
   FarEnds farEnds_;
   std::vector<Session> sessions_;   // by slot
   std::vector<UnderWay> underWay_;  // a heap, the earliest arrival first
   std::uint64_t random_ = 0x9e3779b97f4a7c15;
   std::uint32_t sent_ = 0;
};

}  // namespace softswitch
