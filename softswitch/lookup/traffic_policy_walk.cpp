#include "softswitch/lookup/traffic_policy_walk.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

#include "softswitch/lookup/network_of.h"
#include "softswitch/managers/traffic_policy_rules.h"

namespace softswitch {
namespace {

using orv::traffic_policy_action_type_t;
using Answer = RuleFit::Answer;

RuleFit answer(bool matches) {
   return {.answer = matches ? Answer::yes : Answer::no};
}

// A field that is not known matters only where the other side does not decide alone.
RuleFit both(const RuleFit& a, const RuleFit& b) {
   if (a.answer == Answer::no || b.answer == Answer::no) return answer(false);
   return a.answer == Answer::open ? a : b;
}

RuleFit either(const RuleFit& a, const RuleFit& b) {
   if (a.answer == Answer::yes || b.answer == Answer::yes) return answer(true);
   return a.answer == Answer::open ? a : b;
}

RuleFit addressFit(const std::set<orv::ip_addr_mask_t>& masks, const orv::ip_addr_t& address) {
   if (masks.empty()) return answer(true);
   if (!address) return {.answer = Answer::open, .unknown = "source address"};
   return answer(std::any_of(masks.begin(), masks.end(), [&](const orv::ip_addr_mask_t& mask) {
      return mask.af() == address.af() && mask.mask_length() <= address.width() &&
             networkOf(mask.address(), mask.mask_length()) == networkOf(address, mask.mask_length());
   }));
}

template <typename Range, typename Number>
RuleFit rangeFit(const Range& range, const std::optional<Number>& number, std::string_view field) {
   if (number) return answer(*number >= range.range_start() && *number <= range.range_end());
   if (range.range_start() == 0 && range.range_end() >= static_cast<Number>(~Number{})) return answer(true);
   return {.answer = Answer::open, .unknown = field};
}

RuleFit portFit(const std::set<orv::port_range_t>& ranges, const std::optional<std::uint16_t>& port,
                std::string_view field) {
   RuleFit ports = answer(ranges.empty());
   for (const auto& range : ranges)
      ports = either(ports, rangeFit(range, port, field));
   return ports;
}

RuleFit portsFit(const orv::protocol_field_t& protocol, const PolicyPacket& packet) {
   RuleFit any = answer(protocol.ports().empty());
   for (const auto& [sequence, ports] : protocol.ports()) {
      any = either(any, both(portFit(ports.src_ports(), packet.sourcePort, "source port"),
                             portFit(ports.dst_ports(), packet.destinationPort, "destination port")));
   }
   return any;
}

const orv::traffic_policy_action_t* decisionOf(const orv::traffic_policy_rule_t& rule) {
   const auto& actions = rule.actions();
   const auto found = std::find_if(actions.begin(), actions.end(),
                                   [](const auto& action) { return decides(action.action_type()); });
   return found == actions.end() ? nullptr : &*found;
}

// What the rule does with the packet besides deciding where it goes.
void takeAlong(const orv::traffic_policy_rule_t& rule, PolicyOutcome& outcome) {
   std::vector<std::string> notCarriedOut;
   for (const auto& action : rule.actions()) {
      if (decides(action.action_type()) || action.action_type() == traffic_policy_action_type_t::none)
         continue;
      if (action.action_type() == traffic_policy_action_type_t::dscp) {
         outcome.dscp = action.dscp();
         outcome.steps.push_back(fmt::format("{} sets DSCP {}", outcome.rule->to_string(), action.dscp()));
      } else {
         notCarriedOut.push_back(actionText(action));
      }
   }
   if (notCarriedOut.empty()) return;
   outcome.steps.push_back(fmt::format("{} has actions that do not show in this view: {}",
                                       outcome.rule->to_string(), fmt::join(notCarriedOut, ", ")));
}

template <typename Range>
std::string rangeText(const Range& range) {
   return range.range_start() == range.range_end()
               ? fmt::format("{}", range.range_start())
               : fmt::format("{}-{}", range.range_start(), range.range_end());
}

template <typename Ranges>
std::string rangesText(const Ranges& ranges) {
   std::vector<std::string> texts;
   for (const auto& range : ranges)
      texts.push_back(rangeText(range));
   return fmt::format("{}", fmt::join(texts, ","));
}

std::string portsText(const orv::port_field_t& ports) {
   std::vector<std::string> texts;
   if (!ports.src_ports().empty())
      texts.push_back(fmt::format("source-port {}", rangesText(ports.src_ports())));
   if (!ports.dst_ports().empty()) texts.push_back(fmt::format("port {}", rangesText(ports.dst_ports())));
   return texts.empty() ? "any port" : fmt::format("{}", fmt::join(texts, " "));
}

std::string protocolText(const orv::protocol_range_t& range, const orv::protocol_field_t& protocol) {
   std::vector<std::string> alternatives;
   for (const auto& [sequence, ports] : protocol.ports())
      alternatives.push_back(portsText(ports));
   const auto text = fmt::format("protocol {}", rangeText(range));
   if (alternatives.empty()) return text;
   if (alternatives.size() == 1) return fmt::format("{} {}", text, alternatives.front());
   return fmt::format("{} ({})", text, fmt::join(alternatives, " or "));
}

// Sorted, so that the text is always the same.
template <typename Values>
std::string sortedText(const Values& values) {
   const std::set<typename Values::value_type> sorted(values.begin(), values.end());
   return fmt::format("{}", fmt::join(sorted, ","));
}

}  // namespace

RuleFit fit(const orv::traffic_policy_rule_t& rule, const PolicyPacket& packet) {
   const auto family = rule.traffic_policy_rule_type() == orv::traffic_policy_rule_type_t::ipv4
                            ? orv::af_ipv4
                            : orv::af_ipv6;
   if (packet.destination.af() != family) return answer(false);
   const auto& filter = rule.raw_rule();
   RuleFit protocols = answer(filter.protocols().empty());
   for (const auto& [range, protocol] : filter.protocols()) {
      protocols =
           either(protocols, both(rangeFit(range, packet.protocol, "protocol"), portsFit(protocol, packet)));
   }
   return both(addressFit(filter.dst_addrs(), packet.destination),
               both(addressFit(filter.src_addrs(), packet.source), protocols));
}

std::string PolicyRule::to_string() const {
   return fmt::format("rule {} ({}) of traffic policy {}", sequence, name, policy);
}

PolicyOutcome walkPolicy(const std::string& name, const orv::traffic_policy_t& policy,
                         const PolicyPacket& packet) {
   PolicyOutcome outcome;
   std::string_view until;  // the rule at which to continue; empty for the next one
   for (const auto& [sequence, rule] : policy.rules()) {
      if (!until.empty() && rule.match_rule_name() != until) continue;
      until = {};
      const auto fits = fit(rule, packet);
      if (fits.answer == Answer::no) continue;
      const PolicyRule at{.policy = name, .sequence = sequence, .name = rule.match_rule_name()};
      if (fits.answer == Answer::open) {
         outcome.unknown =
              fmt::format("{} depends on the packet's {}, which is not given", at.to_string(), fits.unknown);
         return outcome;
      }
      outcome.rule = at;
      outcome.steps.push_back(fmt::format("{} takes the packet", at.to_string()));
      takeAlong(rule, outcome);
      const auto* const decision = decisionOf(rule);
      if (decision == nullptr || decision->action_type() != traffic_policy_action_type_t::goto_class) {
         outcome.decision = decision;
         return outcome;
      }
      until = decision->goto_class_name();
      outcome.steps.push_back(
           fmt::format("{} continues at {}", at.to_string(),
                       until.empty() ? std::string("the next rule") : fmt::format("rule {}", until)));
   }
   outcome.steps.push_back(
        fmt::format("no {}rule of traffic policy {} takes the packet", outcome.rule ? "further " : "", name));
   return outcome;
}

std::string matchText(const orv::tp_rule_filter_t& filter) {
   std::vector<std::string> texts;
   if (!filter.src_addrs().empty())
      texts.push_back(fmt::format("source {}", fmt::join(filter.src_addrs(), ",")));
   if (!filter.dst_addrs().empty())
      texts.push_back(fmt::format("destination {}", fmt::join(filter.dst_addrs(), ",")));
   for (const auto& [range, protocol] : filter.protocols())
      texts.push_back(protocolText(range, protocol));
   return texts.empty() ? "any" : fmt::format("{}", fmt::join(texts, " "));
}

std::string actionText(const orv::traffic_policy_action_t& action) {
   const auto type = orv::to_string(action.action_type());
   switch (action.action_type()) {
      case traffic_policy_action_type_t::count:
         return fmt::format("{} {}", type, action.counter_name());
      case traffic_policy_action_type_t::goto_class:
         return fmt::format("{} {}", type, action.goto_next() ? "next" : action.goto_class_name());
      case traffic_policy_action_type_t::dscp:
         return fmt::format("{} {}", type, action.dscp());
      case traffic_policy_action_type_t::traffic_class:
         return fmt::format("{} {}", type, action.traffic_class());
      case traffic_policy_action_type_t::vrf:
         return fmt::format("{} {}", type, action.vrf());
      case traffic_policy_action_type_t::mirror:
         return fmt::format("{} {}", type, action.mirror_session());
      case traffic_policy_action_type_t::police: {
         const auto rate = fmt::format("{} {} {}", type, action.police_rate(), action.police_rate_unit());
         if (action.police_burst_size() == 0) return rate;
         return fmt::format("{} burst {} {}", rate, action.police_burst_size(), action.police_burst_unit());
      }
      case traffic_policy_action_type_t::nexthop_group:
         return fmt::format("{} {}", type, sortedText(action.nexthop_groups()));
      case traffic_policy_action_type_t::nexthop:
         return fmt::format("{} {}{}", type, sortedText(action.nexthops()),
                            action.vrf().empty() ? "" : " vrf " + action.vrf());
      case traffic_policy_action_type_t::none:
      case traffic_policy_action_type_t::drop:
      case traffic_policy_action_type_t::log:
      case traffic_policy_action_type_t::punt:
      case traffic_policy_action_type_t::permit:
         break;
   }
   return std::string(type);
}

}  // namespace softswitch
