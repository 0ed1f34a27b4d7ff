#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "orv/agent.h"
#include "softswitch/console/read.h"
#include "softswitch/console/rows.h"
#include "softswitch/console/show.h"
#include "softswitch/forwarding/hardware.h"
#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/agent_mgr.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/eth_phy_intf_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/mpls_route_mgr.h"
#include "softswitch/managers/mpls_vrf_label_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/managers/nexthop_group_tunnel_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"
#include "softswitch/managers/vrf_mgr.h"
#include "softswitch/sbfd/bfd_session_mgr.h"
#include "softswitch/soft_switch.h"
#include "softswitch/store/store.h"

namespace softswitch::console {
namespace {

struct IntfFacts {
   TopologyIntf facts;  // a copy: the interface may be removed in the meantime
   std::uint64_t speedBps;
   bool adminEnabled;
   bool linkUp;
   orv::oper_status_t oper;
   std::string description;
};

std::optional<IntfFacts> intfFacts(SoftSwitch& target, const orv::intf_id_t& intf) {
   const auto& intfs = target.intfs();
   const auto& ports = target.ethPhyIntfs();
   if (!intfs.exists(intf)) return std::nullopt;
   return IntfFacts{.facts = intfs.facts(intf),
                    .speedBps = ports.exists(intf) ? orv::bits_per_second(ports.link_speed(intf))
                                                   : intfs.facts(intf).speedBps,
                    .adminEnabled = intfs.admin_enabled(intf),
                    .linkUp = intfs.linkUp(intf),
                    .oper = intfs.oper_status(intf),
                    .description = intfs.description(intf)};
}

}  // namespace

void showVersion(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   const auto fields = locked([&] {
      return Json{{"agent", target.name()},
                  {"version", ORV_VERSION},
                  {"revision", ORV_REVISION},
                  {"state_directory", target.store().path().string()},
                  {"uptime_s", static_cast<std::uint64_t>(target.get_agent_mgr()->agent_uptime())}};
   });
   document.fields("version", fields);
}

void showInterfaces(SoftSwitch& target, Args& args, Document& document) {
   std::string wanted;
   if (!args.atEnd()) wanted = readIntf(args).to_string();
   args.end();
   const auto& intfs = target.intfs();
   if (!wanted.empty()) locked([&] { intfs.require(orv::intf_id_t(wanted)); });

   document.listing("interfaces", {{"Name", "name", 12},
                                   {"Type", "type", 10},
                                   {"Admin", "admin", 5},
                                   {"Link", "link", 4},
                                   {"Oper", "oper", 4},
                                   {"Speed", "speed", 5},
                                   {"MAC", "mac", 17},
                                   {"Kernel", "kernel_name", 7},
                                   {"Description", "description"}});
   forEachRow([&] { return intfs.intf_iter(); },
              [&](const orv::intf_id_t& intf) { return intfFacts(target, intf); },
              [&](const std::optional<IntfFacts>& there) {
                 if (!there || (!wanted.empty() && there->facts.name != wanted)) return;
                 const auto& intf = *there;
                 document.row({{"name", intf.facts.name},
                               {"type", to_string(intf.facts.type)},
                               {"admin", intf.adminEnabled ? "up" : "down"},
                               {"link", intf.linkUp ? "up" : "down"},
                               {"oper", orv::to_string(intf.oper)},
                               {"speed", intf.speedBps == 0 ? Json() : Json(speedName(intf.speedBps))},
                               {"mac", to_string(intf.facts.mac)},
                               {"kernel_name", intf.facts.kernelName},
                               {"description", intf.description}});
              });
}

void showVrf(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   document.listing("vrfs", {{"Name", "name"}});
   document.row({{"name", orv::default_vrf_name}});
   forEachRow([&] { return target.vrfs().vrf_iter(); }, [](const std::string& name) { return name; },
              [&](const std::string& name) {
                 document.row({{"name", name}});
              });
}

void showAgentStatus(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   orv::agent_mgr& agent = *target.get_agent_mgr();
   document.fields("agent", locked([&] {
                      return Json{{"name", target.name()},
                                  {"enabled", agent.enabled()},
                                  {"uptime_s", static_cast<std::uint64_t>(agent.agent_uptime())}};
                   }));
   using Pair = std::pair<std::string, std::string>;
   const auto show = [&](const Pair& pair) { document.row({{"name", pair.first}, {"value", pair.second}}); };
   document.listing("status", {{"Status", "name", 50}, {"Value", "value"}});
   forEachRow([&] { return agent.status_iter(); },
              [&](const std::string& name) { return Pair(name, agent.status(name)); }, show);
   document.listing("options", {{"Option", "name", 50}, {"Value", "value"}});
   forEachRow([&] { return agent.agent_option_iter(); },
              [&](const std::string& name) { return Pair(name, agent.agent_option(name)); }, show);
}

void showCounters(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   struct Count {
      const char* table;
      std::size_t rows;
      std::size_t capacity;
   };
   const auto counts = locked([&] {
      const auto of = [](const char* name, const auto& table) {
         return Count{name, table.size(), table.capacity()};
      };
      return std::vector<Count>{of("ip routes", target.ipRoutes()),
                                of("nexthop groups", target.nexthopGroups()),
                                of("nexthop group tunnels", target.nexthopGroupTunnels()),
                                of("mpls routes", target.mplsRoutes()),
                                of("mpls vrf labels", target.mplsVrfLabels()),
                                of("vrfs", target.vrfs().config()),
                                of("acls", target.acls().lists()),
                                of("acl rules", target.acls().rules()),
                                of("class maps", target.classMaps().maps()),
                                of("policy maps", target.policyMaps().maps()),
                                of("traffic policies", target.policyMaps().trafficPolicies().policies()),
                                of("sbfd sessions", target.bfdSessions().sessions()),
                                of("agent statuses", target.agent()),
                                {"interfaces", target.intfs().size(), Topology::maxInterfaces}};
   });
   document.listing("tables", {{"Table", "table", 22}, {"Rows", "rows", 9}, {"Capacity", "capacity"}});
   for (const auto& count : counts) {
      document.row({{"table", count.table}, {"rows", count.rows}, {"capacity", count.capacity}});
   }
   document.fields("hardware", locked([&] {
                      return Json{{"ip_routes_programmed", target.ipRoutes().programmed()},
                                  {"idle", target.hardware().idle()}};
                   }));
   document.fields("store", locked([&] {
                      return Json{{"bytes_in_use", target.store().bytesInUse()},
                                  {"transactions", target.store().commits()}};
                   }));
}

}  // namespace softswitch::console
