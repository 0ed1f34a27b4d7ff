#include "orvctl/Target.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

TEST(Target, unixPathsInEveryForm) {
   for (const char* text : {"unix:/run/x", "unix:///run/x", "unix://run/x", "/run/x"}) {
      const Target target = parseTarget("--target", text);
      EXPECT_EQ(target.kind, Target::Kind::unixPath) << text;
      EXPECT_EQ(target.name, "/run/x") << text;
      EXPECT_EQ(target.text(), "unix:/run/x");
      EXPECT_EQ(target.channelAddress(), "unix:/run/x");
   }
}

TEST(Target, aRelativePathCountsFromTheWorkingDirectory) {
   const std::string here = std::filesystem::current_path().string();
   EXPECT_EQ(parseTarget("--target", "unix:x.sock").name, here + "/x.sock");
   EXPECT_EQ(parseTarget("--target", "./x.sock").name, here + "/./x.sock");
}

TEST(Target, whatAUriDoesNotTakeIsEscapedForTheChannel) {
   EXPECT_EQ(parseTarget("--target", "unix:/run/a b%c").channelAddress(), "unix:/run/a%20b%25c");
}

TEST(Target, abstractNamesAndTcp) {
   EXPECT_EQ(parseTarget("--target", "unix-abstract:orv").channelAddress(), "unix-abstract:orv");
   EXPECT_EQ(parseTarget("--target", "switch1:9000").channelAddress(), "dns:///switch1:9000");
   EXPECT_EQ(parseTarget("--target", "[::1]:9000").text(), "[::1]:9000");
}

TEST(Target, whatIsNoAddressIsRefusedInOneLine) {
   const std::string longPath = "/" + std::string(108, 'x');
   for (const std::string& text :
        {std::string(), std::string("switch1"), std::string("unix:"), std::string("unix:///"),
         std::string("unix-abstract:"), std::string("switch1:0"), std::string("switch1:65536"),
         std::string("switch1:http"), std::string(":9000"), std::string("::1:9000"),
         std::string("http://switch1:80"), longPath}) {
      try {
         parseTarget("--target", text);
         FAIL() << "'" << text << "' was taken";
      } catch (const UsageError& error) {
         EXPECT_TRUE(std::string(error.what()).starts_with("--target is '" + text + "', expected "))
              << error.what();
         EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
      }
   }
}

TEST(Target, theConsoleStandsBesideAUnixSocketOnly) {
   EXPECT_EQ(consoleBeside(parseTarget("--target", "unix:/run/orv/a.sock")).text(),
             "unix:/run/orv/console.sock");
   EXPECT_THROW(consoleBeside(parseTarget("--target", "switch1:9000")), UsageError);
   EXPECT_THROW(consoleBeside(parseTarget("--target", "unix-abstract:orv")), UsageError);
}

}  // namespace
}  // namespace orvctl
