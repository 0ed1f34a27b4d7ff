#pragma once

// The table of the MPLS routes in hardware: one row per label stack, for the route that forwards it, which is
// the one with the smallest metric.
// Thread-safety: the table is guarded by the activity lock, as Rillo::Table; rows are plain values.

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/rillo/Table.h"
#include "platform/state/FecHwProgrammingState.h"
#include "platform/state/Fib.h"
#include "platform/state/RouteKeyAndMetric.h"

namespace Mpls::Hardware {

// In the state database: a Status.
inline constexpr std::string_view statusPath = "routing/hardware/mpls/status";

// Hardware's answer for a route.
struct AckInfo {
   Rillo::Fib::FecId fecId;
   // Of the route, and of what the FEC leads to.
   Routing::Fib::RouteVersionId routeVersion = 0;
   Routing::Fib::FecVersionId fecVersion = 0;
   Routing::Hardware::FecHwProgrammingState hwState = Routing::Hardware::FecHwProgrammingState::pending;

   bool operator==(const AckInfo&) const = default;
};

struct Route {
   RouteKeyAndMetric key;
   // Missing if hardware has never answered.
   std::optional<AckInfo> ackInfo;
   // Hardware has lost the route: its way out is gone.
   bool unprogrammed = false;
   // Number of vias in hardware.
   std::uint32_t vias = 0;

   bool operator==(const Route&) const = default;
   // "100 metric 5, FEC 216172782113783809, version 7 over 3, state 1, vias 1"
   [[nodiscard]] std::string to_string() const;
};

class Status final : public Rillo::Table<RouteKey, Route> {
public:
   static constexpr std::string_view entityType = "Mpls::Hardware::Status";
   using Table::Table;
};

}  // namespace Mpls::Hardware

template <>
struct fmt::formatter<Mpls::Hardware::Route> : fmt::formatter<std::string_view> {
   template <typename Context>
   auto format(const Mpls::Hardware::Route& route, Context& context) const {
      return fmt::formatter<std::string_view>::format(route.to_string(), context);
   }
};
