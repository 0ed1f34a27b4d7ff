// The whole of orvctl as one function, so that it can run in a test as well as in its own process.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace orvctl {

// The streams of one run; with `interactive`, progress is drawn on `err`.
struct Streams {
   std::istream& in;
   std::ostream& out;
   std::ostream& err;
   bool interactive = false;
};

// Runs one command line, given without the program's name. Does not throw.
// RETURNS: the exit code (ExitCode.h).
int run(const std::vector<std::string>& arguments, const Streams& streams);

}  // namespace orvctl
