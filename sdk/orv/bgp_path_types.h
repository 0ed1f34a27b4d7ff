// Records of BGP paths.
//
// Thread-safety: plain values.
#pragma once

#include <compare>
#include <string>
#include <utility>
#include <vector>

#include "orv/ip_prefix.h"

namespace orv {

// Stage of the inbound policy at which paths are read. As wide as the number in a query, so that a number
// without a name is preserved until the manager refuses it.
enum class bgp_receive_route_stage_t : std::uint32_t {
   received = 0,  // as the peer sent them
   accepted = 1,  // after the inbound policy
   best = 2,      // the selected paths
};
[[nodiscard]] std::string_view enum_text(bgp_receive_route_stage_t v) noexcept;

// Identity of a path: one peer's announcement of one prefix.
class bgp_path_key_t {
public:
   using sdk_value = bgp_path_key_t;

   bgp_path_key_t() = default;
   bgp_path_key_t(const ip_addr_t& peer_addr, std::string vrf_name, const ip_prefix_t& prefix)
        : peer_addr_(peer_addr), vrf_name_(std::move(vrf_name)), prefix_(prefix) {}

   // Peer that the path was learned from; null for a path that the switch originates.
   [[nodiscard]] const ip_addr_t& peer_addr() const noexcept { return peer_addr_; }
   void peer_addr_is(const ip_addr_t& v) { peer_addr_ = v; }
   [[nodiscard]] const std::string& vrf_name() const noexcept { return vrf_name_; }
   void vrf_name_is(std::string v) { vrf_name_ = std::move(v); }
   [[nodiscard]] const ip_prefix_t& prefix() const noexcept { return prefix_; }
   void prefix_is(const ip_prefix_t& v) { prefix_ = v; }

   auto operator<=>(const bgp_path_key_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   ip_addr_t peer_addr_;
   std::string vrf_name_;
   ip_prefix_t prefix_;
};

// Attributes that a query requests.
class bgp_path_attr_fields_t {
public:
   using sdk_value = bgp_path_attr_fields_t;

   bgp_path_attr_fields_t() = default;

   [[nodiscard]] bool next_hop() const noexcept { return next_hop_; }
   void next_hop_is(bool v) { next_hop_ = v; }
   [[nodiscard]] bool community_list() const noexcept { return community_list_; }
   void community_list_is(bool v) { community_list_ = v; }

   bool operator==(const bgp_path_attr_fields_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   bool next_hop_ = false;
   bool community_list_ = false;
};

// Which paths a query returns, and with which attributes.
class bgp_path_options_t {
public:
   using sdk_value = bgp_path_options_t;

   bgp_path_options_t() = default;

   [[nodiscard]] bgp_receive_route_stage_t receive_route_stage() const noexcept {
      return receive_route_stage_;
   }
   void receive_route_stage_is(bgp_receive_route_stage_t v) { receive_route_stage_ = v; }
   [[nodiscard]] const bgp_path_attr_fields_t& path_attr_fields() const noexcept { return path_attr_fields_; }
   void path_attr_fields_is(const bgp_path_attr_fields_t& v) { path_attr_fields_ = v; }

   bool operator==(const bgp_path_options_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   bgp_receive_route_stage_t receive_route_stage_ = bgp_receive_route_stage_t::received;
   bgp_path_attr_fields_t path_attr_fields_;
};

// Attributes of a path (RFC 4271 section 5).
class bgp_path_attr_t {
public:
   using sdk_value = bgp_path_attr_t;

   bgp_path_attr_t() = default;

   // Null if it was not requested.
   [[nodiscard]] const ip_addr_t& next_hop() const noexcept { return next_hop_; }
   void next_hop_is(const ip_addr_t& v) { next_hop_ = v; }
   // 0 IGP, 1 EGP, 2 incomplete.
   [[nodiscard]] std::uint32_t origin() const noexcept { return origin_; }
   void origin_is(std::uint32_t v) { origin_ = v; }
   // Multi-exit discriminator.
   [[nodiscard]] std::uint32_t med() const noexcept { return med_; }
   void med_is(std::uint32_t v) { med_ = v; }
   [[nodiscard]] std::uint32_t local_pref() const noexcept { return local_pref_; }
   void local_pref_is(std::uint32_t v) { local_pref_ = v; }
   // RFC 1997, in the order of the path; empty if they were not requested.
   [[nodiscard]] const std::vector<std::uint32_t>& community_list() const noexcept { return community_list_; }
   void community_list_is(std::vector<std::uint32_t> v) { community_list_ = std::move(v); }

   bool operator==(const bgp_path_attr_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   ip_addr_t next_hop_;
   std::uint32_t origin_ = 0;
   std::uint32_t med_ = 0;
   std::uint32_t local_pref_ = 0;
   std::vector<std::uint32_t> community_list_;
};

// A path.
class bgp_path_t {
public:
   using sdk_value = bgp_path_t;

   bgp_path_t() = default;
   bgp_path_t(bgp_path_key_t path_key, bgp_path_attr_t path_attr)
        : path_key_(std::move(path_key)), path_attr_(std::move(path_attr)) {}

   [[nodiscard]] const bgp_path_key_t& path_key() const noexcept { return path_key_; }
   void path_key_is(bgp_path_key_t v) { path_key_ = std::move(v); }
   [[nodiscard]] const bgp_path_attr_t& path_attr() const noexcept { return path_attr_; }
   void path_attr_is(bgp_path_attr_t v) { path_attr_ = std::move(v); }

   bool operator==(const bgp_path_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   bgp_path_key_t path_key_;
   bgp_path_attr_t path_attr_;
};

}  // namespace orv
