// The whole of orvctl behind one call, so that it can run in a test as well as in a process.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace orvctl {

// The streams of one run; `interactive` lets progress be drawn on `err`.
struct Streams {
   std::istream& in;
   std::ostream& out;
   std::ostream& err;
   bool interactive = false;
};

// Runs one command line, without the program's name; returns the exit code (ExitCode.h). Throws nothing.
int run(const std::vector<std::string>& arguments, const Streams& streams);

}  // namespace orvctl
