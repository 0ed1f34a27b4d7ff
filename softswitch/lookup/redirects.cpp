#include "softswitch/lookup/redirects.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <set>
#include <utility>
#include <variant>

#include "softswitch/lookup/network_of.h"
#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"

namespace softswitch {
namespace {

struct Packet {
   const std::string& group;
   std::uint8_t dscp;
   const orv::ip_addr_t& destination;

   bool mayBe(orv::acl_type_t family) const {
      return !destination ||
             destination.af() == (family == orv::acl_type_t::ipv4 ? orv::af_ipv4 : orv::af_ipv6);
   }
};

// An IPv4 rule holds the plain DSCP, an IPv6 rule holds it within the traffic class (RFC 2474).
bool dscpMatches(const orv::acl_rule_ip_t& rule, orv::acl_type_t family, std::uint8_t dscp) {
   if (!rule.match_ip_priority()) return true;
   const int value = family == orv::acl_type_t::ipv6 ? dscp << 2 : dscp;
   return ((value ^ rule.priority_value()) & rule.priority_mask()) == 0;
}

bool destinationMatches(const orv::acl_rule_ip_t& rule, const orv::ip_addr_t& destination) {
   const auto& match = rule.destination_addr();
   if (!match.address()) return true;
   return match.af() == destination.af() &&
          networkOf(match.address(), match.mask_length()) == networkOf(destination, match.mask_length());
}

// Whether the rule matches on nothing that a Packet lacks.
bool looksNowhereElse(orv::acl_rule_ip_t rule) {
   const orv::acl_rule_ip_t none;
   rule.action_is(none.action());
   rule.log_is(none.log());
   rule.nexthop_group_is({});
   rule.destination_addr_is({});
   rule.ip_type_is(none.ip_type());
   rule.match_ip_priority_is(false);
   rule.priority_value_is(none.priority_value());
   rule.priority_mask_is(none.priority_mask());
   return rule == none;
}

// The result of matching a packet for a group against one list.
struct Verdict {
   bool aboutGroup = false;             // one of its rules matches on the group
   std::optional<std::uint32_t> taken;  // the sequence number of the rule that permits the packet
};

Verdict ask(const AclMgr::Rules& rules, const orv::acl_key_t& list, const Packet& packet) {
   Verdict verdict;
   bool decided = !packet.mayBe(list.acl_type());
   for (auto item = rules.lowerBound({list, 0}); item && item.key->acl == list;
        item = rules.upperBound(*item.key)) {
      const auto* const rule = std::get_if<orv::acl_rule_ip_t>(&item.row->get());
      if (rule == nullptr || rule->nexthop_group() != packet.group) continue;
      verdict.aboutGroup = true;
      if (decided || !dscpMatches(*rule, list.acl_type(), packet.dscp) ||
          !destinationMatches(*rule, packet.destination) || !looksNowhereElse(*rule)) {
         continue;
      }
      decided = true;
      if (rule->action() == orv::acl_action_t::permit) verdict.taken = item.key->seq;
   }
   return verdict;
}

const orv::policy_map_action_t* groupAction(const orv::policy_map_rule_t& rule) {
   const auto& actions = rule.actions();
   const auto found = std::find_if(actions.begin(), actions.end(), [](const auto& action) {
      return action.action_type() == orv::policy_action_type_t::nexthop_group;
   });
   return found == actions.end() ? nullptr : &*found;
}

}  // namespace

Redirects::Redirects(const PolicyMapMgr& policyMaps, const ClassMapMgr& classMaps, const AclMgr& acls,
                     Overrides overrides)
     : policyMaps_(policyMaps), classMaps_(classMaps), acls_(acls), overrides_(std::move(overrides)) {}

std::optional<Redirect> Redirects::find(const std::string& group, std::uint8_t dscp,
                                        const orv::ip_addr_t& destination) const {
   const Packet packet{.group = group, .dscp = dscp, .destination = destination};
   // The groups to which policy maps redirect this one, for any traffic.
   std::set<std::string> decided;
   for (PolicyMapMgr::Maps::Cursor cursor(policyMaps_.maps()); const auto item = cursor.next();) {
      if (item.key->feature() != orv::policy_feature_t::pbr) continue;
      for (const auto& [sequence, rule] : item.row->rules()) {
         const auto* const action = groupAction(rule);
         if (action == nullptr || rule.policy_map_rule_type() != orv::policy_map_rule_type_t::class_map)
            continue;
         const auto* const classMap = classMaps_.find(rule.class_map_key());
         if (classMap == nullptr) continue;
         for (const auto& [classSequence, classRule] : classMap->rules()) {
            const auto& list = classRule.acl_key();
            const Verdict verdict = ask(acls_.committedRules(), list, packet);
            if (verdict.taken) {
               return Redirect{.group = action->nexthop_group_name(),
                               .by = fmt::format("policy map {} rule {}, class map {}, ACL {} rule {}",
                                                 item.key->name(), sequence, rule.class_map_key().name(),
                                                 list.acl_name(), *verdict.taken)};
            }
            if (verdict.aboutGroup) decided.insert(action->nexthop_group_name());
         }
      }
   }
   if (!overrides_) return std::nullopt;
   for (const auto& [key, dscps] : overrides_->nhgOverride()) {
      const std::string& to = key.redirect.nhgName();
      if (key.match.nhgName() == group && dscps.dscp(dscp) && !decided.contains(to))
         return Redirect{.group = to, .by = "override table"};
   }
   return std::nullopt;
}

}  // namespace softswitch
