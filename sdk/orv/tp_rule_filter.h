// What the rules of traffic policies match.
//
// Thread-safety: plain values.
#pragma once

#include <map>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>

#include "orv/ip_prefix.h"
#include "orv/range.h"

namespace orv {

// Kind of packets that a rule matches.
enum class traffic_policy_rule_type_t : std::uint8_t {
   none = 0,
   ipv4 = 1,
   ipv6 = 2,
};
[[nodiscard]] std::string_view enum_text(traffic_policy_rule_type_t v) noexcept;

// Ports that a rule matches: a packet's source port must be in one of the source ranges or field sets, its
// destination port likewise. Without ranges and field sets, every port matches.
class port_field_t {
public:
   using sdk_value = port_field_t;

   port_field_t() = default;

   [[nodiscard]] const std::set<port_range_t>& src_ports() const noexcept { return src_ports_; }
   void src_ports_is(std::set<port_range_t> v) { src_ports_ = std::move(v); }
   [[nodiscard]] const std::set<port_range_t>& dst_ports() const noexcept { return dst_ports_; }
   void dst_ports_is(std::set<port_range_t> v) { dst_ports_ = std::move(v); }
   // Names of sets of ports.
   [[nodiscard]] const std::unordered_set<std::string>& src_port_field_sets() const noexcept {
      return src_port_field_sets_;
   }
   void src_port_field_sets_is(std::unordered_set<std::string> v) { src_port_field_sets_ = std::move(v); }
   [[nodiscard]] const std::unordered_set<std::string>& dst_port_field_sets() const noexcept {
      return dst_port_field_sets_;
   }
   void dst_port_field_sets_is(std::unordered_set<std::string> v) { dst_port_field_sets_ = std::move(v); }

   bool operator==(const port_field_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::set<port_range_t> src_ports_;
   std::set<port_range_t> dst_ports_;
   std::unordered_set<std::string> src_port_field_sets_;
   std::unordered_set<std::string> dst_port_field_sets_;
};

// What a rule matches beyond the protocol number.
class protocol_field_t {
public:
   using sdk_value = protocol_field_t;

   protocol_field_t() = default;
   explicit protocol_field_t(std::map<std::uint32_t, port_field_t> ports) : ports_(std::move(ports)) {}

   // Alternatives by sequence number.
   [[nodiscard]] const std::map<std::uint32_t, port_field_t>& ports() const noexcept { return ports_; }
   void ports_is(std::map<std::uint32_t, port_field_t> v) { ports_ = std::move(v); }

   bool operator==(const protocol_field_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::map<std::uint32_t, port_field_t> ports_;
};

// Packets that a rule matches; an empty set matches everything.
class tp_rule_filter_t {
public:
   using sdk_value = tp_rule_filter_t;

   tp_rule_filter_t() = default;
   explicit tp_rule_filter_t(traffic_policy_rule_type_t filter_type) : filter_type_(filter_type) {}

   [[nodiscard]] traffic_policy_rule_type_t filter_type() const noexcept { return filter_type_; }
   void filter_type_is(traffic_policy_rule_type_t v) { filter_type_ = v; }
   [[nodiscard]] const std::set<ip_addr_mask_t>& src_addrs() const noexcept { return src_addrs_; }
   void src_addrs_is(std::set<ip_addr_mask_t> v) { src_addrs_ = std::move(v); }
   // Names of sets of addresses.
   [[nodiscard]] const std::unordered_set<std::string>& src_addr_field_sets() const noexcept {
      return src_addr_field_sets_;
   }
   void src_addr_field_sets_is(std::unordered_set<std::string> v) { src_addr_field_sets_ = std::move(v); }
   [[nodiscard]] const std::set<ip_addr_mask_t>& dst_addrs() const noexcept { return dst_addrs_; }
   void dst_addrs_is(std::set<ip_addr_mask_t> v) { dst_addrs_ = std::move(v); }
   [[nodiscard]] const std::unordered_set<std::string>& dst_addr_field_sets() const noexcept {
      return dst_addr_field_sets_;
   }
   void dst_addr_field_sets_is(std::unordered_set<std::string> v) { dst_addr_field_sets_ = std::move(v); }
   [[nodiscard]] const std::map<protocol_range_t, protocol_field_t>& protocols() const noexcept {
      return protocols_;
   }
   void protocols_is(std::map<protocol_range_t, protocol_field_t> v) { protocols_ = std::move(v); }

   bool operator==(const tp_rule_filter_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   traffic_policy_rule_type_t filter_type_ = traffic_policy_rule_type_t::none;
   std::set<ip_addr_mask_t> src_addrs_;
   std::unordered_set<std::string> src_addr_field_sets_;
   std::set<ip_addr_mask_t> dst_addrs_;
   std::unordered_set<std::string> dst_addr_field_sets_;
   std::map<protocol_range_t, protocol_field_t> protocols_;
};

}  // namespace orv
