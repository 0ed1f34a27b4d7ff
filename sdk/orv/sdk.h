// The switch: one object that gives access to its managers.
//
// Thread-safety: only the main thread may call the getters.
//
// A getter returns the same manager each time. The managers live as long as the sdk object.
#pragma once

#include <cstdint>
#include <string>

#include "orv/value.h"

namespace orv {

class acl_mgr;
class agent_mgr;
class bfd_session_mgr;
class bgp_mgr;
class bgp_path_mgr;
class class_map_mgr;
class cmdapi_mgr;
class eth_lag_intf_mgr;
class eth_phy_intf_mgr;
class eth_phy_intf_counter_mgr;
class fib_mgr;
class intf_mgr;
class intf_counter_mgr;
class ip_intf_mgr;
class ip_route_mgr;
class macsec_mgr;
class mount_mgr;
class mpls_route_mgr;
class mpls_vrf_label_mgr;
class nexthop_group_mgr;
class nexthop_group_tunnel_mgr;
class policy_map_mgr;
class vrf_mgr;

// How a manager holds its state.
enum class mgr_mode_type_t : std::uint32_t {
   on_demand = 0,  // read on request; no events
   resident = 1,   // kept in the agent; events are delivered
};
[[nodiscard]] std::string_view enum_text(mgr_mode_type_t v) noexcept;

class sdk {
public:
   virtual ~sdk() = default;

   // Name of the agent.
   [[nodiscard]] virtual std::string name() const = 0;

   [[nodiscard]] virtual acl_mgr* get_acl_mgr() = 0;
   [[nodiscard]] virtual agent_mgr* get_agent_mgr() = 0;
   [[nodiscard]] virtual bfd_session_mgr* get_bfd_session_mgr() = 0;
   [[nodiscard]] virtual bgp_mgr* get_bgp_mgr() = 0;
   [[nodiscard]] virtual bgp_path_mgr* get_bgp_path_mgr() = 0;
   [[nodiscard]] virtual class_map_mgr* get_class_map_mgr() = 0;
   [[nodiscard]] virtual cmdapi_mgr* get_cmdapi_mgr() = 0;
   [[nodiscard]] virtual eth_lag_intf_mgr* get_eth_lag_intf_mgr() = 0;
   [[nodiscard]] virtual eth_phy_intf_mgr* get_eth_phy_intf_mgr() = 0;
   [[nodiscard]] virtual eth_phy_intf_counter_mgr* get_eth_phy_intf_counter_mgr() = 0;
   [[nodiscard]] virtual intf_mgr* get_intf_mgr() = 0;
   [[nodiscard]] virtual intf_counter_mgr* get_intf_counter_mgr() = 0;
   [[nodiscard]] virtual ip_intf_mgr* get_ip_intf_mgr() = 0;
   [[nodiscard]] virtual ip_route_mgr* get_ip_route_mgr() = 0;
   [[nodiscard]] virtual macsec_mgr* get_macsec_mgr() = 0;
   [[nodiscard]] virtual mount_mgr* get_mount_mgr() = 0;
   [[nodiscard]] virtual mpls_route_mgr* get_mpls_route_mgr() = 0;
   [[nodiscard]] virtual mpls_vrf_label_mgr* get_mpls_vrf_label_mgr() = 0;
   [[nodiscard]] virtual nexthop_group_mgr* get_nexthop_group_mgr() = 0;
   [[nodiscard]] virtual nexthop_group_tunnel_mgr* get_nexthop_group_tunnel_mgr() = 0;
   [[nodiscard]] virtual policy_map_mgr* get_policy_map_mgr() = 0;
   [[nodiscard]] virtual vrf_mgr* get_vrf_mgr() = 0;
   // The last mode given applies to all users of the manager.
   [[nodiscard]] virtual fib_mgr* get_fib_mgr(mgr_mode_type_t mode) = 0;
   virtual intf_counter_mgr* get_intf_counter_mgr_with_mode(mgr_mode_type_t mode) = 0;
};

}  // namespace orv
