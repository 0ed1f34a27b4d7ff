#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "orvctl/Run.h"
#include "testing/base/TempDir.h"

namespace orvctl {
namespace {

// What bash offers for a line whose last word is being completed.
std::string completions(const std::string& line) {
   static const std::string script = [] {
      std::istringstream in;
      std::ostringstream out, err;
      EXPECT_EQ(run({"completion", "bash"}, {.in = in, .out = out, .err = err}), 0) << err.str();
      return out.str();
   }();
   const orvtest::TempDir directory;
   std::ofstream(directory / "completion.bash") << script;
   const std::string command =
        "bash -c 'source " + directory / "completion.bash" + "; COMP_WORDS=(" + line +
        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _orvctl 2>/dev/null; echo \"${COMPREPLY[*]}\"'";
   FILE* const pipe = popen(command.c_str(), "r");
   std::array<char, 4096> buffer{};
   const size_t count = fread(buffer.data(), 1, buffer.size(), pipe);
   pclose(pipe);
   std::string text(buffer.data(), count);
   if (text.ends_with('\n')) text.pop_back();
   return text;
}

TEST(Completion, commandsAndTheirSubcommands) {
   EXPECT_EQ(completions("orvctl res"), "resync");
   EXPECT_EQ(completions("orvctl resync st"), "start");
   EXPECT_EQ(completions("orvctl --target unix:/x nhg d"), "del");
   EXPECT_EQ(completions("orvctl mpls st"), "status");
   EXPECT_EQ(completions("orvctl fib r"), "routes");
   EXPECT_EQ(completions("orvctl route s"), "set");
}

TEST(Completion, flagsOfTheCommandAndOfTheTopLevel) {
   EXPECT_EQ(completions("orvctl nhg set --auto"), "--autosize");
   EXPECT_EQ(completions("orvctl nhg set --time"), "--timeout");
   EXPECT_EQ(completions("orvctl mpls set --mi"), "--mirror");
}

TEST(Completion, watchesTheirFlagsAndFields) {
   EXPECT_EQ(completions("orvctl watch i"), "intf");
   EXPECT_EQ(completions("orvctl watch intf --fi"), "--fields");
   EXPECT_EQ(completions("orvctl watch intf --fields ad"), "admin_enabled");
   EXPECT_EQ(completions("orvctl watch nhg --fields active"), "active_status");
   EXPECT_EQ(completions("orvctl intf set Ethernet1 --admin d"), "down");
}

TEST(Completion, filesOfCommandsThatReadOne) {
   const orvtest::TempDir directory;
   const std::string file = directory / "maps.yaml";
   std::ofstream(file) << "";
   for (const char* command : {"route load", "class-map set", "policy-map set", "traffic-policy set"})
      EXPECT_EQ(completions(std::string("orvctl ") + command + " " + directory / "ma"), file) << command;
   EXPECT_EQ(completions("orvctl class-map list --feature con"), "control_plane");
}

TEST(Completion, rpcsOfCall) {
   EXPECT_EQ(completions("orvctl call orvsdk_service/rpc_server_i"), "orvsdk_service/rpc_server_init");
}

}  // namespace
}  // namespace orvctl
