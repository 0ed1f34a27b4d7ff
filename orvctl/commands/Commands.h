// One function per command; each adds its subcommand, flags and action to the program.
#pragma once

#include "orvctl/Context.h"

namespace orvctl {

// Assembles the program.
void buildApp(CLI::App& app, Context& context);

void addListCommand(CLI::App& app, Context& context);
void addCallCommand(CLI::App& app, Context& context);
void addConsoleCommand(CLI::App& app, Context& context);
void addInitCommand(CLI::App& app, Context& context);
void addResyncCommand(CLI::App& app, Context& context);
void addNexthopGroupCommand(CLI::App& app, Context& context);
// Adds `nhg list`, `nhg show` and `nhg counters` to the `nhg` command.
void addNexthopGroupViews(CLI::App& command, Context& context);
void addRouteCommand(CLI::App& app, Context& context);
// Adds `route list`, `route get` and `route vias` to the `route` command.
void addRouteViews(CLI::App& command, Context& context);
void addTunnelCommand(CLI::App& app, Context& context);
void addMplsCommand(CLI::App& app, Context& context);
// Adds `mpls list`, `get`, `vias`, `status`, `watch` and `acks` to the `mpls` command.
void addMplsRouteViews(CLI::App& command, Context& context);
void addFibCommand(CLI::App& app, Context& context);
void addRedirectCommand(CLI::App& app, Context& context);
void addSessionCommand(CLI::App& app, Context& context);
void addInterfaceCommand(CLI::App& app, Context& context);
void addPhyCommand(CLI::App& app, Context& context);
void addAclCommand(CLI::App& app, Context& context);
void addClassMapCommand(CLI::App& app, Context& context);
void addPolicyMapCommand(CLI::App& app, Context& context);
void addTrafficPolicyCommand(CLI::App& app, Context& context);
void addCountersCommand(CLI::App& app, Context& context);
void addPolicyCountersCommand(CLI::App& app, Context& context);
void addAgentCommand(CLI::App& app, Context& context);
void addWatchCommand(CLI::App& app, Context& context);
void addStateCommand(CLI::App& app, Context& context);
void addAliveCommand(CLI::App& app, Context& context);
void addBenchCommand(CLI::App& app, Context& context);
void addCompletionCommand(CLI::App& app, Context& context);

}  // namespace orvctl
