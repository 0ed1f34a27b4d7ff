// Records of IP routes.
//
// Thread-safety: plain values.
#pragma once

#include <compare>
#include <string>
#include <utility>

#include "orv/eth_addr.h"
#include "orv/intf_id.h"
#include "orv/ip_prefix.h"
#include "orv/mpls_label.h"

namespace orv {

// What an IP route does with its packets.
enum class ip_route_action_t : std::uint8_t {
   forward = 0,        // along its vias
   drop = 1,           // discards
   punt = 2,           // to the control plane
   nexthop_group = 3,  // along the nexthop group that its one via names
};
[[nodiscard]] std::string_view enum_text(ip_route_action_t v) noexcept;

// Identity of an IP route: a prefix and a preference (administrative distance), which ranks several sources
// of one prefix. The smallest preference wins; the default is 1.
class ip_route_key_t {
public:
   using sdk_value = ip_route_key_t;

   ip_route_key_t() = default;
   explicit ip_route_key_t(const ip_prefix_t& prefix) : prefix_(prefix) {}
   ip_route_key_t(const ip_prefix_t& prefix, std::uint8_t preference)
        : prefix_(prefix), preference_(preference) {}

   [[nodiscard]] const ip_prefix_t& prefix() const noexcept { return prefix_; }
   void prefix_is(const ip_prefix_t& v) { prefix_ = v; }
   [[nodiscard]] std::uint8_t preference() const noexcept { return preference_; }
   void preference_is(std::uint8_t v) { preference_ = v; }

   auto operator<=>(const ip_route_key_t&) const = default;
   [[nodiscard]] std::size_t hash() const noexcept { return detail::hash_of(prefix_, preference_); }
   [[nodiscard]] std::string to_string() const;

private:
   ip_prefix_t prefix_;
   std::uint8_t preference_ = 1;
};

// An IP route without its vias.
class ip_route_t {
public:
   using sdk_value = ip_route_t;

   ip_route_t() = default;
   explicit ip_route_t(const ip_route_key_t& key) : key_(key) {}

   [[nodiscard]] const ip_route_key_t& key() const noexcept { return key_; }
   void key_is(const ip_route_key_t& v) { key_ = v; }
   // Tag that the route's owner chooses freely; 0 for none.
   [[nodiscard]] std::uint32_t tag() const noexcept { return tag_; }
   void tag_is(std::uint32_t v) { tag_ = v; }
   // True for a route that enters the FIB without the RIB's selection.
   [[nodiscard]] bool rib_bypass() const noexcept { return rib_bypass_; }
   void rib_bypass_is(bool v) { rib_bypass_ = v; }
   // Name under which the route is grouped with configuration commands.
   [[nodiscard]] const std::string& command_tag() const noexcept { return command_tag_; }
   void command_tag_is(std::string v) { command_tag_ = std::move(v); }

   bool operator==(const ip_route_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   ip_route_key_t key_;
   std::uint32_t tag_ = 0;
   bool rib_bypass_ = false;
   std::string command_tag_;
};

// One path of an IP route: a hop, an interface, a VXLAN tunnel or a nexthop group. A via with nothing but a
// route key is bare.
class ip_route_via_t {
public:
   using sdk_value = ip_route_via_t;

   ip_route_via_t() = default;
   explicit ip_route_via_t(const ip_route_key_t& route_key) : route_key_(route_key) {}

   // The route that the via belongs to.
   [[nodiscard]] const ip_route_key_t& route_key() const noexcept { return route_key_; }
   void route_key_is(const ip_route_key_t& v) { route_key_ = v; }
   // Next hop; null for none.
   [[nodiscard]] const ip_addr_t& hop() const noexcept { return hop_; }
   void hop_is(const ip_addr_t& v) { hop_ = v; }
   // Egress interface; null to resolve the hop.
   [[nodiscard]] const intf_id_t& intf() const noexcept { return intf_; }
   void intf_is(intf_id_t v) { intf_ = std::move(v); }
   // Name of a nexthop group, in place of hop and interface.
   [[nodiscard]] const std::string& nexthop_group() const noexcept { return nexthop_group_; }
   void nexthop_group_is(std::string v) { nexthop_group_ = std::move(v); }
   // Label to push; null for none.
   [[nodiscard]] mpls_label_t mpls_label() const noexcept { return mpls_label_; }
   void mpls_label_is(mpls_label_t v) { mpls_label_ = v; }
   // VXLAN network identifier; 0 for none.
   [[nodiscard]] std::uint32_t vni() const noexcept { return vni_; }
   void vni_is(std::uint32_t v) { vni_ = v; }
   // VXLAN tunnel endpoint; null for none.
   [[nodiscard]] const ip_addr_t& vtep_addr() const noexcept { return vtep_addr_; }
   void vtep_addr_is(const ip_addr_t& v) { vtep_addr_ = v; }
   // Inner destination of a VXLAN via; null for none.
   [[nodiscard]] const eth_addr_t& router_mac() const noexcept { return router_mac_; }
   void router_mac_is(const eth_addr_t& v) { router_mac_ = v; }
   // VRF in which the hop is resolved; empty for the route's own.
   [[nodiscard]] const std::string& egress_vrf() const noexcept { return egress_vrf_; }
   void egress_vrf_is(std::string v) { egress_vrf_ = std::move(v); }
   [[nodiscard]] std::uint32_t metric() const noexcept { return metric_; }
   void metric_is(std::uint32_t v) { metric_ = v; }
   // VXLAN interface; null for none.
   [[nodiscard]] const intf_id_t& vxlan_intf() const noexcept { return vxlan_intf_; }
   void vxlan_intf_is(intf_id_t v) { vxlan_intf_ = std::move(v); }
   // Packets from the tunnel are accepted only from this endpoint.
   [[nodiscard]] bool vtep_sip_validation() const noexcept { return vtep_sip_validation_; }
   void vtep_sip_validation_is(bool v) { vtep_sip_validation_ = v; }
   // Share of the traffic among the vias of a route; 0 counts as 1.
   [[nodiscard]] std::uint32_t weight() const noexcept { return weight_; }
   void weight_is(std::uint32_t v) { weight_ = v; }

   bool operator==(const ip_route_via_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   ip_route_key_t route_key_;
   ip_addr_t hop_;
   intf_id_t intf_;
   std::string nexthop_group_;
   mpls_label_t mpls_label_;
   std::uint32_t vni_ = 0;
   ip_addr_t vtep_addr_;
   eth_addr_t router_mac_;
   std::string egress_vrf_;
   std::uint32_t metric_ = 0;
   intf_id_t vxlan_intf_;
   bool vtep_sip_validation_ = false;
   std::uint32_t weight_ = 0;
};

}  // namespace orv
