// The daemon inside the test's own process, for what cannot be seen from outside.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>

#include "orv/tracer.h"
#include "orvsdkrpcd/Daemon.h"
#include "testing/base/TempDir.h"
#include "testing/process/Console.h"

namespace orvsdkrpcd {
namespace {

// What the console answers to a command, be it a refusal.
std::string answerOf(const std::string& socket, std::string_view command) {
   orvtest::Console console(socket);
   try {
      return console.run(command);
   } catch (const orvtest::ConsoleError& error) {
      return error.what();
   }
}

// Asks the console while the agent is being built, which the agent's last trace in its constructor tells, and
// once it serves.
int askWhileTheAgentIsBuilt() {
   const orvtest::TempDir directory;
   const std::string socket = directory / "console.sock";
   Flags flags;
   flags.listen = {"unix:" + (directory / "rpc.sock")};
   flags.stateDir = directory / "state";
   flags.console = "unix:" + socket;
   flags.trace = "OrvSdkRpc/1";
   const Settings settings = checkFlags(flags);

   std::string whileBuilt;
   std::string whenServing;
   orv::trace_sink_is([&](std::string_view, int, std::string_view text) {
      if (text.ends_with(" constructed")) whileBuilt = answerOf(socket, "set link Ethernet1 down");
   });
   const int code = serve(settings, [&](std::string_view line) {
      if (!line.starts_with("serving on ")) return;
      whenServing = answerOf(socket, "set link Ethernet1 down");
      kill(getpid(), SIGTERM);
   });
   orv::trace_sink_is({});
   if (code == kStopped && whileBuilt == "the switch is still starting" && whenServing.empty()) return 0;
   std::cerr << "code " << code << ", answers '" << whileBuilt << "' and '" << whenServing << "'\n";
   return 1;
}

// The agent is built without the SDK's lock, so until it is there nobody else may call the switch.
TEST(ServeDeathTest, theConsoleTakesNoCommandWhileTheAgentIsBuilt) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_EXIT(std::exit(askWhileTheAgentIsBuilt()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace orvsdkrpcd
