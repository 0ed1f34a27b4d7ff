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

constexpr std::array<Show*, 21> everything{showVersion,
                                           showInterfaces,
                                           showPorts,
                                           showTraffic,
                                           showWriters,
                                           showVrf,
                                           showAgentStatus,
                                           showCounters,
                                           showNexthopGroup,
                                           showIpRoute,
                                           showMplsRoute,
                                           showTunnel,
                                           showFibRoute,
                                           showFibFec,
                                           showAcl,
                                           showClassMap,
                                           showPolicyMap,
                                           showTrafficPolicy,
                                           showTrafficPolicyCounters,
                                           showSbfd,
                                           showMainLoop};

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
                          void (*run)(Call&), std::string_view details = "") {
   return {.name = name, .usage = usage, .help = help, .details = details, .run = run, .hasJson = true};
}

constexpr std::array showTable{
     command("show version", "", "program, revision, state directory and uptime", run<showVersion>),
     command("show interfaces", "[NAME]", "type, state, link, speed, addresses and names of interfaces",
             run<showInterfaces>),
     command("show ports", "[NAME]", "hardware, transceiver, speed and burned-in address of ports",
             run<showPorts>),
     command("show traffic", "[NAME]", "rates and counters of interfaces", run<showTraffic>,
             "Rates are per second."),
     command("show writers", "", "counter writers and what they count", run<showWriters>),
     command("show vrf", "", "VRFs", run<showVrf>),
     command("show nexthop-group", "[NAME]", "groups, or one group's entries", run<showNexthopGroup>,
             "With NAME the entries of the group, their counters, and what hardware has of it."),
     command("show ip route", "[PREFIX] [vrf NAME]", "IP routes of a VRF with their vias", run<showIpRoute>,
             "PREFIX is one prefix exactly, in all its preferences. Without vrf the default VRF."),
     command("show mpls route", "", "MPLS routes with their vias, and the labels of VRFs",
             run<showMplsRoute>),
     command("show tunnel", "", "nexthop group tunnels", run<showTunnel>),
     command("show fib route", "", "what the forwarding plane has, resolved", run<showFibRoute>),
     command("show fib fec", "", "the FECs of those routes", run<showFibFec>),
     command("show agent status", "", "status values, options, uptime", run<showAgentStatus>),
     command("show acl", "", "access lists and their rules, committed or pending", run<showAcl>),
     command("show class-map", "", "class maps", run<showClassMap>),
     command("show policy-map", "", "policy maps, where applied, hardware status", run<showPolicyMap>),
     command("show traffic-policy", "", "traffic policies, their rules, where applied",
             run<showTrafficPolicy>),
     command("show traffic-policy counters", "", "what the rules of applied traffic policies have counted",
             run<showTrafficPolicyCounters>),
     command("show sbfd", "", "sBFD echo sessions and the far ends that answer them", run<showSbfd>,
             "Round-trip times are in microseconds."),
     command("show counters", "", "rows and capacity of every table, bytes of the store", run<showCounters>),
     command("show main-loop", "", "tasks, how late the loop was, how threads waited for its lock",
             run<showMainLoop>),
     command("show tech", "", "everything above, one after the other", showTech),
     command(
          "show forwarding lookup",
          "[ADDRESS] [label N] [dscp N] [vrf NAME] [interface NAME] [source ADDRESS] [protocol N] "
          "[source-port N] [port N]",
          "which way a packet takes: traffic policy, route, group, redirect, entry",
          run<showForwardingLookup>,
          "The packet has an address, a label or both. Without a label it meets the traffic policy that is "
          "applied inbound to interface; source, protocol and ports are what its rules may match."),
};

}  // namespace

std::span<const Command> showCommands() {
   return showTable;
}

}  // namespace softswitch::console
