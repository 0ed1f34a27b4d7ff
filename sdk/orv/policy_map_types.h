// Records of policy maps.
//
// Thread-safety: plain values.
#pragma once

#include <compare>
#include <map>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>

#include "orv/acl_types.h"
#include "orv/intf_id.h"
#include "orv/policy_key.h"

namespace orv {

// What a rule does with the packets of its class.
enum class policy_action_type_t : std::uint8_t {
   none = 0,
   drop = 1,
   nexthop = 2,        // to one of the nexthops
   dscp = 3,           // sets the DSCP
   nexthop_group = 4,  // through the named group
   traffic_class = 5,  // sets the traffic class
   vrf = 6,            // looks the destination up in a VRF
};
[[nodiscard]] std::string_view enum_text(policy_action_type_t v) noexcept;

// How a rule selects its packets.
enum class policy_map_rule_type_t : std::uint8_t {
   class_map = 0,      // by a class map
   raw = 1,            // by its own rule
   class_default = 2,  // what no earlier rule matched
};
[[nodiscard]] std::string_view enum_text(policy_map_rule_type_t v) noexcept;

// Outcome of programming a policy map on an interface.
enum class policy_map_status_t : std::uint8_t {
   unknown = 0,
   in_progress = 1,
   success = 2,
   failure = 3,
};
[[nodiscard]] std::string_view enum_text(policy_map_status_t v) noexcept;

// One action of a rule; its type determines which fields are used.
class policy_map_action_t {
public:
   using sdk_value = policy_map_action_t;

   policy_map_action_t() = default;
   explicit policy_map_action_t(policy_action_type_t action_type) : action_type_(action_type) {}

   [[nodiscard]] policy_action_type_t action_type() const noexcept { return action_type_; }
   void action_type_is(policy_action_type_t v) { action_type_ = v; }
   [[nodiscard]] const std::string& nexthop_group_name() const noexcept { return nexthop_group_name_; }
   void nexthop_group_name_is(std::string v) { nexthop_group_name_ = std::move(v); }
   [[nodiscard]] const std::unordered_set<ip_addr_t>& nexthops() const noexcept { return nexthops_; }
   void nexthops_is(std::unordered_set<ip_addr_t> v) { nexthops_ = std::move(v); }
   // VRF in which the nexthops or the destination are looked up.
   [[nodiscard]] const std::string& vrf() const noexcept { return vrf_; }
   void vrf_is(std::string v) { vrf_ = std::move(v); }
   [[nodiscard]] std::uint8_t dscp() const noexcept { return dscp_; }
   void dscp_is(std::uint8_t v) { dscp_ = v; }
   [[nodiscard]] std::uint8_t traffic_class() const noexcept { return traffic_class_; }
   void traffic_class_is(std::uint8_t v) { traffic_class_ = v; }

   bool operator==(const policy_map_action_t&) const = default;
   std::strong_ordering operator<=>(const policy_map_action_t& other) const;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   policy_action_type_t action_type_ = policy_action_type_t::none;
   std::string nexthop_group_name_;
   std::unordered_set<ip_addr_t> nexthops_;
   std::string vrf_;
   std::uint8_t dscp_ = 0;
   std::uint8_t traffic_class_ = 0;
};

// A rule: a match and its actions.
class policy_map_rule_t {
public:
   using sdk_value = policy_map_rule_t;

   policy_map_rule_t() = default;
   explicit policy_map_rule_t(policy_map_key_t class_map_key) : class_map_key_(std::move(class_map_key)) {}

   // Class of a rule of type class_map.
   [[nodiscard]] const policy_map_key_t& class_map_key() const noexcept { return class_map_key_; }
   void class_map_key_is(policy_map_key_t v) { class_map_key_ = std::move(v); }
   [[nodiscard]] policy_map_rule_type_t policy_map_rule_type() const noexcept {
      return policy_map_rule_type_;
   }
   void policy_map_rule_type_is(policy_map_rule_type_t v) { policy_map_rule_type_ = v; }
   // Match of a rule of type raw.
   [[nodiscard]] const acl_rule_ip_t& raw_rule() const noexcept { return raw_rule_; }
   void raw_rule_is(acl_rule_ip_t v) { raw_rule_ = std::move(v); }
   [[nodiscard]] const std::set<policy_map_action_t>& actions() const noexcept { return actions_; }
   void actions_is(std::set<policy_map_action_t> v) { actions_ = std::move(v); }
   // A no-op if an equal action exists.
   void action_set(policy_map_action_t action) { actions_.insert(std::move(action)); }
   void action_del(const policy_map_action_t& action) { actions_.erase(action); }

   bool operator==(const policy_map_rule_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   policy_map_key_t class_map_key_;
   policy_map_rule_type_t policy_map_rule_type_ = policy_map_rule_type_t::class_map;
   acl_rule_ip_t raw_rule_;
   std::set<policy_map_action_t> actions_;
};

// Rules in the order of their sequence numbers.
class policy_map_t {
public:
   using sdk_value = policy_map_t;

   policy_map_t() = default;
   explicit policy_map_t(policy_map_key_t key) : key_(std::move(key)) {}

   [[nodiscard]] const policy_map_key_t& key() const noexcept { return key_; }
   void key_is(policy_map_key_t v) { key_ = std::move(v); }
   // By sequence number.
   [[nodiscard]] const std::map<std::uint32_t, policy_map_rule_t>& rules() const noexcept { return rules_; }
   void rules_is(std::map<std::uint32_t, policy_map_rule_t> v) { rules_ = std::move(v); }
   void rule_set(std::uint32_t sequence, policy_map_rule_t rule) {
      rules_.insert_or_assign(sequence, std::move(rule));
   }
   // A no-op if the sequence number does not exist.
   void rule_del(std::uint32_t sequence) { rules_.erase(sequence); }

   bool operator==(const policy_map_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   policy_map_key_t key_;
   std::map<std::uint32_t, policy_map_rule_t> rules_;
};

// Where a policy map is applied.
class policy_map_hw_status_key_t {
public:
   using sdk_value = policy_map_hw_status_key_t;

   policy_map_hw_status_key_t() = default;
   policy_map_hw_status_key_t(intf_id_t intf_id, acl_direction_t direction)
        : intf_id_(std::move(intf_id)), direction_(direction) {}

   [[nodiscard]] const intf_id_t& intf_id() const noexcept { return intf_id_; }
   void intf_id_is(intf_id_t v) { intf_id_ = std::move(v); }
   [[nodiscard]] acl_direction_t direction() const noexcept { return direction_; }
   void direction_is(acl_direction_t v) { direction_ = v; }

   auto operator<=>(const policy_map_hw_status_key_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   intf_id_t intf_id_;
   acl_direction_t direction_ = acl_direction_t::none;
};

// Outcome of programming a policy map, for each place where it is applied.
class policy_map_hw_statuses_t {
public:
   using sdk_value = policy_map_hw_statuses_t;

   policy_map_hw_statuses_t() = default;
   explicit policy_map_hw_statuses_t(policy_map_key_t key) : key_(std::move(key)) {}

   [[nodiscard]] const policy_map_key_t& key() const noexcept { return key_; }
   void key_is(policy_map_key_t v) { key_ = std::move(v); }
   [[nodiscard]] const std::map<policy_map_hw_status_key_t, policy_map_status_t>& intf_statuses()
        const noexcept {
      return intf_statuses_;
   }
   void intf_statuses_is(std::map<policy_map_hw_status_key_t, policy_map_status_t> v) {
      intf_statuses_ = std::move(v);
   }

   bool operator==(const policy_map_hw_statuses_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   policy_map_key_t key_;
   std::map<policy_map_hw_status_key_t, policy_map_status_t> intf_statuses_;
};

}  // namespace orv
