// The process as a whole: switch, agent, console, signals.
#pragma once

#include <functional>
#include <string_view>

#include "orvsdkrpcd/Settings.h"

namespace orvsdkrpcd {

// The daemon's exit codes.
enum ExitCode : int {
   kStopped = 0,
   // Nothing could be served, or the switch failed while it ran.
   kFailed = 1,
   // A value or the state directory cannot be used.
   kUsage = 2,
};

// Logs one line for the operator; may be called from any thread.
using Log = std::function<void(std::string_view)>;

// Raises the limit of open files to its maximum, since every client needs a file descriptor, and keeps the
// listeners alive when the limit is reached.
// THROWS: UsageError if the maximum is too low to serve at all.
void prepareFileLimit();

// Runs until TERM, INT or a failure.
// REQUIRES: called once, on the main thread, before other threads exist.
// RETURNS: an exit code.
// THROWS: UsageError if the state directory or the console's address cannot be used.
int serve(const Settings& settings, const Log& log);

}  // namespace orvsdkrpcd
