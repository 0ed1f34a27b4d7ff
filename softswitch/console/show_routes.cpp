#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "orv/fib.h"
#include "orv/ip_route.h"
#include "orv/mpls_route.h"
#include "orv/mpls_vrf_label.h"
#include "orv/nexthop_group_tunnel.h"
#include "orv/vrf.h"
#include "softswitch/console/read.h"
#include "softswitch/console/rows.h"
#include "softswitch/console/show.h"
#include "softswitch/managers/fib_mgr.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/managers/vrf_mgr.h"
#include "softswitch/soft_switch.h"

namespace softswitch::console {
namespace {

// Adds a member unless the value is empty.
template <typename T>
void put(Json& object, const char* key, const T& value) {
   if constexpr (requires { value.to_string(); }) {
      if (!!value) object[key] = value.to_string();
   } else {
      if (value != T{}) object[key] = value;
   }
}

void put(Json& object, const char* key, orv::mpls_label_t label) {
   if (!!label) object[key] = label.label();
}

// In a table a list of objects is "value key value, …": obvious keys are omitted, the others are command
// words.
std::string viaText(const Json& via) {
   std::string text;
   for (const auto& item : via.items()) {
      if (!text.empty()) text += ' ';
      std::string key = item.key();
      if (key != "hop" && key != "interface" && key != "action") {
         std::replace(key.begin(), key.end(), '_', '-');
         text += key + ' ';
      }
      text += cellText(item.value());
   }
   return text;
}

Json viaList(const Document& document, std::vector<Json> vias) {
   Json list = Json::array();
   for (auto& via : vias)
      list.push_back(document.form() == Form::json ? std::move(via) : Json(viaText(via)));
   return list;
}

Json viaJson(const orv::ip_route_via_t& via) {
   Json object = Json::object();
   put(object, "hop", via.hop());
   put(object, "interface", via.intf());
   put(object, "nexthop_group", via.nexthop_group());
   put(object, "label", via.mpls_label());
   put(object, "vni", via.vni());
   put(object, "vtep", via.vtep_addr());
   put(object, "router_mac", via.router_mac());
   put(object, "vxlan_interface", via.vxlan_intf());
   put(object, "egress_vrf", via.egress_vrf());
   put(object, "metric", via.metric());
   put(object, "weight", via.weight());
   return object;
}

Json viaJson(const orv::mpls_route_via_t& via) {
   Json object = Json::object();
   object["action"] = orv::to_string(via.label_action());
   put(object, "label", via.pushswap_label());
   put(object, "hop", via.hop());
   put(object, "interface", via.intf());
   put(object, "nexthop_group", via.nexthop_group());
   return object;
}

Json viaJson(const orv::fib_via_t& via) {
   Json object = Json::object();
   put(object, "hop", via.hop());
   put(object, "interface", via.intf());
   put(object, "label", via.mpls_label());
   return object;
}

template <typename Vias>
std::vector<Json> viaJsons(const Vias& vias) {
   std::vector<Json> jsons;
   for (const auto& via : vias)
      jsons.push_back(viaJson(via));
   return jsons;
}

template <typename Iter>
std::vector<typename Iter::value_type> gathered(Iter iter) {
   std::vector<typename Iter::value_type> values;
   for (; iter; ++iter)
      values.push_back(*iter);
   return values;
}

Json entryJson(std::uint32_t slot, const orv::nexthop_group_entry_t& entry) {
   Json object{{"entry", slot}};
   put(object, "nexthop", entry.nexthop());
   put(object, "interface", entry.intf());
   if (entry.mpls_action().action_type() != orv::mpls_action_t::none) {
      object["action"] = orv::to_string(entry.mpls_action().action_type());
   }
   Json labels = Json::array();
   for (const auto label : entry.mpls_action().label_stack())
      labels.push_back(label.label());
   if (!labels.empty()) object["labels"] = std::move(labels);
   put(object, "child_group", entry.child_nexthop_group());
   return object;
}

struct GroupState {
   orv::nexthop_group_t group;
   bool active;
   orv::nexthop_group_programmed_hw_state_t hardware;
   std::uint16_t programmedVersion;
};

GroupState groupState(const NexthopGroupMgr& groups, orv::nexthop_group_t group) {
   const auto name = group.name();
   return {.group = std::move(group),
           .active = groups.active(name),
           .hardware = groups.get_nexthop_group_programmed_hw_state(name),
           .programmedVersion = groups.programmed_nexthop_group(name).version_id()};
}

Json groupJson(const GroupState& state) {
   const auto& group = state.group;
   return {{"name", group.name()},
           {"type", orv::to_string(group.type())},
           {"entries", group.nexthops().size()},
           {"backup_entries", group.backup_nexthops().size()},
           {"version", group.version_id()},
           {"programmed_version", state.programmedVersion},
           {"active", state.active},
           {"hardware", orv::to_string(state.hardware)}};
}

void showOneGroup(const NexthopGroupMgr& groups, const std::string& name, Document& document) {
   struct Entry {
      std::uint16_t slot;
      orv::nexthop_group_entry_t entry;
      orv::nexthop_group_entry_counter_t counter;
   };
   std::vector<Entry> entries;
   const auto state = locked([&] {
      if (!groups.exists(name)) CommandError::raise("nexthop group '{}' does not exist", name);
      auto found = groupState(groups, groups.nexthop_group(name));
      for (const auto& [slot, entry] : found.group.nexthops()) {
         entries.push_back({.slot = slot, .entry = entry, .counter = groups.counter(name, slot)});
      }
      return found;
   });
   document.fields("nexthop_group", groupJson(state));
   const std::vector<Column> columns{{"Entry", "entry", 5},          {"Nexthop", "nexthop", 15},
                                     {"Interface", "interface", 12}, {"Action", "action", 7},
                                     {"Labels", "labels", 16},       {"Child", "child_group", 12},
                                     {"Packets", "packets", 10},     {"Bytes", "bytes"}};
   document.listing("entries", columns);
   for (const auto& entry : entries) {
      auto row = entryJson(entry.slot, entry.entry);
      if (entry.counter.valid()) {
         row["packets"] = entry.counter.packets();
         row["bytes"] = entry.counter.bytes();
      }
      document.row(row);
   }
   // A second table without rows would be confusing.
   if (state.group.backup_nexthops().empty() && document.form() == Form::table) return;
   document.listing("backup_entries", columns);
   for (const auto& [slot, entry] : state.group.backup_nexthops())
      document.row(entryJson(slot, entry));
}

struct IpRoute {
   orv::ip_route_t route;
   orv::ip_route_action_t action;
   std::vector<orv::ip_route_via_t> vias;
};

void ipRouteRow(const IpRoute& route, Document& document) {
   document.row({{"prefix", route.route.key().prefix().to_string()},
                 {"preference", route.route.key().preference()},
                 {"action", orv::to_string(route.action)},
                 {"tag", route.route.tag()},
                 {"vias", viaList(document, viaJsons(route.vias))}});
}

}  // namespace

void showNexthopGroup(SoftSwitch& target, Args& args, Document& document) {
   const auto& groups = target.nexthopGroups();
   if (!args.atEnd()) {
      const auto name = readName(args, "a nexthop group's name");
      args.end();
      showOneGroup(groups, name, document);
      return;
   }
   document.listing("nexthop_groups", {{"Name", "name", 24},
                                       {"Type", "type", 10},
                                       {"Entries", "entries", 7},
                                       {"Backup", "backup_entries", 6},
                                       {"Version", "version", 7},
                                       {"Programmed", "programmed_version", 10},
                                       {"Active", "active", 6},
                                       {"Hardware", "hardware"}});
   forEachRow([&] { return groups.nexthop_group_iter(); },
              [&](const orv::nexthop_group_t& group) { return groupState(groups, group); },
              [&](const GroupState& state) { document.row(groupJson(state)); });
}

void showIpRoute(SoftSwitch& target, Args& args, Document& document) {
   bool onePrefix = false;
   orv::ip_prefix_t prefix;
   std::string vrf = orv::default_vrf_name;
   if (!args.atEnd() && args.peek() != "vrf") {
      prefix = readPrefix(args);
      onePrefix = true;
   }
   if (args.take("vrf")) vrf = readName(args, "a VRF's name");
   args.end();
   const auto& routes = target.ipRoutes();
   locked([&] { target.vrfs().require(vrf); });

   const auto take = [&](const orv::ip_route_t& route) {
      return IpRoute{.route = route,
                     .action = routes.action(route.key(), vrf),
                     .vias = gathered(routes.ip_route_via_iter(route.key(), vrf))};
   };
   std::vector<IpRoute> ofPrefix;
   if (onePrefix) {
      locked([&] {
         for (unsigned preference = 0; preference <= 255; ++preference) {
            const orv::ip_route_key_t key(prefix, static_cast<std::uint8_t>(preference));
            if (routes.exists(key, vrf)) ofPrefix.push_back(take(routes.ip_route(key, vrf)));
         }
      });
      if (ofPrefix.empty())
         CommandError::raise("route {} does not exist in VRF '{}'", prefix.to_string(), vrf);
   }
   document.listing("ip_routes", {{"Prefix", "prefix", 20},
                                  {"Pref", "preference", 4},
                                  {"Action", "action", 13},
                                  {"Tag", "tag", 6},
                                  {"Vias", "vias"}});
   const auto show = [&](const IpRoute& route) { ipRouteRow(route, document); };
   if (onePrefix) {
      for (const auto& route : ofPrefix)
         show(route);
   } else {
      forEachRow([&] { return routes.ip_route_iter(vrf); }, take, show);
   }
}

void showMplsRoute(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   const orv::mpls_route_mgr& routes = *target.get_mpls_route_mgr();
   struct MplsRoute {
      orv::mpls_route_t route;
      orv::mpls_fec_id_t fec;
      std::vector<orv::mpls_route_via_t> vias;
   };
   document.listing("mpls_routes", {{"Labels", "labels", 16},
                                    {"Metric", "metric", 6},
                                    {"Version", "version", 7},
                                    {"FEC", "fec", 20},
                                    {"Vias", "vias"}});
   forEachRow([&] { return routes.mpls_route_iter(); },
              [&](const orv::mpls_route_t& route) {
                 return MplsRoute{.route = route,
                                  .fec = routes.fec_id(route.key()),
                                  .vias = gathered(routes.mpls_route_via_iter(route.key()))};
              },
              [&](const MplsRoute& route) {
                 Json labels = Json::array();
                 for (const auto label : route.route.key().labels())
                    labels.push_back(label.label());
                 document.row({{"labels", std::move(labels)},
                               {"metric", route.route.key().metric()},
                               {"version", route.route.version_id()},
                               {"fec", route.fec.id()},
                               {"vias", viaList(document, viaJsons(route.vias))}});
              });
   const orv::mpls_vrf_label_mgr& labels = *target.get_mpls_vrf_label_mgr();
   document.listing("mpls_vrf_labels", {{"VRF label", "label", 9}, {"VRF", "vrf"}});
   forEachRow([&] { return labels.mpls_vrf_label_iter(); },
              [](const orv::mpls_vrf_label_t& label) { return label; },
              [&](const orv::mpls_vrf_label_t& label) {
                 document.row({{"label", label.label().label()}, {"vrf", label.vrf_name()}});
              });
}

void showTunnel(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   const orv::nexthop_group_tunnel_mgr& tunnels = *target.get_nexthop_group_tunnel_mgr();
   document.listing(
        "tunnels",
        {{"Endpoint", "endpoint", 20}, {"Nexthop group", "nexthop_group", 24}, {"Metric", "igp_metric"}});
   forEachRow([&] { return tunnels.nexthop_group_tunnel_iter(); },
              [](const orv::nexthop_group_tunnel_t& tunnel) { return tunnel; },
              [&](const orv::nexthop_group_tunnel_t& tunnel) {
                 document.row({{"endpoint", tunnel.tunnel_endpoint().to_string()},
                               {"nexthop_group", tunnel.nhg_name()},
                               {"igp_metric", tunnel.igp_metric()}});
              });
}

void showFibRoute(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   const orv::fib_mgr& fib = target.fib();
   document.listing("fib_routes", {{"Prefix", "prefix", 20},
                                   {"Type", "type", 14},
                                   {"Pref", "preference", 4},
                                   {"Metric", "metric", 6},
                                   {"FEC", "fec"}});
   forEachRow([&] { return fib.fib_route_iter(); }, [](const orv::fib_route_t& route) { return route; },
              [&](const orv::fib_route_t& route) {
                 document.row({{"prefix", route.route_key().prefix().to_string()},
                               {"type", orv::to_string(route.route_type())},
                               {"preference", route.preference()},
                               {"metric", route.metric()},
                               {"fec", route.fec_id()}});
              });
}

void showFibFec(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   const orv::fib_mgr& fib = target.fib();
   document.listing(
        "fib_fecs",
        {{"FEC", "fec", 20}, {"Type", "type", 14}, {"Nexthop group", "nexthop_group", 24}, {"Vias", "vias"}});
   forEachRow([&] { return fib.fib_fec_iter(); }, [](const orv::fib_fec_t& fec) { return fec; },
              [&](const orv::fib_fec_t& fec) {
                 Json row{{"fec", fec.fec_key().fec_id()}, {"type", orv::to_string(fec.fec_type())}};
                 put(row, "nexthop_group", fec.nexthop_group_name());
                 row["vias"] = viaList(document, viaJsons(fec.via()));
                 document.row(row);
              });
}

}  // namespace softswitch::console
