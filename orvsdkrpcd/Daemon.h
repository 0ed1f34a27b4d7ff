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

// Takes one line for the operator, from any thread.
using Log = std::function<void(std::string_view)>;

// Raises the limit of open files as far as it goes, since every client needs one, and keeps the listeners
// alive when it is reached. Throws UsageError where the limit is too low to serve at all.
void prepareFileLimit();

// Runs until TERM, INT or a failure. Called once, on the main thread, before there are others. Throws
// UsageError when the state directory or the console's address cannot be used; returns an exit code
// otherwise.
int serve(const Settings& settings, const Log& log);

}  // namespace orvsdkrpcd
