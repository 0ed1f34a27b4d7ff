#include "softswitch/console/show.h"

#include <array>

#include "softswitch/console/command_table.h"

namespace softswitch::console {
namespace {

template <Show& show>
void run(Call& call) {
   Document document(call.out, call.form);
   show(call.target, call.args, document);
   document.finish();
}

constexpr std::array<Show*, 19> everything{
     showVersion,  showInterfaces,   showPorts,     showTraffic,   showWriters, showVrf,      showAgentStatus,
     showCounters, showNexthopGroup, showIpRoute,   showMplsRoute, showTunnel,  showFibRoute, showFibFec,
     showAcl,      showClassMap,     showPolicyMap, showSbfd,      showMainLoop};

void showTech(Call& call) {
   call.args.end();
   Document document(call.out, call.form, true);
   for (const auto show : everything) {
      Args none({}, 0);
      show(call.target, none, document);
   }
   document.finish();
}

constexpr Command command(std::string_view name, std::string_view usage, std::string_view help,
                          void (*run)(Call&)) {
   return {.name = name, .usage = usage, .help = help, .run = run, .hasJson = true};
}

constexpr std::array commands{
     command("show version", "", "program, store and uptime", run<showVersion>),
     command("show interfaces", "[NAME]", "state, link, speed, addresses and names", run<showInterfaces>),
     command("show ports", "[NAME]", "hardware, transceiver and speed of ports", run<showPorts>),
     command("show traffic", "[NAME]", "rates and counters of interfaces", run<showTraffic>),
     command("show writers", "", "counter writers and what they count", run<showWriters>),
     command("show vrf", "", "VRFs", run<showVrf>),
     command("show nexthop-group", "[NAME]", "groups, or one group's entries", run<showNexthopGroup>),
     command("show ip route", "[PREFIX] [vrf NAME]", "IP routes of a VRF with their vias", run<showIpRoute>),
     command("show mpls route", "", "MPLS routes and the labels of VRFs", run<showMplsRoute>),
     command("show tunnel", "", "nexthop group tunnels", run<showTunnel>),
     command("show fib route", "", "what the forwarding plane has, resolved", run<showFibRoute>),
     command("show fib fec", "", "the FECs of those routes", run<showFibFec>),
     command("show agent status", "", "status values, options, uptime", run<showAgentStatus>),
     command("show acl", "", "access lists and their rules, committed or pending", run<showAcl>),
     command("show class-map", "", "class maps", run<showClassMap>),
     command("show policy-map", "", "policy maps, where applied, hardware status", run<showPolicyMap>),
     command("show sbfd", "", "sBFD echo sessions and the far ends that answer them", run<showSbfd>),
     command("show counters", "", "rows and capacity of every table", run<showCounters>),
     command("show main-loop", "", "its tasks, how late it was, how threads waited for its lock",
             run<showMainLoop>),
     command("show tech", "", "everything above, one after the other", showTech),
     command("show forwarding lookup", "[ADDRESS] [label N] [dscp N] [vrf NAME]",
             "which way a packet takes: route, group, redirect, entry", run<showForwardingLookup>),
};

}  // namespace

std::span<const Command> showCommands() {
   return commands;
}

}  // namespace softswitch::console
