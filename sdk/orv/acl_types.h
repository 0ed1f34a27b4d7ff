// Records of access control lists.
//
// Thread-safety: plain values.
#pragma once

#include <compare>
#include <string>
#include <utility>
#include <vector>

#include "orv/eth_addr.h"
#include "orv/ip_prefix.h"

namespace orv {

// Kind of packets that a list matches.
enum class acl_type_t : std::uint8_t {
   none = 0,
   ipv4 = 1,
   ipv6 = 2,
   eth = 3,
   mpls = 4,
};
[[nodiscard]] std::string_view enum_text(acl_type_t v) noexcept;

// What a matching rule does.
enum class acl_action_t : std::uint8_t {
   none = 0,
   permit = 1,
   deny = 2,
};
[[nodiscard]] std::string_view enum_text(acl_action_t v) noexcept;

// Direction in which a list is applied.
enum class acl_direction_t : std::uint8_t {
   none = 0,
   in = 1,
   out = 2,
};
[[nodiscard]] std::string_view enum_text(acl_direction_t v) noexcept;

// Kind of IP packets that a rule matches.
enum class acl_ip_type_t : std::uint8_t {
   any = 0,
   ipv4 = 1,
   ipv6 = 2,
};
[[nodiscard]] std::string_view enum_text(acl_ip_type_t v) noexcept;

// How a field is compared with the numbers of a rule.
enum class acl_range_operator_t : std::uint8_t {
   any = 0,
   eq = 1,
   gt = 2,
   lt = 3,
   neq = 4,
   range = 5,
   null_operator = 6,  // as any
};
[[nodiscard]] std::string_view enum_text(acl_range_operator_t v) noexcept;

// Identity of a list.
class acl_key_t {
public:
   using sdk_value = acl_key_t;

   acl_key_t() = default;
   acl_key_t(std::string acl_name, acl_type_t acl_type)
        : acl_name_(std::move(acl_name)), acl_type_(acl_type) {}

   [[nodiscard]] const std::string& acl_name() const noexcept { return acl_name_; }
   void acl_name_is(std::string v) { acl_name_ = std::move(v); }
   [[nodiscard]] acl_type_t acl_type() const noexcept { return acl_type_; }
   void acl_type_is(acl_type_t v) { acl_type_ = v; }

   auto operator<=>(const acl_key_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::string acl_name_;
   acl_type_t acl_type_ = acl_type_t::none;
};

// A TTL to match.
class acl_ttl_spec_t {
public:
   using sdk_value = acl_ttl_spec_t;

   acl_ttl_spec_t() = default;
   acl_ttl_spec_t(acl_range_operator_t oper, std::uint8_t ttl) : oper_(oper), ttl_(ttl) {}

   [[nodiscard]] acl_range_operator_t oper() const noexcept { return oper_; }
   void oper_is(acl_range_operator_t v) { oper_ = v; }
   [[nodiscard]] std::uint8_t ttl() const noexcept { return ttl_; }
   void ttl_is(std::uint8_t v) { ttl_ = v; }

   auto operator<=>(const acl_ttl_spec_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   acl_range_operator_t oper_ = acl_range_operator_t::any;
   std::uint8_t ttl_ = 0;
};

// TCP or UDP ports to match.
class acl_port_spec_t {
public:
   using sdk_value = acl_port_spec_t;

   acl_port_spec_t() = default;
   acl_port_spec_t(acl_range_operator_t oper, std::vector<std::uint16_t> ports)
        : oper_(oper), ports_(std::move(ports)) {}

   [[nodiscard]] acl_range_operator_t oper() const noexcept { return oper_; }
   void oper_is(acl_range_operator_t v) { oper_ = v; }
   // Up to 10 for eq and neq, two for range, one for gt and lt.
   [[nodiscard]] const std::vector<std::uint16_t>& ports() const noexcept { return ports_; }
   void ports_is(std::vector<std::uint16_t> v) { ports_ = std::move(v); }

   auto operator<=>(const acl_port_spec_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   acl_range_operator_t oper_ = acl_range_operator_t::any;
   std::vector<std::uint16_t> ports_;
};

// Fields common to all rules.
class acl_rule_base_t {
public:
   using sdk_value = acl_rule_base_t;

   acl_rule_base_t() = default;

   [[nodiscard]] acl_action_t action() const noexcept { return action_; }
   void action_is(acl_action_t v) { action_ = v; }
   // Matching packets are logged.
   [[nodiscard]] bool log() const noexcept { return log_; }
   void log_is(bool v) { log_ = v; }

   auto operator<=>(const acl_rule_base_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   acl_action_t action_ = acl_action_t::none;
   bool log_ = false;
};

// A rule that matches Ethernet headers.
class acl_rule_eth_t : public acl_rule_base_t {
public:
   using sdk_value = acl_rule_eth_t;

   acl_rule_eth_t() = default;

   // Outer VLAN to match under its mask; 0 matches any.
   [[nodiscard]] std::uint16_t vlan() const noexcept { return vlan_; }
   void vlan_is(std::uint16_t v) { vlan_ = v; }
   [[nodiscard]] std::uint16_t vlan_mask() const noexcept { return vlan_mask_; }
   void vlan_mask_is(std::uint16_t v) { vlan_mask_ = v; }
   // Inner VLAN to match under its mask; 0 matches any.
   [[nodiscard]] std::uint16_t inner_vlan() const noexcept { return inner_vlan_; }
   void inner_vlan_is(std::uint16_t v) { inner_vlan_ = v; }
   [[nodiscard]] std::uint16_t inner_vlan_mask() const noexcept { return inner_vlan_mask_; }
   void inner_vlan_mask_is(std::uint16_t v) { inner_vlan_mask_ = v; }
   [[nodiscard]] const eth_addr_t& source_addr() const noexcept { return source_addr_; }
   void source_addr_is(const eth_addr_t& v) { source_addr_ = v; }
   [[nodiscard]] const eth_addr_t& destination_addr() const noexcept { return destination_addr_; }
   void destination_addr_is(const eth_addr_t& v) { destination_addr_ = v; }
   // Bits of the address that are compared.
   [[nodiscard]] const eth_addr_t& source_mask() const noexcept { return source_mask_; }
   void source_mask_is(const eth_addr_t& v) { source_mask_ = v; }
   [[nodiscard]] const eth_addr_t& destination_mask() const noexcept { return destination_mask_; }
   void destination_mask_is(const eth_addr_t& v) { destination_mask_ = v; }
   // EtherType to match; 65536 matches any.
   [[nodiscard]] std::uint32_t eth_protocol() const noexcept { return eth_protocol_; }
   void eth_protocol_is(std::uint32_t v) { eth_protocol_ = v; }

   auto operator<=>(const acl_rule_eth_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::uint16_t vlan_ = 0;
   std::uint16_t vlan_mask_ = 0xfff;
   std::uint16_t inner_vlan_ = 0;
   std::uint16_t inner_vlan_mask_ = 0xfff;
   eth_addr_t source_addr_;
   eth_addr_t destination_addr_;
   eth_addr_t source_mask_;
   eth_addr_t destination_mask_;
   std::uint32_t eth_protocol_ = 65536;
};

// A rule that matches IP headers.
class acl_rule_ip_t : public acl_rule_base_t {
public:
   using sdk_value = acl_rule_ip_t;

   acl_rule_ip_t() = default;

   // Outer VLAN to match under its mask; 0 matches any.
   [[nodiscard]] std::uint16_t vlan() const noexcept { return vlan_; }
   void vlan_is(std::uint16_t v) { vlan_ = v; }
   [[nodiscard]] std::uint16_t vlan_mask() const noexcept { return vlan_mask_; }
   void vlan_mask_is(std::uint16_t v) { vlan_mask_ = v; }
   // Inner VLAN to match under its mask; 0 matches any.
   [[nodiscard]] std::uint16_t inner_vlan() const noexcept { return inner_vlan_; }
   void inner_vlan_is(std::uint16_t v) { inner_vlan_ = v; }
   [[nodiscard]] std::uint16_t inner_vlan_mask() const noexcept { return inner_vlan_mask_; }
   void inner_vlan_mask_is(std::uint16_t v) { inner_vlan_mask_ = v; }
   // Protocol number to match; 0 matches any.
   [[nodiscard]] std::uint8_t ip_protocol() const noexcept { return ip_protocol_; }
   void ip_protocol_is(std::uint8_t v) { ip_protocol_ = v; }
   [[nodiscard]] const acl_ttl_spec_t& ttl() const noexcept { return ttl_; }
   void ttl_is(acl_ttl_spec_t v) { ttl_ = std::move(v); }
   // The null address matches any.
   [[nodiscard]] const ip_addr_mask_t& source_addr() const noexcept { return source_addr_; }
   void source_addr_is(const ip_addr_mask_t& v) { source_addr_ = v; }
   // The null address matches any.
   [[nodiscard]] const ip_addr_mask_t& destination_addr() const noexcept { return destination_addr_; }
   void destination_addr_is(const ip_addr_mask_t& v) { destination_addr_ = v; }
   [[nodiscard]] const acl_port_spec_t& source_port() const noexcept { return source_port_; }
   void source_port_is(acl_port_spec_t v) { source_port_ = std::move(v); }
   [[nodiscard]] const acl_port_spec_t& destination_port() const noexcept { return destination_port_; }
   void destination_port_is(acl_port_spec_t v) { destination_port_ = std::move(v); }
   // Matches packets that would leave through this group; empty matches any.
   [[nodiscard]] const std::string& nexthop_group() const noexcept { return nexthop_group_; }
   void nexthop_group_is(std::string v) { nexthop_group_ = std::move(v); }
   // Flags that must be set (RFC 9293 section 3.1).
   [[nodiscard]] std::uint16_t tcp_flags() const noexcept { return tcp_flags_; }
   void tcp_flags_is(std::uint16_t v) { tcp_flags_ = v; }
   [[nodiscard]] acl_ip_type_t ip_type() const noexcept { return ip_type_; }
   void ip_type_is(acl_ip_type_t v) { ip_type_ = v; }
   // Matches TCP packets with ACK or RST.
   [[nodiscard]] bool established() const noexcept { return established_; }
   void established_is(bool v) { established_ = v; }
   // 65535 matches any.
   [[nodiscard]] std::uint16_t icmp_type() const noexcept { return icmp_type_; }
   void icmp_type_is(std::uint16_t v) { icmp_type_ = v; }
   // 65535 matches any.
   [[nodiscard]] std::uint16_t icmp_code() const noexcept { return icmp_code_; }
   void icmp_code_is(std::uint16_t v) { icmp_code_ = v; }
   // Value of the IPv4 DSCP, or of the IPv6 traffic class, under the mask.
   [[nodiscard]] std::uint8_t priority_value() const noexcept { return priority_value_; }
   void priority_value_is(std::uint8_t v) { priority_value_ = v; }
   [[nodiscard]] std::uint8_t priority_mask() const noexcept { return priority_mask_; }
   void priority_mask_is(std::uint8_t v) { priority_mask_ = v; }
   // Matches fragments other than the first.
   [[nodiscard]] bool match_fragments() const noexcept { return match_fragments_; }
   void match_fragments_is(bool v) { match_fragments_ = v; }
   // True if the priority value is matched.
   [[nodiscard]] bool match_ip_priority() const noexcept { return match_ip_priority_; }
   void match_ip_priority_is(bool v) { match_ip_priority_ = v; }

   auto operator<=>(const acl_rule_ip_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::uint16_t vlan_ = 0;
   std::uint16_t vlan_mask_ = 0xfff;
   std::uint16_t inner_vlan_ = 0;
   std::uint16_t inner_vlan_mask_ = 0xfff;
   std::uint8_t ip_protocol_ = 0;
   acl_ttl_spec_t ttl_;
   ip_addr_mask_t source_addr_;
   ip_addr_mask_t destination_addr_;
   acl_port_spec_t source_port_;
   acl_port_spec_t destination_port_;
   std::string nexthop_group_;
   std::uint16_t tcp_flags_ = 0;
   acl_ip_type_t ip_type_ = acl_ip_type_t::any;
   bool established_ = false;
   std::uint16_t icmp_type_ = 65535;
   std::uint16_t icmp_code_ = 65535;
   std::uint8_t priority_value_ = 0;
   std::uint8_t priority_mask_ = 0;
   bool match_fragments_ = false;
   bool match_ip_priority_ = false;
};

}  // namespace orv
