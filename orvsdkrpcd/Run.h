// The daemon behind one call.
#pragma once

#include <string>
#include <vector>

namespace orvsdkrpcd {

// Runs one command line, without the program's name; returns the exit code (Daemon.h). Main thread, once in a
// process.
int run(const std::vector<std::string>& arguments);

}  // namespace orvsdkrpcd
