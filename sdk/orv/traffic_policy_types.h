// Records of traffic policies.
//
// Thread-safety: plain values.
#pragma once

#include <compare>
#include <map>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>

#include "orv/tp_rule_filter.h"

namespace orv {

// What a rule does with the packets that it matches.
enum class traffic_policy_action_type_t : std::uint8_t {
   none = 0,
   drop = 1,
   count = 2,  // in a named counter
   log = 3,
   goto_class = 4,      // continues at another rule
   dscp = 5,            // sets the DSCP
   traffic_class = 6,   // sets the traffic class
   vrf = 7,             // looks the destination up in a VRF
   mirror = 8,          // copies to a mirror session
   police = 9,          // limits the rate
   nexthop_group = 10,  // through one of the groups
   nexthop = 11,        // to one of the nexthops
   punt = 12,           // to the control plane
   permit = 13,
};
[[nodiscard]] std::string_view enum_text(traffic_policy_action_type_t v) noexcept;

// Direction in which a policy applies to an interface.
enum class traffic_policy_direction_t : std::uint8_t {
   in = 0,
   out = 1,
};
[[nodiscard]] std::string_view enum_text(traffic_policy_direction_t v) noexcept;

// Unit of a police rate.
enum class police_rate_unit_t : std::uint8_t {
   bps = 0,   // bits per second
   kbps = 1,  // 1,000 bits per second
   mbps = 2,  // 1,000,000 bits per second
   pps = 3,   // packets per second
};
[[nodiscard]] std::string_view enum_text(police_rate_unit_t v) noexcept;

// Unit of a police burst size.
enum class police_burst_unit_t : std::uint8_t {
   bytes = 0,
   kbytes = 1,  // 1,000 bytes
   mbytes = 2,  // 1,000,000 bytes
};
[[nodiscard]] std::string_view enum_text(police_burst_unit_t v) noexcept;

// One action of a rule; its type determines which fields are used.
class traffic_policy_action_t {
public:
   using sdk_value = traffic_policy_action_t;

   traffic_policy_action_t() = default;
   explicit traffic_policy_action_t(traffic_policy_action_type_t action_type) : action_type_(action_type) {}

   [[nodiscard]] traffic_policy_action_type_t action_type() const noexcept { return action_type_; }
   void action_type_is(traffic_policy_action_type_t v) { action_type_ = v; }
   // One of the policy's named counters.
   [[nodiscard]] const std::string& counter_name() const noexcept { return counter_name_; }
   void counter_name_is(std::string v) { counter_name_ = std::move(v); }
   // Match rule name of the rule at which to continue.
   [[nodiscard]] const std::string& goto_class_name() const noexcept { return goto_class_name_; }
   void goto_class_name_is(std::string v) { goto_class_name_ = std::move(v); }
   // Continues at the next rule.
   [[nodiscard]] bool goto_next() const noexcept { return goto_next_; }
   void goto_next_is(bool v) { goto_next_ = v; }
   [[nodiscard]] std::uint8_t dscp() const noexcept { return dscp_; }
   void dscp_is(std::uint8_t v) { dscp_ = v; }
   [[nodiscard]] std::uint8_t traffic_class() const noexcept { return traffic_class_; }
   void traffic_class_is(std::uint8_t v) { traffic_class_ = v; }
   // VRF in which the nexthops or the destination are looked up.
   [[nodiscard]] const std::string& vrf() const noexcept { return vrf_; }
   void vrf_is(std::string v) { vrf_ = std::move(v); }
   [[nodiscard]] const std::string& mirror_session() const noexcept { return mirror_session_; }
   void mirror_session_is(std::string v) { mirror_session_ = std::move(v); }
   // In police_rate_unit.
   [[nodiscard]] std::uint64_t police_rate() const noexcept { return police_rate_; }
   void police_rate_is(std::uint64_t v) { police_rate_ = v; }
   // In police_burst_unit.
   [[nodiscard]] std::uint64_t police_burst_size() const noexcept { return police_burst_size_; }
   void police_burst_size_is(std::uint64_t v) { police_burst_size_ = v; }
   [[nodiscard]] police_rate_unit_t police_rate_unit() const noexcept { return police_rate_unit_; }
   void police_rate_unit_is(police_rate_unit_t v) { police_rate_unit_ = v; }
   [[nodiscard]] police_burst_unit_t police_burst_unit() const noexcept { return police_burst_unit_; }
   void police_burst_unit_is(police_burst_unit_t v) { police_burst_unit_ = v; }
   // Names of nexthop groups.
   [[nodiscard]] const std::unordered_set<std::string>& nexthop_groups() const noexcept {
      return nexthop_groups_;
   }
   void nexthop_groups_is(std::unordered_set<std::string> v) { nexthop_groups_ = std::move(v); }
   [[nodiscard]] const std::unordered_set<ip_addr_t>& nexthops() const noexcept { return nexthops_; }
   void nexthops_is(std::unordered_set<ip_addr_t> v) { nexthops_ = std::move(v); }

   bool operator==(const traffic_policy_action_t&) const = default;
   std::strong_ordering operator<=>(const traffic_policy_action_t& other) const;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   traffic_policy_action_type_t action_type_ = traffic_policy_action_type_t::none;
   std::string counter_name_;
   std::string goto_class_name_;
   bool goto_next_ = false;
   std::uint8_t dscp_ = 0;
   std::uint8_t traffic_class_ = 0;
   std::string vrf_;
   std::string mirror_session_;
   std::uint64_t police_rate_ = 0;
   std::uint64_t police_burst_size_ = 0;
   police_rate_unit_t police_rate_unit_ = police_rate_unit_t::bps;
   police_burst_unit_t police_burst_unit_ = police_burst_unit_t::bytes;
   std::unordered_set<std::string> nexthop_groups_;
   std::unordered_set<ip_addr_t> nexthops_;
};

// A rule: a match and its actions.
class traffic_policy_rule_t {
public:
   using sdk_value = traffic_policy_rule_t;

   traffic_policy_rule_t() = default;
   traffic_policy_rule_t(traffic_policy_rule_type_t traffic_policy_rule_type, std::string match_rule_name)
        : traffic_policy_rule_type_(traffic_policy_rule_type), match_rule_name_(std::move(match_rule_name)) {}

   [[nodiscard]] traffic_policy_rule_type_t traffic_policy_rule_type() const noexcept {
      return traffic_policy_rule_type_;
   }
   void traffic_policy_rule_type_is(traffic_policy_rule_type_t v) { traffic_policy_rule_type_ = v; }
   // Name of the rule within its policy.
   [[nodiscard]] const std::string& match_rule_name() const noexcept { return match_rule_name_; }
   void match_rule_name_is(std::string v) { match_rule_name_ = std::move(v); }
   // Packets that the rule matches.
   [[nodiscard]] const tp_rule_filter_t& raw_rule() const noexcept { return raw_rule_; }
   void raw_rule_is(tp_rule_filter_t v) { raw_rule_ = std::move(v); }
   [[nodiscard]] const std::set<traffic_policy_action_t>& actions() const noexcept { return actions_; }
   void actions_is(std::set<traffic_policy_action_t> v) { actions_ = std::move(v); }
   // A no-op if an equal action exists.
   void action_set(traffic_policy_action_t action) { actions_.insert(std::move(action)); }
   void action_del(const traffic_policy_action_t& action) { actions_.erase(action); }

   bool operator==(const traffic_policy_rule_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   traffic_policy_rule_type_t traffic_policy_rule_type_ = traffic_policy_rule_type_t::none;
   std::string match_rule_name_;
   tp_rule_filter_t raw_rule_;
   std::set<traffic_policy_action_t> actions_;
};

// Rules in the order of their sequence numbers.
class traffic_policy_t {
public:
   using sdk_value = traffic_policy_t;

   traffic_policy_t() = default;
   explicit traffic_policy_t(std::string key) : key_(std::move(key)) {}

   // Name of the policy.
   [[nodiscard]] const std::string& key() const noexcept { return key_; }
   void key_is(std::string v) { key_ = std::move(v); }
   // Counters that actions may name.
   [[nodiscard]] const std::unordered_set<std::string>& named_counters() const noexcept {
      return named_counters_;
   }
   void named_counters_is(std::unordered_set<std::string> v) { named_counters_ = std::move(v); }
   // By sequence number.
   [[nodiscard]] const std::map<std::uint32_t, traffic_policy_rule_t>& rules() const noexcept {
      return rules_;
   }
   void rules_is(std::map<std::uint32_t, traffic_policy_rule_t> v) { rules_ = std::move(v); }
   void rule_set(std::uint32_t sequence, traffic_policy_rule_t rule) {
      rules_.insert_or_assign(sequence, std::move(rule));
   }
   // A no-op if the sequence number does not exist.
   void rule_del(std::uint32_t sequence) { rules_.erase(sequence); }

   bool operator==(const traffic_policy_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::string key_;
   std::unordered_set<std::string> named_counters_;
   std::map<std::uint32_t, traffic_policy_rule_t> rules_;
};

}  // namespace orv
