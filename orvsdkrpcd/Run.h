// The whole daemon as one function.
#pragma once

#include <string>
#include <vector>

namespace orvsdkrpcd {

// Runs one command line, given without the program's name.
// REQUIRES: called once in a process, on the main thread.
// RETURNS: the exit code (Daemon.h).
int run(const std::vector<std::string>& arguments);

}  // namespace orvsdkrpcd
