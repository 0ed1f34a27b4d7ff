#include <unistd.h>

#include <csignal>
#include <iostream>

#include "orvctl/Run.h"

int main(int argc, char** argv) {
   // A reader that closes the pipe early ends the output, not the run.
   std::signal(SIGPIPE, SIG_IGN);
   std::ios::sync_with_stdio(false);
   return orvctl::run(
        {argv + 1, argv + argc},
        {.in = std::cin, .out = std::cout, .err = std::cerr, .interactive = isatty(STDERR_FILENO) == 1});
}
