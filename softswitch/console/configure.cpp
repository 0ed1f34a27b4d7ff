#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "orv/error.h"
#include "orv/lock.h"
#include "orv/vrf.h"
#include "softswitch/console/command_table.h"
#include "softswitch/console/read.h"
#include "softswitch/managers/agent_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/managers/vrf_mgr.h"
#include "softswitch/soft_switch.h"

namespace softswitch::console {
namespace {

constexpr std::string_view groupName = "a nexthop group's name";
constexpr std::string_view vrfName = "a VRF's name";

void configureInterface(Call& call) {
   auto& intfs = call.target.intfs();
   const auto intf = readIntf(call.args);
   if (call.args.take("create")) {
      call.args.end();
      const orv::sdk_scoped_lock lock;
      intfs.intfAdd(intf);
      return;
   }
   constexpr std::string_view expected = "shutdown, no shutdown, description TEXT, no description or create";
   const bool no = call.args.take("no");
   const auto& what = call.args.next(expected);
   if (what == "shutdown") {
      call.args.end();
      const orv::sdk_scoped_lock lock;
      intfs.admin_enabled_is(intf, no);
   } else if (what == "description") {
      const auto text = no ? std::string() : call.args.rest("the description's text");
      call.args.end();
      const orv::sdk_scoped_lock lock;
      intfs.description_is(intf, text);
   } else {
      call.args.refuse(no ? "shutdown or description" : expected);
   }
}

void configureNoInterface(Call& call) {
   const auto intf = readIntf(call.args);
   call.args.end();
   const orv::sdk_scoped_lock lock;
   call.target.intfs().intfDel(intf);
}

void configureVrf(Call& call) {
   const auto name = readName(call.args, vrfName);
   call.args.end();
   const orv::sdk_scoped_lock lock;
   call.target.vrfs().vrfSet(name);
}

void configureNoVrf(Call& call) {
   const auto name = readName(call.args, vrfName);
   call.args.end();
   const orv::sdk_scoped_lock lock;
   call.target.vrfs().vrfDel(name);
}

// Options that may follow the way out of a route, in any order, each once.
struct RouteOptions {
   std::optional<std::uint64_t> preference, tag, label, weight, metric;
   std::optional<orv::intf_id_t> intf;
   std::optional<std::string> vrf;

   std::string vrfOrDefault() const { return vrf.value_or(orv::default_vrf_name); }
   orv::ip_route_key_t key(const orv::ip_prefix_t& prefix) const {
      return {prefix, static_cast<std::uint8_t>(preference.value_or(orv::ip_route_key_t().preference()))};
   }
};

// `allowed` names the options that the command takes.
RouteOptions readRouteOptions(Args& args, const std::vector<std::string_view>& allowed) {
   RouteOptions options;
   const auto expected = fmt::format("one of {}, each once", fmt::join(allowed, ", "));
   const auto once = [&](auto& option, auto value) {
      if (option) args.refuse(expected);
      option = std::move(value);
   };
   while (!args.atEnd()) {
      const auto word = args.next(expected);
      if (std::find(allowed.begin(), allowed.end(), word) == allowed.end()) args.refuse(expected);
      if (word == "preference") {
         once(options.preference, args.number("a preference", 0, 255));
      } else if (word == "tag") {
         once(options.tag, args.number("a tag", 0, UINT32_MAX));
      } else if (word == "label") {
         once(options.label, args.number("a label", 0, orv::mpls_label_t::max));
      } else if (word == "weight") {
         once(options.weight, args.number("a weight", 0, UINT32_MAX));
      } else if (word == "metric") {
         once(options.metric, args.number("a metric", 0, UINT32_MAX));
      } else if (word == "interface") {
         once(options.intf, readIntf(args));
      } else if (word == "vrf") {
         once(options.vrf, readName(args, vrfName));
      }
   }
   return options;
}

// Sets the route and, if given, the via; if the via is refused, restores the route.
void setRoute(SoftSwitch& target, const orv::ip_prefix_t& prefix, const RouteOptions& options,
              orv::ip_route_action_t action, std::optional<orv::ip_route_via_t> via) {
   auto& routes = target.ipRoutes();
   const auto key = options.key(prefix);
   const auto vrf = options.vrfOrDefault();
   const orv::sdk_scoped_lock lock;
   target.vrfs().require(vrf);
   const bool there = routes.exists(key, vrf);
   const auto before = there ? routes.ip_route(key, vrf) : orv::ip_route_t(key);
   const auto actionBefore = routes.action(key, vrf);

   const auto set = [&](const orv::ip_route_t& route, orv::ip_route_action_t itsAction) {
      if (itsAction == orv::ip_route_action_t::forward) {
         routes.ip_route_set(route, vrf);
      } else {
         routes.ip_route_set(route, itsAction);  // of the default VRF
      }
   };
   auto route = before;
   if (options.tag) route.tag_is(static_cast<std::uint32_t>(*options.tag));
   if (!there || route != before || action != actionBefore) set(route, action);
   if (!via) return;
   via->route_key_is(key);
   try {
      routes.ip_route_via_set(*via, vrf);
   } catch (const orv::error&) {
      if (there) {
         set(before, actionBefore);
      } else {
         routes.ip_route_del(key, vrf);
      }
      throw;
   }
}

void configureIpRoute(Call& call) {
   auto& args = call.args;
   const auto prefix = readPrefix(args);
   if (args.take("drop")) {
      const auto options = readRouteOptions(args, {"preference", "tag"});
      setRoute(call.target, prefix, options, orv::ip_route_action_t::drop, std::nullopt);
      return;
   }
   orv::ip_route_via_t via;
   if (args.take("nexthop-group")) {
      via.nexthop_group_is(readName(args, groupName));
      const auto options = readRouteOptions(args, {"preference", "tag", "vrf"});
      // Only routes of the default VRF take an action; elsewhere the via alone implies it.
      const auto action = options.vrfOrDefault() == orv::default_vrf_name
                               ? orv::ip_route_action_t::nexthop_group
                               : orv::ip_route_action_t::forward;
      setRoute(call.target, prefix, options, action, std::move(via));
      return;
   }
   RouteOptions options;
   if (args.peek() == "interface") {
      options = readRouteOptions(args, {"interface", "weight", "metric", "preference", "tag", "vrf"});
   } else {
      if (args.atEnd()) args.next("a nexthop's address, interface NAME, nexthop-group NAME or drop");
      via.hop_is(readAddress(args));
      options =
           readRouteOptions(args, {"interface", "label", "weight", "metric", "preference", "tag", "vrf"});
   }
   if (options.intf) via.intf_is(*options.intf);
   if (options.label) via.mpls_label_is(orv::mpls_label_t(static_cast<std::uint32_t>(*options.label)));
   via.weight_is(static_cast<std::uint32_t>(options.weight.value_or(0)));
   via.metric_is(static_cast<std::uint32_t>(options.metric.value_or(0)));
   setRoute(call.target, prefix, options, orv::ip_route_action_t::forward, std::move(via));
}

void configureNoIpRoute(Call& call) {
   auto& args = call.args;
   const auto prefix = readPrefix(args);
   std::optional<orv::ip_addr_t> hop;
   const auto next = args.peek();
   if (!args.atEnd() && next != "preference" && next != "vrf") hop = readAddress(args);
   const auto options = hop ? readRouteOptions(args, {"interface", "preference", "vrf"})
                            : readRouteOptions(args, {"preference", "vrf"});
   auto& routes = call.target.ipRoutes();
   const auto key = options.key(prefix);
   const auto vrf = options.vrfOrDefault();

   const orv::sdk_scoped_lock lock;
   call.target.vrfs().require(vrf);
   if (!routes.exists(key, vrf)) {
      CommandError::raise("route {} with preference {} does not exist in VRF '{}'", prefix.to_string(),
                          key.preference(), vrf);
   }
   if (!hop) {
      routes.ip_route_del(key, vrf);
      return;
   }
   std::vector<orv::ip_route_via_t> going;
   std::size_t staying = 0;
   for (auto vias = routes.ip_route_via_iter(key, vrf); vias; ++vias) {
      if (vias->hop() == *hop && (!options.intf || vias->intf() == *options.intf)) {
         going.push_back(*vias);
      } else {
         ++staying;
      }
   }
   if (going.empty()) CommandError::raise("route {} has no via {}", prefix.to_string(), hop->to_string());
   for (const auto& via : going)
      routes.ip_route_via_del(via, vrf);
   if (staying == 0) routes.ip_route_del(key, vrf);
}

constexpr std::uint64_t lastSlot = UINT16_MAX;

void configureNexthopGroup(Call& call) {
   auto& args = call.args;
   const auto name = readName(args, groupName);
   if (!args.take("entry")) {
      args.next("entry N nexthop ADDRESS");
      args.refuse("entry N nexthop ADDRESS");
   }
   const auto slot = static_cast<std::uint16_t>(args.number("an entry's number", 0, lastSlot));
   if (!args.take("nexthop")) {
      args.next("nexthop ADDRESS");
      args.refuse("nexthop ADDRESS");
   }
   orv::nexthop_group_entry_t entry(readAddress(args));
   if (args.take("interface")) entry.intf_is(readIntf(args));
   if (args.take("push")) {
      orv::mpls_label_stack_t labels;
      do {
         labels.push_back(orv::mpls_label_t(
              static_cast<std::uint32_t>(args.number("a label", 0, orv::mpls_label_t::max))));
      } while (!args.atEnd());
      entry.mpls_action_is({orv::mpls_action_t::push, std::move(labels)});
   }
   args.end();

   auto& groups = call.target.nexthopGroups();
   const orv::sdk_scoped_lock lock;
   auto group = groups.exists(name) ? groups.nexthop_group(name)
                                    : orv::nexthop_group_t(name, orv::nexthop_group_encap_t::mpls);
   group.nexthop_set(slot, std::move(entry));
   groups.nexthop_group_set(group);
}

void configureNoNexthopGroup(Call& call) {
   auto& args = call.args;
   const auto name = readName(args, groupName);
   std::optional<std::uint16_t> slot;
   if (args.take("entry")) slot = static_cast<std::uint16_t>(args.number("an entry's number", 0, lastSlot));
   args.end();
   auto& groups = call.target.nexthopGroups();
   const orv::sdk_scoped_lock lock;
   if (!groups.exists(name)) CommandError::raise("nexthop group '{}' does not exist", name);
   if (!slot) {
      groups.nexthop_group_del(name);
      return;
   }
   auto group = groups.nexthop_group(name);
   auto entries = group.nexthops();
   if (!entries.erase(*slot)) CommandError::raise("nexthop group '{}' has no entry {}", name, *slot);
   group.nexthops_is(std::move(entries));
   groups.nexthop_group_set(group);
}

void configureAgentOption(Call& call) {
   const auto name = readName(call.args, "an option's name");
   const auto value = call.args.rest("the option's value");
   if (value.empty()) call.args.refuse("a value that is not empty");
   const orv::sdk_scoped_lock lock;
   call.target.agent().agentOptionIs(name, value);
}

void configureNoAgentOption(Call& call) {
   const auto name = readName(call.args, "an option's name");
   call.args.end();
   const orv::sdk_scoped_lock lock;
   call.target.agent().agentOptionIs(name, "");
}

constexpr std::array configureTable{
     Command{.name = "configure interface",
             .usage = "NAME [no] shutdown | description TEXT… | no description | create",
             .help = "administrative state and description; create a loopback, LAG, VLAN or VXLAN",
             .details = "The name of a new interface determines its type.",
             .run = configureInterface},
     Command{.name = "configure no interface",
             .usage = "NAME",
             .help = "remove a loopback, LAG, VLAN or VXLAN",
             .run = configureNoInterface},
     Command{.name = "configure vrf", .usage = "NAME", .help = "create a VRF", .run = configureVrf},
     Command{.name = "configure no vrf", .usage = "NAME", .help = "remove a VRF", .run = configureNoVrf},
     Command{.name = "configure ip route",
             .usage = "PREFIX HOP|interface NAME|nexthop-group NAME|drop [interface NAME] [label N] [weight "
                      "N] [metric N] [preference N] [tag N] [vrf NAME]",
             .help = "set a route, and a via if it forwards",
             .details = "A hop takes interface, label, weight and metric, an interface weight and metric; "
                        "drop takes no vrf. Route and via are set together: if the via is refused, the "
                        "route is restored.",
             .run = configureIpRoute},
     Command{.name = "configure no ip route",
             .usage = "PREFIX [HOP [interface NAME]] [preference N] [vrf NAME]",
             .help = "remove a route, or one hop of it",
             .details = "With HOP only that hop; removing the last hop removes the route.",
             .run = configureNoIpRoute},
     Command{.name = "configure nexthop-group",
             .usage = "NAME entry N nexthop ADDRESS [interface NAME] [push LABEL…]",
             .help = "set an entry of a group; creates a missing group",
             .details = "A new group has type MPLS.",
             .run = configureNexthopGroup},
     Command{.name = "configure no nexthop-group",
             .usage = "NAME [entry N]",
             .help = "remove a group, or one entry",
             .details = "Without entry, the whole group.",
             .run = configureNoNexthopGroup},
     Command{.name = "configure agent option",
             .usage = "NAME VALUE…",
             .help = "set an option of the agent",
             .run = configureAgentOption},
     Command{.name = "configure no agent option",
             .usage = "NAME",
             .help = "remove an option of the agent",
             .run = configureNoAgentOption},
};

}  // namespace

std::span<const Command> configureCommands() {
   return configureTable;
}

}  // namespace softswitch::console
