#include "orvsdkrpcd/Settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "orv/tracer.h"
#include "orvsdkrpcd/UsageError.h"
#include "platform/process/Toggles.h"
#include "testing/base/TempDir.h"

namespace orvsdkrpcd {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class SettingsTest : public testing::Test {
protected:
   ~SettingsTest() override {
      toggleDirectoryDel();
      orv::trace_setting_is("");
   }

   std::string write(const std::string& name, const std::string& text) {
      const std::string path = directory_ / name;
      std::ofstream(path) << text;
      return path;
   }
   Flags read(const std::vector<std::string>& arguments) {
      std::string answer;
      const auto flags = readFlags(arguments, answer);
      if (!flags) throw std::runtime_error("no flags but an answer: " + answer);
      return *flags;
   }
   // Valid flags.
   Flags good() const {
      Flags flags;
      flags.listen = {"unix:" + directory_.path() + "/rpc.sock"};
      flags.stateDir = directory_ / "state";
      return flags;
   }
   std::string lineRefusal(const std::vector<std::string>& arguments) {
      try {
         read(arguments);
      } catch (const UsageError& error) {
         return error.what();
      }
      return "";
   }
   static std::string refusal(const Flags& flags) {
      try {
         checkFlags(flags);
      } catch (const UsageError& error) {
         return error.what();
      }
      return "";
   }
   size_t entries() const {
      const std::filesystem::directory_iterator all(directory_.path());
      return static_cast<size_t>(std::distance(begin(all), end(all)));
   }

   orvtest::TempDir directory_;
};

TEST_F(SettingsTest, flagsOfTheCommandLine) {
   const Flags flags = read({"--listen", "unix:/x", "--state-dir", "/s", "--bfd", "--console", "unix:/c",
                             "--trace", "a/1,b/2-3", "--durability", "sync", "--stay", "--max-streams", "7"});
   EXPECT_EQ(flags.listen, std::vector<std::string>{"unix:/x"});
   EXPECT_EQ(flags.stateDir, "/s");
   EXPECT_TRUE(flags.bfd);
   EXPECT_FALSE(flags.fib);
   EXPECT_EQ(flags.console, "unix:/c");
   EXPECT_EQ(flags.trace, "a/1,b/2-3");
   EXPECT_EQ(flags.durability, "sync");
   EXPECT_TRUE(flags.stay);
   EXPECT_EQ(flags.maxStreams, 7);
}

TEST_F(SettingsTest, theConfigFileHasTheSameNamesAndTheCommandLineWins) {
   const std::string config = write("config",
                                    "listen = \"unix:/x\"\nstate-dir = \"/s\"\nbfd = true\nfib = false\n"
                                    "trace = \"a/1,b/2\"\n");
   const Flags flags = read({"--config", config, "--listen", "unix:/y"});
   EXPECT_EQ(flags.listen, std::vector<std::string>{"unix:/y"});
   EXPECT_EQ(flags.stateDir, "/s");
   EXPECT_TRUE(flags.bfd);
   EXPECT_FALSE(flags.fib);
   EXPECT_EQ(flags.trace, "a/1,b/2");
}

TEST_F(SettingsTest, aConfigFileThatCannotBeUsedIsRefused) {
   EXPECT_THAT(lineRefusal({"--config", directory_ / "none"}), HasSubstr("none', expected a readable file"));
   const std::string unknown = write("config", "nonsense = 1\n");
   EXPECT_THAT(lineRefusal({"--config", unknown}), HasSubstr("nonsense"));
}

TEST_F(SettingsTest, commandLinesThatAreNone) {
   EXPECT_THAT(lineRefusal({"--max-streams", "many"}), HasSubstr("--max-streams"));
   EXPECT_THAT(lineRefusal({"--nonsense"}), HasSubstr("--nonsense"));
   EXPECT_THAT(lineRefusal({"--listen"}), HasSubstr("--listen"));
   EXPECT_THAT(lineRefusal({"word"}), HasSubstr("word"));
}

TEST_F(SettingsTest, severalAddresses) {
   const std::vector<std::string> two{"unix:/x", "127.0.0.1:9"};
   EXPECT_EQ(read({"--listen", "unix:/x", "--listen", "127.0.0.1:9"}).listen, two);
   EXPECT_EQ(read({"--listen", "unix:/x", "127.0.0.1:9"}).listen, two);
   const std::string config = write("config", "listen = [\"unix:/x\", \"127.0.0.1:9\"]\n");
   EXPECT_EQ(read({"--config", config}).listen, two);
   Flags flags = good();
   flags.listen.push_back("localhost:9000");
   flags.listen.push_back("unix-abstract:x");
   const Settings settings = checkFlags(flags);
   ASSERT_EQ(settings.listen.size(), 3U);
   EXPECT_EQ(settings.listen[1].text, "127.0.0.1:9000");
}

TEST_F(SettingsTest, agentOptionsComeOneByOne) {
   Flags flags = read({"--option", "colour=green", "--option", "shape=a=b c"});
   EXPECT_THAT(flags.options, testing::ElementsAre("colour=green", "shape=a=b c"));
   const std::string config = write("config", "option = [\"colour=green\", \"shape=round\"]\n");
   EXPECT_THAT(read({"--config", config}).options, testing::ElementsAre("colour=green", "shape=round"));
   EXPECT_THAT(lineRefusal({"--option", "colour=green", "shape=round"}), HasSubstr("shape=round"));

   auto good = this->good();
   good.options = flags.options;
   EXPECT_THAT(checkFlags(good).agentOptions,
               testing::ElementsAre(testing::Pair("colour", "green"), testing::Pair("shape", "a=b c")));
   for (const char* bad : {"colour", "=green", "colour=", ""}) {
      good.options = {bad};
      EXPECT_EQ(refusal(good),
                std::string("--option is '") + bad + "', expected NAME=VALUE, neither of them empty");
   }
   good.options = {"colour=green", "colour=red"};
   EXPECT_EQ(refusal(good), "--option is 'colour=red', expected each name once");
   good.options = {std::string(256, 'n') + "=v"};
   EXPECT_THAT(refusal(good), HasSubstr("a name of at most 255 bytes"));
   good.options = {"colour=\xff\xfe"};
   EXPECT_EQ(refusal(good), "--option: byte 0xff at column 8, expected UTF-8 text");
   good.options = {"co\nlour=red"};
   EXPECT_EQ(refusal(good), "--option: control character 0x0a at column 3, expected printable text");
}

TEST_F(SettingsTest, helpAndVersionAreAnswers) {
   std::string answer;
   EXPECT_FALSE(readFlags({"--help"}, answer));
   EXPECT_THAT(answer, HasSubstr("Exit codes:"));
   EXPECT_FALSE(readFlags({"--version"}, answer));
   EXPECT_THAT(answer, StartsWith("orvsdkrpcd "));
}

TEST_F(SettingsTest, goodFlagsCreateNothing) {
   const Settings settings = checkFlags(good());
   EXPECT_EQ(settings.listen.at(0).socketPath, directory_ / "rpc.sock");
   EXPECT_EQ(settings.durability, softswitch::store::Durability::process);
   EXPECT_EQ(settings.maxStreams, 256);
   EXPECT_FALSE(settings.console);
   EXPECT_EQ(entries(), 0U);
}

TEST_F(SettingsTest, everyBadValueIsNamed) {
   const std::string file = write("file", "not JSON");
   auto with = [&](auto change) {
      Flags flags = good();
      change(flags);
      return refusal(flags);
   };
   const size_t before = entries();
   EXPECT_THAT(with([](Flags& f) { f.listen.clear(); }), StartsWith("--listen is '', expected "));
   EXPECT_THAT(with([](Flags& f) { f.listen = {"nonsense"}; }),
               StartsWith("--listen is 'nonsense', expected "));
   EXPECT_THAT(with([&](Flags& f) { f.listen = {"unix:" + file}; }), HasSubstr("another kind of file"));
   EXPECT_THAT(with([](Flags& f) { f.listen = {"unix:/nonexistent/x"}; }), HasSubstr("'/nonexistent'"));
   EXPECT_THAT(with([](Flags& f) { f.listen = {""}; }), StartsWith("--listen is '', expected "));
   EXPECT_THAT(with([&](Flags& f) { f.listen.push_back("unix:" + directory_.path() + "/two.sock"); }),
               HasSubstr("two.sock', expected one unix path at most"));
   EXPECT_THAT(with([](Flags& f) {
                  f.listen = {"localhost:9000", "127.0.0.1:9000"};
               }),
               StartsWith("--listen is '127.0.0.1:9000', expected each address once"));
   EXPECT_THAT(with([](Flags& f) { f.stateDir = ""; }), StartsWith("--state-dir is '', expected "));
   EXPECT_THAT(with([&](Flags& f) { f.stateDir = file; }),
               StartsWith("--state-dir is '" + file + "', expected a directory"));
   EXPECT_THAT(with([](Flags& f) { f.stateDir = "/nonexistent/state"; }),
               HasSubstr("/nonexistent: No such file"));
   EXPECT_THAT(with([&](Flags& f) { f.stateDir = file + "/state"; }), StartsWith("--state-dir is '"));
   EXPECT_THAT(with([](Flags& f) { f.console = "nonsense"; }), HasSubstr("nonsense"));
   EXPECT_THAT(with([&](Flags& f) { f.console = "unix:" + file; }), StartsWith("--console is 'unix:" + file));
   EXPECT_THAT(with([&](Flags& f) { f.console = f.listen.at(0); }), HasSubstr("another path"));
   EXPECT_THAT(with([&](Flags& f) { f.console = f.listen.at(0) + ".lock"; }), HasSubstr("another path"));
   for (const std::int64_t count : {0L, -1L, 65537L, 4294967297L}) {
      EXPECT_EQ(with([&](Flags& f) { f.maxStreams = count; }),
                "--max-streams is '" + std::to_string(count) + "', expected 1 to 65536");
   }
   EXPECT_THAT(with([](Flags& f) { f.durability = "maybe"; }),
               StartsWith("--durability is 'maybe', expected lazy or sync"));
   EXPECT_THAT(with([](Flags& f) { f.topology = "/nonexistent"; }), HasSubstr("/nonexistent"));
   EXPECT_THAT(with([&](Flags& f) { f.topology = file; }), HasSubstr(file));
   EXPECT_THAT(with([](Flags& f) { f.toggles = "/nonexistent"; }), HasSubstr("/nonexistent"));
   EXPECT_THAT(with([](Flags& f) { f.trace = "a/99"; }), StartsWith("--trace is 'a/99'"));
   EXPECT_EQ(entries(), before);
}

TEST_F(SettingsTest, aDirectoryInTheLockFilesPlaceIsRefused) {
   std::filesystem::create_directory(directory_ / "rpc.sock.lock");
   EXPECT_THAT(refusal(good()), HasSubstr("rpc.sock.lock"));
}

TEST_F(SettingsTest, aMalformedToggleFileIsNamed) {
   std::filesystem::create_directory(directory_ / "toggles");
   std::ofstream(directory_ / "toggles/OrvSdkRpc.json") << "{\"A\": 1}";
   Flags flags = good();
   flags.toggles = directory_ / "toggles";
   EXPECT_THAT(refusal(flags), HasSubstr("OrvSdkRpc.json"));
}

TEST_F(SettingsTest, goodFilesAreInForce) {
   std::filesystem::create_directory(directory_ / "toggles");
   std::ofstream(directory_ / "toggles/OrvSdkRpc.json") << "{\"A\": false}";
   Flags flags = good();
   flags.toggles = directory_ / "toggles";
   flags.topology = write("topology.json", R"({"interfaces":[{"name":"Ethernet1","count":2}]})");
   flags.trace = "settings-test/3";
   flags.durability = "sync";
   flags.console = "unix:" + directory_.path() + "/console.sock";
   const Settings settings = checkFlags(flags);
   EXPECT_FALSE(getToggleState("A", "OrvSdkRpc.json", true));
   EXPECT_EQ(settings.topology.interfaces().size(), 2U);
   EXPECT_TRUE(orv::tracer("settings-test").enabled(3));
   EXPECT_EQ(settings.durability, softswitch::store::Durability::sync);
   ASSERT_TRUE(settings.console);
   EXPECT_EQ(settings.console->path, directory_ / "console.sock");
}

}  // namespace
}  // namespace orvsdkrpcd
