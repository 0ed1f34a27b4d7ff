// A watch as a command.
// Thread-safety: one thread.
#pragma once

#include <functional>
#include <string>

#include "orvctl/Context.h"
#include "orvctl/WatchRpcs.h"

namespace orvctl {

// Runs the watch until `each` returns false for a reply, the user stops it, or --timeout is over.
// RETURNS: the exit code; on standard error a line about a watch that was read too slowly.
// THROWS: as Connection::require, and CallError if the server ends the watch.
int runWatch(Context& context, const WatchRpc& watch, const google::protobuf::Message& request,
             const std::function<bool(const google::protobuf::Message& reply)>& each);

// Adds the watch as the subcommand `name` of `parent`.
void addWatchOf(CLI::App& parent, Context& context, const WatchRpc& watch, const std::string& name);

}  // namespace orvctl
