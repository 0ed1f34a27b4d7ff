#include "OrvctlAndDaemon.h"
#include "testing/base/TempDir.h"

#include <fstream>
#include <stdexcept>

namespace orvsdkrpcd::test {

using orvtest::Ending;

OrvctlAndDaemon::OrvctlAndDaemon() : daemon_(daemonProgram(), directory_.path()) {
   daemon_.start();
}

OrvctlAndDaemon::~OrvctlAndDaemon() {
   if (!daemon_.child().running()) return;
   EXPECT_EQ(daemon_.terminate(), Ending{.exitCode = 0}) << daemon_.child().log();
}

Outcome OrvctlAndDaemon::orvctl(std::vector<std::string> arguments) const {
   arguments.insert(arguments.begin(), {clientProgram(), "--target", daemon_.address()});
   return runProgram(std::move(arguments));
}

std::string OrvctlAndDaemon::expect(int code, std::vector<std::string> arguments) const {
   std::string line;
   for (const auto& word : arguments)
      line += word + " ";
   const Outcome outcome = orvctl(std::move(arguments));
   EXPECT_EQ(outcome.ending, Ending{.exitCode = code}) << line << ": " << outcome.text;
   return outcome.text;
}

std::string OrvctlAndDaemon::file(const std::string& name, const std::string& text) const {
   std::ofstream(directory_ / name) << text;
   return directory_ / name;
}

Running::Running(const orvtest::Daemon& daemon, const orvtest::TempDir& directory, const std::string& logName,
                 std::vector<std::string> arguments)
     : child_([&] {
          arguments.insert(arguments.begin(), {clientProgram(), "--target", daemon.address()});
          return orvtest::Child(std::move(arguments), directory / logName);
       }()) {}

std::string Running::waitFor(const std::string& text) {
   for (;;) {
      const bool ended = child_.waitFor(std::chrono::milliseconds(1)).has_value();
      std::string said = child_.log();
      if (said.find(text) != std::string::npos) return said;
      if (ended) throw std::runtime_error("it ended without a word of '" + text + "': " + said);
   }
}

}  // namespace orvsdkrpcd::test
