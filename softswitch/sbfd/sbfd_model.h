// A simulated path: a model of the far end answers each probe after a delay, or loses it.
//
// A default far end answers for all next hops. A next hop, or a next hop behind one interface, may have a far
// end of its own. A fixed pseudo-random sequence decides which packets are lost and how much jitter delays an
// answer. Nothing here survives a restart.
//
// Memory: 32 bytes per answer under way, kept for reuse.
//
// Thread-safety: as sbfd_path.h; the far ends are guarded by the SDK's lock.
#pragma once

#include <map>
#include <vector>

#include "softswitch/sbfd/sbfd_path.h"

namespace softswitch {

struct SbfdFarEnd {
   std::int64_t delayNanos = 200'000;  // from the probe's departure to the answer's arrival
   std::int64_t jitterNanos = 0;       // upper bound of the extra delay, evenly distributed
   unsigned lossPercent = 0;           // of the probes
   bool up = true;                     // whether it answers at all

   bool operator==(const SbfdFarEnd&) const = default;
};

// The place of a far end. Without an interface: behind every interface that has no entry of its own.
struct SbfdFarEndPlace {
   orv::ip_addr_t nexthop;
   orv::intf_id_t intf;

   auto operator<=>(const SbfdFarEndPlace&) const = default;
};

class SbfdModel final : public SbfdPath {
public:
   static constexpr std::int64_t delayMax = 10'000'000'000;
   using FarEnds = std::map<SbfdFarEndPlace, SbfdFarEnd>;

   // THROWS: orv::invalid_range_error for a delay or jitter above 10 s, or a loss above 100 percent.
   void defaultFarEndIs(const SbfdFarEnd& farEnd);
   // THROWS: the same, and orv::invalid_argument_error for a place without a nexthop.
   void farEndIs(const SbfdFarEndPlace& place, const SbfdFarEnd& farEnd);
   // Removes the place's own far end; a no-op if it has none. The next more general far end then answers.
   void farEndDel(const SbfdFarEndPlace& place);
   // RETURNS: the far end that answers at `place`.
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
      std::uint32_t number;  // among simultaneous arrivals, the first sent comes first
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
