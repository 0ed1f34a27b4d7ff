#include "softswitch/managers/traffic_policy_rules.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "orv/error.h"
#include "softswitch/managers/mpls_vrf_label_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/tables/name_check.h"

namespace softswitch {
namespace {

using orv::traffic_policy_action_type_t;
using orv::traffic_policy_rule_type_t;
using orv::detail::quotable;

constexpr std::uint64_t policeBitsMax = 1'000'000'000'000'000;
constexpr std::uint64_t policePacketsMax = 1'000'000'000'000;
constexpr std::uint64_t policeBurstBytesMax = 1'000'000'000;
// Nexthops or nexthop groups of an action. The entry of a rule in the stream of counters has them all and
// must fit in one message of that stream.
constexpr std::size_t waysMax = 1024;

// The highest police rate in this unit.
std::uint64_t rateMax(orv::police_rate_unit_t unit) {
   switch (unit) {
      case orv::police_rate_unit_t::bps:
         return policeBitsMax;
      case orv::police_rate_unit_t::kbps:
         return policeBitsMax / 1'000;
      case orv::police_rate_unit_t::mbps:
         return policeBitsMax / 1'000'000;
      case orv::police_rate_unit_t::pps:
         return policePacketsMax;
   }
   return 0;
}

// The longest police burst in this unit.
std::uint64_t burstMax(orv::police_burst_unit_t unit) {
   switch (unit) {
      case orv::police_burst_unit_t::bytes:
         return policeBurstBytesMax;
      case orv::police_burst_unit_t::kbytes:
         return policeBurstBytesMax / 1'000;
      case orv::police_burst_unit_t::mbytes:
         return policeBurstBytesMax / 1'000'000;
   }
   return 0;
}

bool allHavePorts(const orv::protocol_range_t& protocols) {
   constexpr std::array<std::uint32_t, 5> withPorts{6, 17, 33, 132, 136};
   for (auto protocol = protocols.range_start(); protocol <= protocols.range_end(); ++protocol) {
      if (std::find(withPorts.begin(), withPorts.end(), protocol) == withPorts.end()) return false;
   }
   return true;
}

bool matchesPorts(const orv::protocol_field_t& protocol) {
   return std::any_of(protocol.ports().begin(), protocol.ports().end(), [](const auto& each) {
      return !each.second.src_ports().empty() || !each.second.dst_ports().empty();
   });
}

class TrafficPolicyCheck {
public:
   explicit TrafficPolicyCheck(const orv::traffic_policy_t& policy) : policy_(policy) {}

   void run() {
      if (policy_.key().empty()) {
         throw orv::invalid_argument_error("traffic policy name is empty, expected a name");
      }
      checkText("traffic policy name", policy_.key(), policyNameBytesMax);
      for (const auto& counter : policy_.named_counters())
         nameThere("counter name", counter);
      for (const auto& [sequence, rule] : policy_.rules()) {
         rule_ = &sequence;
         ruleName(rule.match_rule_name());
         type_ = rule.traffic_policy_rule_type();
         if (type_ != traffic_policy_rule_type_t::ipv4 && type_ != traffic_policy_rule_type_t::ipv6)
            refuse("type {}, expected ipv4 or ipv6", type_);
         filter(rule.raw_rule());
      }
      // A rule may continue at one that comes later.
      for (const auto& [sequence, rule] : policy_.rules()) {
         rule_ = &sequence;
         actions(rule);
      }
   }

private:
   template <typename... Args>
   [[noreturn]] void refuse(fmt::format_string<Args...> format, Args&&... args) const {
      const auto rule = rule_ == nullptr ? std::string() : fmt::format(" rule {}", *rule_);
      throw orv::invalid_argument_error(fmt::format("traffic policy '{}'{}: {}", quotable(policy_.key()),
                                                    rule, fmt::format(format, std::forward<Args>(args)...)));
   }

   void name(std::string_view what, const std::string& text,
             std::size_t bytesMax = policyNameBytesMax) const {
      if (const auto fault = textFault(text, bytesMax); !fault.empty()) refuse("{} {}", what, fault);
   }
   void nameThere(std::string_view what, const std::string& text) const {
      if (text.empty()) refuse("{} is empty, expected a name", what);
      name(what, text);
   }

   void ruleName(const std::string& text) {
      nameThere("match rule name", text);
      const auto [other, fresh] = sequences_.emplace(text, *rule_);
      if (!fresh) {
         refuse("match rule name '{}' is that of rule {}, expected a name of its own", quotable(text),
                other->second);
      }
   }

   void filter(const orv::tp_rule_filter_t& filter) const {
      if (filter.filter_type() != type_ && filter.filter_type() != traffic_policy_rule_type_t::none) {
         refuse("raw rule has type {}, expected {}", filter.filter_type(), type_);
      }
      for (const auto& address : filter.src_addrs())
         this->address("source", address);
      fieldSets("source address", filter.src_addr_field_sets());
      for (const auto& address : filter.dst_addrs())
         this->address("destination", address);
      fieldSets("destination address", filter.dst_addr_field_sets());
      for (const auto& [protocols, field] : filter.protocols()) {
         range("protocols", protocols, 255);
         for (const auto& [sequence, ports] : field.ports())
            this->ports(ports);
         if (matchesPorts(field) && !allHavePorts(protocols)) {
            refuse(
                 "raw rule: protocols {} with ports, expected only 6, 17, 33, 132 and 136, which have ports",
                 protocols.to_string());
         }
      }
   }

   void address(std::string_view what, const orv::ip_addr_mask_t& address) const {
      const auto family = type_ == traffic_policy_rule_type_t::ipv4 ? orv::af_ipv4 : orv::af_ipv6;
      if (!address.address()) refuse("raw rule: {} is a null address, expected one of {}", what, type_);
      if (address.af() != family) {
         refuse("raw rule: {} {} has family {}, expected {}", what, address.to_string(), address.af(),
                family);
      }
      const auto width = address.address().width();
      if (address.mask_length() > width) {
         refuse("raw rule: {} {} has mask length {}, expected 0 to {}", what, address.address().to_string(),
                address.mask_length(), width);
      }
   }

   void fieldSets(std::string_view what, const std::unordered_set<std::string>& names) const {
      if (names.empty()) return;
      const auto& first = *std::min_element(names.begin(), names.end());
      refuse("raw rule: {} field set '{}' does not exist, expected none, since this switch has no field sets",
             what, quotable(first));
   }

   void ports(const orv::port_field_t& field) const {
      for (const auto& ports : field.src_ports())
         range("source ports", ports, 65535);
      fieldSets("source port", field.src_port_field_sets());
      for (const auto& ports : field.dst_ports())
         range("destination ports", ports, 65535);
      fieldSets("destination port", field.dst_port_field_sets());
   }

   template <typename Range>
   void range(std::string_view what, const Range& range, std::uint32_t highest) const {
      if (range.range_start() > range.range_end()) {
         refuse("raw rule: {} from {} to {}, expected an ascending range", what, range.range_start(),
                range.range_end());
      }
      if (range.range_end() > highest)
         refuse("raw rule: {} up to {}, expected 0 to {}", what, range.range_end(), highest);
   }

   void actions(const orv::traffic_policy_rule_t& rule) const {
      const orv::traffic_policy_action_t* last = nullptr;
      const orv::traffic_policy_action_t* deciding = nullptr;
      // In the order of their types.
      for (const auto& action : rule.actions()) {
         const auto type = action.action_type();
         if (last != nullptr && last->action_type() == action.action_type())
            refuse("two actions {}, expected at most one", type);
         if (decides(action.action_type())) {
            if (deciding != nullptr) {
               refuse("actions {} and {}, expected at most one that decides where the packet goes",
                      deciding->action_type(), type);
            }
            deciding = &action;
         }
         last = &action;
         this->action(action);
      }
   }

   void action(const orv::traffic_policy_action_t& action) const {
      // For every type of action: the table stores the names and numbers and returns them.
      name("action count: counter name", action.counter_name());
      name("action goto-class: rule name", action.goto_class_name());
      name("action vrf: VRF name", action.vrf(), MplsVrfLabelMgr::vrfNameBytesMax);
      name("action mirror: session name", action.mirror_session());
      for (const auto& group : action.nexthop_groups())
         name("action nexthop-group: group name", group, NexthopGroupMgr::nameBytesMax);
      if (const auto many = std::max(action.nexthops().size(), action.nexthop_groups().size());
          many > waysMax)
         refuse("action {} has {} ways, expected at most {}", action.action_type(), many, waysMax);
      if (action.dscp() > 63) refuse("dscp {} is out of range, expected 0 to 63", action.dscp());
      if (action.traffic_class() > 7)
         refuse("traffic-class {} is out of range, expected 0 to 7", action.traffic_class());
      switch (action.action_type()) {
         case traffic_policy_action_type_t::count:
            count(action);
            break;
         case traffic_policy_action_type_t::goto_class:
            gotoClass(action);
            break;
         case traffic_policy_action_type_t::vrf:
            if (action.vrf().empty()) refuse("action vrf has no VRF, expected a name");
            break;
         case traffic_policy_action_type_t::mirror:
            if (action.mirror_session().empty()) refuse("action mirror has no session, expected a name");
            break;
         case traffic_policy_action_type_t::police:
            police(action);
            break;
         case traffic_policy_action_type_t::nexthop_group:
            if (action.nexthop_groups().empty())
               refuse("action nexthop-group has no group, expected at least one");
            if (action.nexthop_groups().contains({}))
               refuse("action nexthop-group has a group without a name, expected a name");
            break;
         case traffic_policy_action_type_t::nexthop:
            if (action.nexthops().empty()) refuse("action nexthop has no nexthops, expected at least one");
            if (action.nexthops().contains({}))
               refuse("action nexthop has a null nexthop, expected IPv4 or IPv6 addresses");
            break;
         case traffic_policy_action_type_t::none:
         case traffic_policy_action_type_t::drop:
         case traffic_policy_action_type_t::log:
         case traffic_policy_action_type_t::dscp:
         case traffic_policy_action_type_t::traffic_class:
         case traffic_policy_action_type_t::punt:
         case traffic_policy_action_type_t::permit:
            break;
      }
   }

   void count(const orv::traffic_policy_action_t& action) const {
      const auto& counter = action.counter_name();
      if (counter.empty()) refuse("action count has no counter, expected a name");
      if (!policy_.named_counters().contains(counter))
         refuse("action count: counter '{}', expected one of the policy's named counters", quotable(counter));
   }

   void gotoClass(const orv::traffic_policy_action_t& action) const {
      const auto& target = action.goto_class_name();
      if (target.empty()) {
         if (!action.goto_next()) refuse("action goto-class has no rule, expected a name or the next rule");
         return;
      }
      if (action.goto_next())
         refuse("action goto-class has rule '{}' and the next rule, expected one of them", quotable(target));
      const auto found = sequences_.find(target);
      if (found == sequences_.end())
         refuse("action goto-class: rule '{}' does not exist, expected a rule of the policy",
                quotable(target));
      if (found->second <= *rule_) {
         refuse("action goto-class: rule '{}' has sequence number {}, expected a rule that follows",
                quotable(target), found->second);
      }
   }

   void police(const orv::traffic_policy_action_t& action) const {
      const auto rateLimit = rateMax(action.police_rate_unit());
      if (action.police_rate() == 0 || action.police_rate() > rateLimit) {
         refuse("action police: rate {} {} is out of range, expected 1 to {}", action.police_rate(),
                action.police_rate_unit(), rateLimit);
      }
      const auto burstLimit = burstMax(action.police_burst_unit());
      if (action.police_burst_size() > burstLimit) {
         refuse("action police: burst size {} {} is out of range, expected 0 to {}",
                action.police_burst_size(), action.police_burst_unit(), burstLimit);
      }
   }

   const orv::traffic_policy_t& policy_;
   const std::uint32_t* rule_ = nullptr;  // the sequence number of the rule at hand
   traffic_policy_rule_type_t type_ = traffic_policy_rule_type_t::none;
   std::map<std::string_view, std::uint32_t> sequences_;  // by match rule name
};

}  // namespace

void checkTrafficPolicy(const orv::traffic_policy_t& policy) {
   TrafficPolicyCheck(policy).run();
}

bool decides(orv::traffic_policy_action_type_t type) {
   switch (type) {
      case traffic_policy_action_type_t::drop:
      case traffic_policy_action_type_t::goto_class:
      case traffic_policy_action_type_t::vrf:
      case traffic_policy_action_type_t::nexthop_group:
      case traffic_policy_action_type_t::nexthop:
      case traffic_policy_action_type_t::punt:
      case traffic_policy_action_type_t::permit:
         return true;
      case traffic_policy_action_type_t::none:
      case traffic_policy_action_type_t::count:
      case traffic_policy_action_type_t::log:
      case traffic_policy_action_type_t::dscp:
      case traffic_policy_action_type_t::traffic_class:
      case traffic_policy_action_type_t::mirror:
      case traffic_policy_action_type_t::police:
         break;
   }
   return false;
}

}  // namespace softswitch
