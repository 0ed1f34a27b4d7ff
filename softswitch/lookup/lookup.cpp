#include "softswitch/lookup/lookup.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <set>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "softswitch/lookup/flow_hash.h"
#include "softswitch/lookup/network_of.h"
#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/fib_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/mount_mgr.h"
#include "softswitch/managers/mpls_route_mgr.h"
#include "softswitch/managers/mpls_vrf_label_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"
#include "softswitch/managers/traffic_policies.h"
#include "softswitch/managers/vrf_mgr.h"
#include "softswitch/soft_switch.h"

namespace softswitch {
namespace {

constexpr unsigned metricMax = 255;

std::vector<std::uint32_t> numbers(const orv::mpls_label_stack_t& labels) {
   std::vector<std::uint32_t> result;
   for (const auto label : labels)
      result.push_back(label.label());
   return result;
}

std::string tunnelText(const orv::ip_route_via_t& via) {
   std::vector<std::string> words;
   if (via.vni() != 0) words.push_back(fmt::format("vni {}", via.vni()));
   if (!!via.vtep_addr()) words.push_back(fmt::format("vtep {}", via.vtep_addr()));
   if (!!via.vxlan_intf()) words.push_back(via.vxlan_intf().to_string());
   if (!via.egress_vrf().empty()) words.push_back(fmt::format("vrf {}", via.egress_vrf()));
   return fmt::format("{}", fmt::join(words, " "));
}

// Whether the via leads into another VRF and nowhere else.
bool leadsIntoVrf(const orv::ip_route_via_t& via) {
   return !via.egress_vrf().empty() && !via.hop() && !via.intf() && !via.vtep_addr() && via.vni() == 0 &&
          !via.vxlan_intf();
}

// Adjacent slots with the same entry are one way out.
std::vector<WayOut> waysOut(const orv::nexthop_group_t& group, const NexthopGroupMgr& groups) {
   std::vector<WayOut> ways;
   const orv::nexthop_group_entry_t* last = nullptr;
   for (const auto& [slot, entry] : group.nexthops()) {
      if (last != nullptr && *last == entry && ways.back().entry + ways.back().weight == slot) {
         ++ways.back().weight;
         continue;
      }
      last = &entry;
      const auto& action = entry.mpls_action();
      ways.push_back({.group = group.name(),
                      .entry = slot,
                      .resolves = groups.resolves(entry),
                      .nexthop = entry.nexthop(),
                      .intf = entry.intf(),
                      .action = action.action_type() == orv::mpls_action_t::none
                                     ? std::string{}
                                     : std::string(orv::to_string(action.action_type())),
                      .labels = numbers(action.label_stack()),
                      .childGroup = entry.child_nexthop_group(),
                      .tunnel = {}});
   }
   return ways;
}

class Walk {
public:
   Walk(const LookupTables& tables, const LookupPacket& packet)
        : tables_(tables), packet_(packet), dscp_(packet.dscp) {}

   Lookup run() && {
      if (!!packet_.label) {
         byLabel();
      } else if (!packet_.ingress || !byTrafficPolicy()) {
         byAddress(packet_.vrf);
      }
      nameEgressPolicy();
      return std::move(result_);
   }

private:
   template <class... Args>
   void step(fmt::format_string<Args...> format, Args&&... args) {
      result_.steps.push_back(fmt::format(format, std::forward<Args>(args)...));
   }
   template <class... Args>
   void end(LookupResult result, fmt::format_string<Args...> format, Args&&... args) {
      result_.result = result;
      result_.reason = fmt::format(format, std::forward<Args>(args)...);
      result_.steps.push_back(result_.reason);
   }

   bool byTrafficPolicy();
   bool byDecision(const orv::traffic_policy_action_t& decision);
   bool toOneGroup(const std::unordered_set<std::string>& names);
   void toNexthop(const orv::traffic_policy_action_t& action);
   void nameEgressPolicy();
   void byLabel();
   void byAddress(const std::string& vrf);
   void byRoute(const RouteRow& row, const std::string& vrf);
   void byHops(const RouteVias& vias);
   void byHops(const std::vector<orv::mpls_route_via_t>& vias);
   void toGroup(const std::string& name);
   void throughGroup(std::string name);
   std::string whyPassedOver(const RouteRow& row) const;
   std::uint64_t flow(std::string_view choice) const;
   const WayOut* take(std::vector<WayOut> ways);

   const LookupTables& tables_;
   const LookupPacket& packet_;
   std::uint8_t dscp_;
   Lookup result_;
   std::set<std::string> vrfsSeen_;
};

// RETURNS: false if the packet is to be routed.
bool Walk::byTrafficPolicy() {
   const auto& policies = tables_.trafficPolicies;
   const auto* const name =
        policies.places().find({.intf = packet_.ingress, .direction = orv::traffic_policy_direction_t::in});
   const auto* const policy = name == nullptr ? nullptr : policies.policies().find(*name);
   if (policy == nullptr) {
      step("no traffic policy is applied inbound to {}", packet_.ingress);
      return false;
   }
   auto outcome = walkPolicy(*name, *policy,
                             {.source = packet_.source,
                              .destination = packet_.destination,
                              .protocol = packet_.protocol,
                              .sourcePort = packet_.sourcePort,
                              .destinationPort = packet_.destinationPort});
   for (const auto& each : outcome.steps)
      step("{}: {}", packet_.ingress, each);
   result_.policyRule = std::move(outcome.rule);
   result_.dscpSet = outcome.dscp;
   if (outcome.dscp) dscp_ = *outcome.dscp;
   if (!outcome.unknown.empty()) {
      end(LookupResult::unknown, "{}", outcome.unknown);
      return true;
   }
   return outcome.decision != nullptr && byDecision(*outcome.decision);
}

// RETURNS: false if the packet is to be routed.
bool Walk::byDecision(const orv::traffic_policy_action_t& decision) {
   using Type = orv::traffic_policy_action_type_t;
   switch (decision.action_type()) {
      case Type::drop:
         end(LookupResult::drop, "{} drops", result_.policyRule->to_string());
         return true;
      case Type::punt:
         end(LookupResult::controlPlane, "{} leads to the control plane", result_.policyRule->to_string());
         return true;
      case Type::vrf:
         byAddress(decision.vrf());
         return true;
      case Type::nexthop_group:
         return toOneGroup(decision.nexthop_groups());
      case Type::nexthop:
         toNexthop(decision);
         return true;
      case Type::none:
      case Type::count:
      case Type::log:
      case Type::goto_class:
      case Type::dscp:
      case Type::traffic_class:
      case Type::mirror:
      case Type::police:
      case Type::permit:
         break;
   }
   return false;
}

// RETURNS: false if none of the groups is active.
bool Walk::toOneGroup(const std::unordered_set<std::string>& names) {
   std::vector<std::string> active;
   for (const auto& name : std::set<std::string>(names.begin(), names.end())) {
      if (tables_.groups.active(name)) {
         active.push_back(name);
      } else {
         step("nexthop group {} is passed over, it is not active", name);
      }
   }
   if (active.empty()) return false;
   throughGroup(active[flow("group") % active.size()]);
   return true;
}

void Walk::toNexthop(const orv::traffic_policy_action_t& action) {
   if (!action.vrf().empty() && !tables_.vrfs.exists(action.vrf())) {
      end(LookupResult::drop, "VRF {} does not exist", action.vrf());
      return;
   }
   std::vector<WayOut> ways;
   for (const auto& nexthop : std::set<orv::ip_addr_t>(action.nexthops().begin(), action.nexthops().end())) {
      // As for the entry of a group: without a neighbour table, every nexthop is reachable.
      ways.push_back({.group = {},
                      .entry = static_cast<std::uint32_t>(ways.size()),
                      .weight = 1,
                      .resolves = true,
                      .nexthop = nexthop,
                      .intf = {},
                      .action = {},
                      .labels = {},
                      .childGroup = {},
                      .tunnel = action.vrf().empty() ? std::string() : fmt::format("vrf {}", action.vrf())});
   }
   const auto* const way = take(std::move(ways));
   if (way == nullptr) {
      end(LookupResult::drop, "the action has no nexthop");
      return;
   }
   step("nexthop {} is taken", way->nexthop);
}

// The traffic policy where the packet leaves may still drop it or change it.
void Walk::nameEgressPolicy() {
   if (result_.result != LookupResult::forward) return;
   const auto way = std::find_if(result_.waysOut.rbegin(), result_.waysOut.rend(),
                                 [](const WayOut& each) { return each.taken; });
   if (way == result_.waysOut.rend() || !way->intf) return;
   const auto* const name = tables_.trafficPolicies.places().find(
        {.intf = way->intf, .direction = orv::traffic_policy_direction_t::out});
   if (name != nullptr)
      step("traffic policy {} is applied outbound to {}; this view does not follow it", *name, way->intf);
}

void Walk::byLabel() {
   const auto label = packet_.label;
   for (unsigned metric = 0; metric <= metricMax; ++metric) {
      const orv::mpls_route_key_t key(label, static_cast<std::uint8_t>(metric));
      if (!tables_.mplsRoutes.fec_id(key)) continue;
      std::vector<orv::mpls_route_via_t> vias;
      for (auto via = tables_.mplsRoutes.mpls_route_via_status_iter(key); via; ++via)
         vias.push_back(*via);
      result_.route = fmt::format("label {} metric {}", label, metric);
      if (!vias.empty() && !vias.front().nexthop_group().empty()) {
         step("label {}: MPLS route of metric {} with action {} to nexthop group {}", label, metric,
              orv::to_string(vias.front().label_action()), vias.front().nexthop_group());
         toGroup(vias.front().nexthop_group());
      } else {
         step("label {}: MPLS route of metric {}", label, metric);
         byHops(vias);
      }
      return;
   }
   const std::string vrf = tables_.mplsVrfLabels.mpls_vrf_label(label).vrf_name();
   if (!vrf.empty()) {
      result_.route = fmt::format("label {}", label);
      step("label {}: popped and looked up in VRF {}", label, vrf);
      if (!packet_.destination) {
         result_.vrf = vrf;
         end(LookupResult::unknown, "the look-up in VRF {} needs a destination address", vrf);
      } else {
         byAddress(vrf);
      }
      return;
   }
   const orv::mpls_route_key_t any(label, 0);
   if (tables_.mplsRoutes.exists(orv::mpls_route_key_t(label, tables_.mplsRoutes.metric(any)))) {
      end(LookupResult::drop, "label {} has an MPLS route that hardware does not have", label);
   } else {
      end(LookupResult::noRoute, "no MPLS route and no VRF for label {}", label);
   }
}

void Walk::byAddress(const std::string& vrf) {
   const auto& destination = packet_.destination;
   if (!vrfsSeen_.insert(vrf).second) {
      end(LookupResult::drop, "VRF {} leads back to itself", vrf);
      return;
   }
   result_.vrf = vrf;
   if (!tables_.vrfs.exists(vrf)) {
      end(LookupResult::drop, "VRF {} does not exist", vrf);
      return;
   }
   NameId number = Names::none;
   if (tables_.ipRoutes.vrfNumber(vrf, number)) {
      const auto& table = tables_.ipRoutes.table();
      for (unsigned length = destination.width() + 1U; length-- != 0;) {
         RouteKey key(number, networkOf(destination, length), 0);
         const auto* row = table.atOrAfter(key);
         while (row != nullptr && row->key.samePrefix(key)) {
            if (tables_.fib.inFib(*row)) {
               byRoute(*row, vrf);
               return;
            }
            step("{} in VRF {}: route {} of preference {} is passed over, {}", destination, vrf,
                 row->key.prefix(), row->key.preference, whyPassedOver(*row));
            if (row->key.preference == 255) break;
            key.preference = static_cast<std::uint8_t>(row->key.preference + 1);
            row = table.atOrAfter(key);
         }
      }
   }
   end(LookupResult::noRoute, "no route to {} in VRF {}", destination, vrf);
}

std::string Walk::whyPassedOver(const RouteRow& row) const {
   if (row.group != Names::none) {
      const auto& group = tables_.ipRoutes.table().group(row);
      if (tables_.groups.programmed_nexthop_group(group).name().empty())
         return fmt::format("nexthop group {} is not in hardware", group);
   }
   if (!row.programmed) return "it is not in hardware";
   return "none of its hops resolves";
}

void Walk::byRoute(const RouteRow& row, const std::string& vrf) {
   result_.route = fmt::format("{} preference {}", row.key.prefix(), row.key.preference);
   const auto found = fmt::format("{} in VRF {}: route {} of preference {}", packet_.destination, vrf,
                                  row.key.prefix(), row.key.preference);
   if (row.group != Names::none) {
      const std::string group = tables_.ipRoutes.table().group(row);
      step("{} to nexthop group {}", found, group);
      toGroup(group);
      return;
   }
   step("{}", found);
   if (row.action == orv::ip_route_action_t::drop) {
      end(LookupResult::drop, "the route drops");
   } else if (row.action == orv::ip_route_action_t::punt) {
      end(LookupResult::controlPlane, "the route leads to the control plane");
   } else {
      byHops(*row.vias);
   }
}

// Each choice has a hash of its own: packets that agree in one still spread in the next.
std::uint64_t Walk::flow(std::string_view choice) const {
   FlowHash hash;
   hash.add(choice);
   hash.add(result_.vrf);
   hash.add(packet_.label.label());
   hash.add(packet_.destination.bytes());
   return hash.value();
}

// Appends `ways` to the result. Marks and returns the one that the packet takes, or null if none resolves.
const WayOut* Walk::take(std::vector<WayOut> ways) {
   const auto first = static_cast<std::ptrdiff_t>(result_.waysOut.size());
   result_.waysOut.insert(result_.waysOut.end(), std::make_move_iterator(ways.begin()),
                          std::make_move_iterator(ways.end()));
   const auto begin = result_.waysOut.begin() + first;
   const auto total =
        std::accumulate(begin, result_.waysOut.end(), std::uint64_t{0},
                        [](auto sum, const WayOut& way) { return sum + (way.resolves ? way.weight : 0U); });
   if (total == 0) return nullptr;
   auto at = flow("") % total;
   for (auto way = begin; way != result_.waysOut.end(); ++way) {
      if (!way->resolves) continue;
      if (at >= way->weight) {
         at -= way->weight;
         continue;
      }
      way->taken = true;
      // Equal entries each have a slot of their own; a hop has one, whatever its weight.
      result_.entry = way->group.empty() ? way->entry : way->entry + static_cast<std::uint32_t>(at);
      result_.result = LookupResult::forward;
      return &*way;
   }
   return nullptr;
}

void Walk::byHops(const RouteVias& vias) {
   std::vector<WayOut> ways;
   for (const auto& [via, mark] : vias) {
      ways.push_back({.group = {},
                      .entry = static_cast<std::uint32_t>(ways.size()),
                      .weight = std::max(via.weight(), 1U),
                      .resolves = tables_.fib.hopResolves(via),
                      .nexthop = via.hop(),
                      .intf = via.intf(),
                      .action = !via.mpls_label() ? "" : "push",
                      .labels = {},
                      .childGroup = {},
                      .tunnel = tunnelText(via)});
      if (!!via.mpls_label()) ways.back().labels.push_back(via.mpls_label().label());
   }
   const auto* const way = take(std::move(ways));
   if (way == nullptr) {
      end(LookupResult::drop, "none of the route's hops resolves");
      return;
   }
   step("hop {} of {} is taken", way->entry, vias.size());
   const auto& via = vias[way->entry].via;
   if (leadsIntoVrf(via)) byAddress(via.egress_vrf());
}

void Walk::byHops(const std::vector<orv::mpls_route_via_t>& vias) {
   std::vector<WayOut> ways;
   for (const auto& via : vias) {
      const bool resolves = !via.intf() || (tables_.intfs.exists(via.intf()) &&
                                            tables_.intfs.oper_status(via.intf()) == orv::oper_status_t::up);
      ways.push_back({.group = {},
                      .entry = static_cast<std::uint32_t>(ways.size()),
                      .weight = 1,
                      .resolves = resolves,
                      .nexthop = via.hop(),
                      .intf = via.intf(),
                      .action = std::string(orv::to_string(via.label_action())),
                      .labels = {},
                      .childGroup = {},
                      .tunnel = {}});
      if (!!via.pushswap_label()) ways.back().labels.push_back(via.pushswap_label().label());
   }
   const auto* const way = take(std::move(ways));
   if (way == nullptr) {
      end(LookupResult::drop, "none of the route's hops resolves");
   } else {
      step("hop {} of {} is taken", way->entry, vias.size());
   }
}

void Walk::toGroup(const std::string& name) {
   result_.groupOfRoute = name;
   result_.redirect = tables_.redirects.find(name, dscp_, packet_.destination);
   if (result_.redirect) {
      const auto& [to, by] = *result_.redirect;
      result_.redirectInForce = tables_.groups.active(to);
      step("DSCP {}: redirected from {} to {} by {}{}", dscp_, name, to, by,
           result_.redirectInForce ? "" : fmt::format("; not in force, nexthop group {} is not active", to));
   }
   throughGroup(result_.redirectInForce ? result_.redirect->group : name);
}

void Walk::throughGroup(std::string name) {
   for (std::set<std::string> seen; seen.insert(name).second;) {
      const auto group = tables_.groups.programmed_nexthop_group(name);
      result_.group = name;
      result_.version = group.version_id();
      result_.entry.reset();
      if (group.name().empty()) {
         end(LookupResult::drop, "nexthop group {} is not in hardware", name);
         return;
      }
      const auto configured = tables_.groups.nexthop_group(name).version_id();
      const auto lag = configured == group.version_id()
                            ? std::string{}
                            : fmt::format(" (version {} is configured)", configured);
      const auto* const way = take(waysOut(group, tables_.groups));
      if (way == nullptr) {
         end(LookupResult::drop, "none of the entries of nexthop group {} version {}{} resolves", name,
             group.version_id(), lag);
         return;
      }
      step("nexthop group {} version {}{}: entry {} is taken", name, group.version_id(), lag, *result_.entry);
      if (way->childGroup.empty()) return;
      name = way->childGroup;
   }
   result_.entry.reset();
   end(LookupResult::drop, "nexthop group {} leads back to itself", name);
}

}  // namespace

std::string_view to_string(LookupResult result) {
   switch (result) {
      case LookupResult::forward:
         return "forward";
      case LookupResult::drop:
         return "drop";
      case LookupResult::noRoute:
         return "no route";
      case LookupResult::controlPlane:
         return "control plane";
      case LookupResult::unknown:
         break;
   }
   return "unknown";
}

Lookup lookUp(const LookupTables& tables, const LookupPacket& packet) {
   return Walk(tables, packet).run();
}

Lookup lookUp(SoftSwitch& sw, const LookupPacket& packet) {
   using Overrides = CbfNhgExt::CbfNhgOverrideConfig;
   const LookupTables tables{
        .ipRoutes = sw.ipRoutes(),
        .fib = sw.fib(),
        .groups = sw.nexthopGroups(),
        .mplsRoutes = sw.mplsRoutes(),
        .mplsVrfLabels = sw.mplsVrfLabels(),
        .vrfs = sw.vrfs(),
        .intfs = sw.intfs(),
        .trafficPolicies = sw.policyMaps().trafficPolicies(),
        .redirects = Redirects(sw.policyMaps(), sw.classMaps(), sw.acls(),
                               sw.mounts().state()->entity<Overrides>(Overrides::mountPath))};
   return lookUp(tables, packet);
}

}  // namespace softswitch
