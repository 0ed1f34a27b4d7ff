// Records of the forwarding information base.
//
// Thread-safety: plain values.
#pragma once

#include <algorithm>
#include <compare>
#include <string>
#include <utility>
#include <vector>

#include "orv/intf_id.h"
#include "orv/ip_prefix.h"
#include "orv/mpls_label.h"

namespace orv {

// Kind of a forwarding equivalence class.
enum class fib_fec_type_t : std::uint8_t {
   forward = 0,  // along its vias
   drop = 1,
   punt = 2,           // to the control plane
   nexthop_group = 3,  // through the named group
   mpls = 4,
   vxlan = 5,
   vrf_leak = 6,
   undefined = 7,
};
[[nodiscard]] std::string_view enum_text(fib_fec_type_t v) noexcept;

// Source of a route.
enum class fib_route_type_t : std::uint8_t {
   connected = 0,
   static_route = 1,
   drop = 2,
   nexthop_group = 3,
   undefined = 4,
   attached = 5,
   receive = 6,
   receive_broadcast = 7,
   attached_host = 8,
   bgp_internal = 9,
   bgp_external = 10,
   bgp_aggregate = 11,
   ospf_intra_area = 12,
   ospf_inter_area = 13,
   ospf_external_1 = 14,
   ospf_external_2 = 15,
   ospf_nssa_1 = 16,
   ospf_nssa_2 = 17,
   isis_level_1 = 18,
   isis_level_2 = 19,
   rip = 20,
   vxlan_control = 21,
   dhcp = 22,
   martian = 23,
   vrf_leak = 24,
   policy = 25,
   sdk_agent = 26,
};
[[nodiscard]] std::string_view enum_text(fib_route_type_t v) noexcept;

// Identity of a FIB route.
class fib_route_key_t {
public:
   using sdk_value = fib_route_key_t;

   fib_route_key_t() = default;
   explicit fib_route_key_t(const ip_prefix_t& prefix) : prefix_(prefix) {}

   [[nodiscard]] const ip_prefix_t& prefix() const noexcept { return prefix_; }
   void prefix_is(const ip_prefix_t& v) { prefix_ = v; }

   auto operator<=>(const fib_route_key_t&) const = default;
   [[nodiscard]] std::size_t hash() const noexcept { return detail::hash_of(prefix_); }
   [[nodiscard]] std::string to_string() const;

private:
   ip_prefix_t prefix_;
};

// Identity of a FEC; 0 stands for none.
class fib_fec_key_t {
public:
   using sdk_value = fib_fec_key_t;

   fib_fec_key_t() = default;
   explicit fib_fec_key_t(std::uint64_t fec_id) : fec_id_(fec_id) {}

   [[nodiscard]] std::uint64_t fec_id() const noexcept { return fec_id_; }
   void fec_id_is(std::uint64_t v) { fec_id_ = v; }

   auto operator<=>(const fib_fec_key_t&) const = default;
   [[nodiscard]] std::size_t hash() const noexcept { return detail::hash_of(fec_id_); }
   [[nodiscard]] std::string to_string() const;

private:
   std::uint64_t fec_id_ = 0;
};

// A route in the FIB.
class fib_route_t {
public:
   using sdk_value = fib_route_t;

   fib_route_t() = default;
   explicit fib_route_t(const fib_route_key_t& route_key) : route_key_(route_key) {}

   [[nodiscard]] const fib_route_key_t& route_key() const noexcept { return route_key_; }
   void route_key_is(const fib_route_key_t& v) { route_key_ = v; }
   [[nodiscard]] std::uint8_t preference() const noexcept { return preference_; }
   void preference_is(std::uint8_t v) { preference_ = v; }
   [[nodiscard]] std::uint32_t metric() const noexcept { return metric_; }
   void metric_is(std::uint32_t v) { metric_ = v; }
   [[nodiscard]] fib_route_type_t route_type() const noexcept { return route_type_; }
   void route_type_is(fib_route_type_t v) { route_type_ = v; }
   // FEC that the route uses; 0 for none.
   [[nodiscard]] std::uint64_t fec_id() const noexcept { return fec_id_; }
   void fec_id_is(std::uint64_t v) { fec_id_ = v; }

   bool operator==(const fib_route_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   fib_route_key_t route_key_;
   std::uint8_t preference_ = 1;
   std::uint32_t metric_ = 0;
   fib_route_type_t route_type_ = fib_route_type_t::undefined;
   std::uint64_t fec_id_ = 0;
};

// One path of a FEC.
class fib_via_t {
public:
   using sdk_value = fib_via_t;

   fib_via_t() = default;
   fib_via_t(const ip_addr_t& hop, intf_id_t intf) : hop_(hop), intf_(std::move(intf)) {}

   [[nodiscard]] const ip_addr_t& hop() const noexcept { return hop_; }
   void hop_is(const ip_addr_t& v) { hop_ = v; }
   [[nodiscard]] const intf_id_t& intf() const noexcept { return intf_; }
   void intf_is(intf_id_t v) { intf_ = std::move(v); }
   // Label to push; null for none.
   [[nodiscard]] mpls_label_t mpls_label() const noexcept { return mpls_label_; }
   void mpls_label_is(mpls_label_t v) { mpls_label_ = v; }

   auto operator<=>(const fib_via_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   ip_addr_t hop_;
   intf_id_t intf_;
   mpls_label_t mpls_label_;
};

// A set of paths or a nexthop group, which routes share.
class fib_fec_t {
public:
   using sdk_value = fib_fec_t;

   fib_fec_t() = default;
   explicit fib_fec_t(const fib_fec_key_t& fec_key) : fec_key_(fec_key) {}

   [[nodiscard]] const fib_fec_key_t& fec_key() const noexcept { return fec_key_; }
   void fec_key_is(const fib_fec_key_t& v) { fec_key_ = v; }
   [[nodiscard]] fib_fec_type_t fec_type() const noexcept { return fec_type_; }
   void fec_type_is(fib_fec_type_t v) { fec_type_ = v; }
   // Set on a FEC of type nexthop_group.
   [[nodiscard]] const std::string& nexthop_group_name() const noexcept { return nexthop_group_name_; }
   void nexthop_group_name_is(std::string v) { nexthop_group_name_ = std::move(v); }
   // In the order in which they were set.
   [[nodiscard]] const std::vector<fib_via_t>& via() const noexcept { return via_; }
   // Adds a via; a no-op if an equal one exists. Constant cost, however many vias there are.
   void via_set(fib_via_t via);

   bool operator==(const fib_fec_t& other) const;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   // The index in places_ of `via`, or of the free place for it.
   [[nodiscard]] std::size_t place_of(const fib_via_t& via) const;
   void grow_places();

   fib_fec_key_t fec_key_;
   fib_fec_type_t fec_type_ = fib_fec_type_t::undefined;
   std::string nexthop_group_name_;
   std::vector<fib_via_t> via_;
   // A hash table over via_, used once via_ is long: holds positions counted from 1, and 0 for a free place.
   // Its size is a power of 2 and at least twice the number of vias.
   std::vector<std::uint32_t> places_;
};

}  // namespace orv
