// The console's commands: one interpreter over the switch's managers, whoever asks (the console's sockets,
// the SDK's command manager).
//
// Thread-safety: run() may be called by any thread, by several at a time, without the SDK's lock; it takes
// the lock for short spans. Only with an Output that never waits may the caller hold the lock.
//
// Form. Every show command prints tables or "name: value" lines; with "| json" (or a bare json as the last
// word) it prints one JSON object instead. Words are as told in words.h. Commands are written out in full.
//
// Commands
//    help                                     all commands with a line on each
//    show version                             program, revision, store format, uptime
//    show interfaces [NAME]                   type, admin, link, oper, speed, MAC, kernel name, description
//    show ports [NAME]                        hardware, transceiver, speed and address of ports
//    show traffic [NAME]                      rates and counters, and the traffic that is set
//    show writers                             counter writers and what they count
//    show vrf                                 VRFs
//    show nexthop-group [NAME]                groups; with NAME the group's entries and programmed state
//    show ip route [PREFIX] [vrf NAME]        routes with their vias; PREFIX is one prefix exactly
//    show mpls route                          MPLS routes with their vias, and the labels of VRFs
//    show tunnel                              nexthop group tunnels
//    show fib route                           what the forwarding plane has, resolved
//    show fib fec                             the FECs of those routes
//    show agent status                        status values, options, uptime
//    show acl                                 ACLs and rules; which are not committed yet
//    show class-map                           class maps
//    show policy-map                          policy maps, where applied, hardware status
//    show sbfd                                sBFD echo sessions with their round-trip times, and far ends
//    show counters                            rows and capacity of every table, bytes of the store
//    show tech                                all of the above, one after the other
//    show forwarding lookup [ADDRESS] [label N] [dscp N] [vrf NAME]
//                                             the way a packet takes; it has an address, a label or both
//    configure interface NAME shutdown        and "no shutdown"
//    configure interface NAME description TEXT…    and "no description"
//    configure interface NAME create          a loopback, LAG, VLAN or VXLAN; "configure no interface NAME"
//    configure vrf NAME                       and "configure no vrf NAME"
//    configure ip route PREFIX HOP [interface NAME] [label N] [weight N] [metric N] [ROUTE-OPTIONS]
//    configure ip route PREFIX interface NAME [weight N] [metric N] [ROUTE-OPTIONS]
//    configure ip route PREFIX nexthop-group NAME [ROUTE-OPTIONS]
//    configure ip route PREFIX drop [ROUTE-OPTIONS]
//    configure no ip route PREFIX [HOP [interface NAME]] [preference N] [vrf NAME]
//                                             ROUTE-OPTIONS: [preference N] [tag N] [vrf NAME]
//    configure nexthop-group NAME entry N nexthop ADDRESS [interface NAME] [push LABEL…]
//                                             makes the group (type MPLS) where there is none
//    configure no nexthop-group NAME [entry N]
//    configure agent option NAME VALUE…       and "configure no agent option NAME"
//    set link NAME up|down                    the cable of an Ethernet, management or LAG interface
//    set speed NAME SPEED                     of a port: 10M to 1.6T
//    set transceiver NAME present|absent      of a port
//    set hardware NAME present|absent         of a port; inserted|removed: the port as a whole
//    set traffic NAME [in-pps N] [in-bps N] [out-pps N] [out-bps N]     packets and bits per second; "off"
//    set nexthop-group-traffic NAME entry N packets N bytes N
//                                             counted once, as if it had left through the entry
//    set writer NAME up|down                  a counter writer; "unset writer NAME"
//    set writer NAME interfaces NAME…         the ports that it counts
//    set counter-interval MILLISECONDS        between two samples
//    set counter-row NAME damaged             damages an interface's row in its counter table
//    set sbfd NEXTHOP [interface NAME] …      how a far end answers: up, down, delay MICROS, jitter MICROS,
//                                             loss PERCENT; "default" for all others; "unset sbfd NEXTHOP"
//    set agent option NAME VALUE…             as "configure agent option"; "unset agent option NAME"
//
// What is set by "set" is the state of things, not configuration: but for agent options it does not survive a
// restart.
//
// Refusals are one line with the word at fault and what was expected: an unknown or missing word, a word too
// many, a number, address or prefix that does not read, and whatever a manager refuses, in the manager's
// words. A refused command has changed nothing, except as told with "configure ip route", which sets a route
// and its via in one span of the lock and takes a new route back when the via is refused.
#pragma once

#include <string_view>

#include "softswitch/console/output.h"

namespace softswitch {
class SoftSwitch;
}

namespace softswitch::console {

class Commands {
public:
   // The switch must outlive its commands.
   explicit Commands(SoftSwitch& target) : switch_(target) {}

   // Carries out one line. A blank line does nothing. Throws CommandError, orv::error (what a manager
   // refused) or what `out` throws; what was written before stays written.
   void run(std::string_view line, Output& out);

private:
   SoftSwitch& switch_;
};

}  // namespace softswitch::console
