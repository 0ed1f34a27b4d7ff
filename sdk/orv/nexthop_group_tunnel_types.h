// Record of tunnels over nexthop groups.
//
// Thread-safety: plain values.
#pragma once

#include <string>
#include <utility>

#include "orv/ip_prefix.h"

namespace orv {

// A tunnel endpoint that is reached through a nexthop group.
class nexthop_group_tunnel_t {
public:
   using sdk_value = nexthop_group_tunnel_t;

   nexthop_group_tunnel_t() = default;
   nexthop_group_tunnel_t(const ip_prefix_t& tunnel_endpoint, std::string nhg_name)
        : tunnel_endpoint_(tunnel_endpoint), nhg_name_(std::move(nhg_name)) {}

   [[nodiscard]] const ip_prefix_t& tunnel_endpoint() const noexcept { return tunnel_endpoint_; }
   void tunnel_endpoint_is(const ip_prefix_t& v) { tunnel_endpoint_ = v; }
   // Name of the group; it need not exist yet.
   [[nodiscard]] const std::string& nhg_name() const noexcept { return nhg_name_; }
   void nhg_name_is(std::string v) { nhg_name_ = std::move(v); }
   // Metric with which the tunnel is offered to other protocols.
   [[nodiscard]] std::uint32_t igp_metric() const noexcept { return igp_metric_; }
   void igp_metric_is(std::uint32_t v) { igp_metric_ = v; }

   bool operator==(const nexthop_group_tunnel_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   ip_prefix_t tunnel_endpoint_;
   std::string nhg_name_;
   std::uint32_t igp_metric_ = 0;
};

}  // namespace orv
