#include "Program.h"

#include <stdexcept>

#include "testing/base/TempDir.h"

namespace orvsdkrpcd::test {

Outcome runProgram(std::vector<std::string> argv) {
   const orvtest::TempDir directory;
   const std::string name = argv.front();
   orvtest::Child child(std::move(argv), directory / "output");
   const auto ending = child.waitFor(std::chrono::minutes(1));
   if (!ending) throw std::runtime_error(name + " does not end; it said: " + child.log());
   return {.ending = *ending, .text = child.log()};
}

const std::string& daemonProgram() {
   static const std::string program = ORV_DAEMON_PROGRAM;
   return program;
}

const std::string& clientProgram() {
   static const std::string program = ORV_CLIENT_PROGRAM;
   return program;
}

}  // namespace orvsdkrpcd::test
