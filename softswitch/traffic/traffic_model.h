// The simulated traffic through the switch's interfaces, as set by an operator.
//
// The switch moves no packets itself. An interface carries a number of packets and bits per second in each
// direction; they flow while the interface is up and add to its counters. The internal interfaces of the
// switch and of its peer (lumic/IntfId.h), which no manager shows, carry traffic too and are always up.
//
// Nothing here survives a restart.
//
// Refusals (orv::invalid_argument_error, naming the value):
// - an interface that does not exist, or that carries no traffic of its own (loopback, VLAN, VXLAN)
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

// Accumulated traffic, or the difference of two such values.
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
   // Nanoseconds of a monotonic clock.
   using Now = std::function<std::int64_t()>;

   explicit TrafficModel(IntfMgr& intfs, Now now = Zelt::Clock::steadyNanos);

   void trafficIs(std::string_view intf, const Traffic& traffic);
   // RETURNS: the traffic as set. Refuses what trafficIs() refuses.
   Traffic traffic(std::string_view intf) const;

   // Accumulated traffic of one interface since `began`, when traffic was first set for it.
   struct Account {
      std::int64_t began = 0;
      TrafficAmounts amounts;
      TrafficAmounts rates;  // the current rates; zero while the interface is down
   };
   // RETURNS: false for an interface whose traffic was never set.
   bool account(Lumic::IntfId intf, std::int64_t now, Account& into) const;

   // Internal and peer interfaces whose traffic was set, in no particular order.
   const std::vector<Lumic::IntfId>& internalIntfs() const { return internal_; }

   std::int64_t now() const { return now_(); }

private:
   struct Meter {
      Traffic traffic;
      std::int64_t began = 0;
      std::int64_t since = 0;  // when `amounts` was computed
      TrafficAmounts amounts;
      bool flows = true;

      TrafficAmounts at(std::int64_t now) const;
   };

   void on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) override;
   void on_intf_delete(const orv::intf_id_t& intf) override;

   // RETURNS: the id of an interface that may carry traffic.
   Lumic::IntfId checked(std::string_view intf) const;
   bool isUp(Lumic::IntfId intf) const;

   IntfMgr& intfs_;
   const Now now_;
   absl::flat_hash_map<Lumic::IntfId, Meter, std::hash<Lumic::IntfId>> meters_;
   std::vector<Lumic::IntfId> internal_;
};

}  // namespace softswitch
