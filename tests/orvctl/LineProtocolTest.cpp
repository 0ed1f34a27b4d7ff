#include "orvctl/LineProtocol.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "orvctl/ExitCode.h"
#include "testing/base/TempDir.h"

namespace orvctl {
namespace {

// Accepts one client, sends `answer` once a line has arrived, and closes the connection unless `stay` is
// true.
class FakeConsole {
public:
   explicit FakeConsole(std::string answer, bool stay = false) : answer_(std::move(answer)) {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      const std::string path = directory_ / "console.sock";
      std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
      listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
      EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
      EXPECT_EQ(listen(listener_, 1), 0);
      thread_ = std::thread([this, stay] { serve(stay); });
   }
   ~FakeConsole() {
      thread_.join();
      close(listener_);
   }

   Target target() const { return parseTarget("--console", directory_ / "console.sock"); }
   // What the client wrote; complete once the client has disconnected.
   const std::string& line() const { return line_; }

private:
   void serve(bool stay) {
      const int fd = accept(listener_, nullptr, nullptr);
      char c = 0;
      while (::read(fd, &c, 1) == 1 && c != '\n')
         line_ += c;
      EXPECT_EQ(send(fd, answer_.data(), answer_.size(), MSG_NOSIGNAL), static_cast<ssize_t>(answer_.size()));
      // Waits until the client closes.
      while (stay && ::read(fd, &c, 1) == 1) {
      }
      close(fd);
   }

   orvtest::TempDir directory_;
   std::string answer_;
   std::string line_;
   int listener_ = -1;
   std::thread thread_;
};

struct Outcome {
   bool ok = false;
   std::string output;
   std::string error;
};

Outcome ask(const FakeConsole& console, std::string_view command, double timeout = 10) {
   ConsoleClient client(console.target(), timeout);
   Outcome outcome;
   const auto answer = client.run(command, [&](std::string_view text) { outcome.output += text; });
   outcome.ok = answer.ok;
   outcome.error = answer.error;
   return outcome;
}

TEST(LineProtocol, piecesOfOutputAndTheEnd) {
   const FakeConsole console("OUT 4\nab\ncOUT 3\nOK\nOK\n");
   const Outcome outcome = ask(console, "show version");
   EXPECT_TRUE(outcome.ok);
   EXPECT_EQ(outcome.output, "ab\ncOK\n");
   EXPECT_EQ(console.line(), "show version");
}

TEST(LineProtocol, aRefusalKeepsWhatWasWrittenBefore) {
   const FakeConsole console("OUT 1\nxERR 5\nwrong");
   const Outcome outcome = ask(console, "show nonsense");
   EXPECT_FALSE(outcome.ok);
   EXPECT_EQ(outcome.output, "x");
   EXPECT_EQ(outcome.error, "wrong");
}

TEST(LineProtocol, aConnectionThatClosesInTheMiddleIsAFailure) {
   for (const char* answer : {"", "OUT 5\nabc", "OU"}) {
      const FakeConsole console(answer);
      EXPECT_THROW(ask(console, "show version"), CallError) << answer;
   }
}

TEST(LineProtocol, somethingElseThanAConsoleIsAFailure) {
   for (const std::string& answer :
        {std::string("HTTP/1.1 400 Bad Request\n"), std::string("OUT\nx"), std::string("OUT -1\n"),
         std::string("OUT 99999999999999999999\n"), std::string("OUT 1x\n"), std::string(100, 'x')}) {
      const FakeConsole console(answer);
      EXPECT_THROW(ask(console, "show version"), CallError) << answer;
   }
}

TEST(LineProtocol, aSilentConsoleEndsWithTheTimeout) {
   const FakeConsole console("", true);
   EXPECT_THROW(ask(console, "show version", 0.05), CallError);
}

TEST(LineProtocol, nobodyThereIsAFailureThatNamesTheAddress) {
   const orvtest::TempDir directory;
   try {
      const ConsoleClient client(parseTarget("--console", directory / "none"), 1);
      FAIL() << "connected";
   } catch (const CallError& error) {
      EXPECT_NE(std::string(error.what()).find("cannot reach unix:" + directory.path() + "/none"),
                std::string::npos);
   }
}

}  // namespace
}  // namespace orvctl
