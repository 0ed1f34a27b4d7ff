// The traffic that flows through the switch's interfaces, as an operator has set it.
//
// The switch moves no packets of its own: what an interface carries is a number of packets and bits per
// second in each direction, which flow while the interface is up and add up to its counters. The switch's
// internal interfaces and those of its peer (lumic/IntfId.h), which no manager shows, carry traffic too and
// are always up.
//
// Nothing of this survives a restart.
//
// Refusals (orv::invalid_argument_error, naming the value):
// - an interface that the switch does not have, or that carries no traffic of its own (loopback, VLAN,
//   VXLAN)
// - more than 10^12 packets or 10^15 bits per second (orv::invalid_range_error)
// - an internal or peer interface with a number above 4096
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "orv/intf.h"
#include "platform/state/IntfId.h"
#include "platform/zelt/Clock.h"

namespace softswitch {

class IntfMgr;

// Per second.
struct Traffic {
   std::uint64_t inPackets = 0;
   std::uint64_t inBits = 0;
   std::uint64_t outPackets = 0;
   std::uint64_t outBits = 0;

   bool operator==(const Traffic&) const = default;
};

// What has flowed, or the difference of two such.
struct TrafficAmounts {
   double inPackets = 0;
   double inBits = 0;
   double outPackets = 0;
   double outBits = 0;

   bool operator==(const TrafficAmounts&) const = default;
};

class TrafficModel final : private orv::intf_handler {
public:
   static constexpr std::uint64_t packetsMax = 1'000'000'000'000;
   static constexpr std::uint64_t bitsMax = 1'000'000'000'000'000;
   static constexpr unsigned internalNumberMax = 4096;
   // Nanoseconds of a clock that never goes back.
   using Now = std::function<std::int64_t()>;

   explicit TrafficModel(IntfMgr& intfs, Now now = Zelt::Clock::steadyNanos);

   void trafficIs(std::string_view intf, const Traffic& traffic);
   // As set; refuses what trafficIs refuses.
   Traffic traffic(std::string_view intf) const;

   // One interface's account. Since `began`, when traffic was first set for it.
   struct Account {
      std::int64_t began = 0;
      TrafficAmounts amounts;
      TrafficAmounts rates;  // what flows now: nothing while the interface is down
   };
   // Nothing for an interface for which no traffic was ever set. The answer is good until the next change.
   bool account(Lumic::IntfId intf, std::int64_t now, Account& into) const;

   // Internal and peer interfaces that were given traffic, in no particular order.
   const std::vector<Lumic::IntfId>& internalIntfs() const { return internal_; }

   std::int64_t now() const { return now_(); }

private:
   struct Meter {
      Traffic traffic;
      std::int64_t began = 0;
      std::int64_t since = 0;  // of `amounts`
      TrafficAmounts amounts;
      bool flows = true;

      TrafficAmounts at(std::int64_t now) const;
   };

   void on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) override;
   void on_intf_delete(const orv::intf_id_t& intf) override;

   // The id, of an interface that may carry traffic.
   Lumic::IntfId checked(std::string_view intf) const;
   bool isUp(Lumic::IntfId intf) const;

   IntfMgr& intfs_;
   const Now now_;
   absl::flat_hash_map<Lumic::IntfId, Meter, std::hash<Lumic::IntfId>> meters_;
   std::vector<Lumic::IntfId> internal_;
};

}  // namespace softswitch
