// What a traffic policy does with one packet, and its rules as text.
//
// The first rule that matches takes the packet; an action goto-class continues behind it. A rule that looks
// at a field of the packet that is not known leaves the outcome open.
//
// Thread-safety: functions without state.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orv/ip_addr.h"
#include "orv/traffic_policy_types.h"

namespace softswitch {

// The fields of an IP packet that a rule can match.
struct PolicyPacket {
   orv::ip_addr_t source;  // null: not known
   orv::ip_addr_t destination;
   std::optional<std::uint8_t> protocol;
   std::optional<std::uint16_t> sourcePort;
   std::optional<std::uint16_t> destinationPort;
};

// Whether a rule matches a packet.
struct RuleFit {
   enum class Answer : std::uint8_t { no, yes, open };
   Answer answer = Answer::no;
   std::string_view unknown = {};  // the field on which an open answer depends, as in "source address"
};
RuleFit fit(const orv::traffic_policy_rule_t& rule, const PolicyPacket& packet);

// The rule that took a packet.
struct PolicyRule {
   std::string policy;
   std::uint32_t sequence = 0;
   std::string name;  // the match rule name

   // "rule 10 (web) of traffic policy edge"
   std::string to_string() const;
};

struct PolicyOutcome {
   std::optional<PolicyRule> rule;  // the last one that took the packet; empty if none did
   // The action that decides (decides() in traffic_policy_rules.h), of that rule; null if the packet is
   // routed. It lives as long as the policy.
   const orv::traffic_policy_action_t* decision = nullptr;
   std::optional<std::uint8_t> dscp;  // that the rules set
   std::string unknown;               // not empty: nothing is decided, as text says
   std::vector<std::string> steps;    // as text
};

// REQUIRES: the packet has a destination, and the policy is one that the switch accepts.
PolicyOutcome walkPolicy(const std::string& name, const orv::traffic_policy_t& policy,
                         const PolicyPacket& packet);

// "source 10.0.0.0/8 protocol 6 port 80-90"; "any" for a filter that matches every packet.
std::string matchText(const orv::tp_rule_filter_t& filter);

// "drop", "police 10 mbps burst 100 kbytes", "nexthop 10.0.0.1 vrf red": the type and the fields that it
// uses.
std::string actionText(const orv::traffic_policy_action_t& action);

}  // namespace softswitch
