// A watch as a command.
// Thread-safety: one thread.
#pragma once

#include <string>

#include "orvctl/Context.h"
#include "orvctl/WatchRpcs.h"

namespace orvctl {

// Adds the watch as the subcommand `name` of `parent`.
void addWatchOf(CLI::App& parent, Context& context, const WatchRpc& watch, const std::string& name);

}  // namespace orvctl
