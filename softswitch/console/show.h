// The show commands, one function per command.
//
// Each function first reads and checks all its arguments and only then writes. All are called without the
// SDK's lock and take it for short spans (rows.h).
//
// Thread-safety: any thread.
#pragma once

#include "softswitch/console/output.h"
#include "softswitch/console/words.h"

namespace softswitch {
class SoftSwitch;
}

namespace softswitch::console {

using Show = void(SoftSwitch& target, Args& args, Document& document);

Show showVersion, showInterfaces, showVrf, showAgentStatus, showCounters;                 // show_switch.cpp
Show showMainLoop;                                                                        // show_loop.cpp
Show showPorts, showTraffic, showWriters;                                                 // show_ports.cpp
Show showNexthopGroup, showIpRoute, showMplsRoute, showTunnel, showFibRoute, showFibFec;  // show_routes.cpp
Show showAcl, showClassMap, showPolicyMap, showTrafficPolicy, showTrafficPolicyCounters;  // show_policy.cpp
Show showForwardingLookup;                                                                // show_lookup.cpp
Show showSbfd;                                                                            // sbfd.cpp

}  // namespace softswitch::console
