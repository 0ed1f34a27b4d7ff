#include "softswitch/console/address.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace softswitch::console {
namespace {

TEST(ConsoleAddress, readsItsForms) {
   EXPECT_EQ(Address::parse("unix:/run/console").path, "/run/console");
   EXPECT_EQ(Address::parse("127.0.0.1:5000").host, "127.0.0.1");
   EXPECT_EQ(Address::parse("127.0.0.1:5000").port, 5000);
   EXPECT_EQ(Address::parse("[::1]:0").host, "::1");
   for (const auto* text : {"unix:/run/console", "localhost:65535", "[::1]:22"}) {
      EXPECT_EQ(Address::parse(text).text(), text);
   }
}

TEST(ConsoleAddress, refusesWithTheValueAndWhatWasExpected) {
   const auto refusal = [](std::string_view text) -> std::string {
      try {
         Address::parse(text);
      } catch (const std::invalid_argument& e) {
         return e.what();
      }
      return "(accepted)";
   };
   EXPECT_EQ(refusal(""), "console address '': expected unix:PATH or HOST:PORT");
   EXPECT_EQ(refusal("console"), "console address 'console': expected unix:PATH or HOST:PORT");
   EXPECT_EQ(refusal("unix:"), "console address 'unix:': expected a path after unix:");
   EXPECT_EQ(refusal(":80"), "console address ':80': expected a host before the port, as in 127.0.0.1:PORT");
   for (const auto* port : {"", "65536", "-1", "80x", "http"}) {
      const auto text = std::string("host:") + port;
      EXPECT_EQ(refusal(text),
                "console address '" + text + "': expected a port from 0 to 65535 after the host");
   }
   EXPECT_EQ(refusal("::1:80"),
             "console address '::1:80': expected an IPv6 address in brackets, as in [::1]:PORT");
   const auto longPath = "unix:/" + std::string(107, 'p');
   EXPECT_EQ(refusal(longPath), "console address '" + longPath + "': expected a path of at most 107 bytes");
   EXPECT_EQ(refusal(longPath.substr(0, longPath.size() - 1)), "(accepted)");
}

}  // namespace
}  // namespace softswitch::console
