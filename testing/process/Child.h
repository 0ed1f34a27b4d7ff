// A child process that never outlives its owner.
//
// Thread-safety: one thread at a time. The kernel kills the child when the
// thread that constructed it ends, so construct it on a thread that stays.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace orvtest {

// How a process ended: its exit code, or the signal that ended it.
struct Ending {
   int exitCode = -1;
   int signal = 0;
   friend bool operator==(const Ending&, const Ending&) = default;
};

std::string to_string(const Ending& ending);

class Child {
public:
   // Runs argv[0] with argv. Standard output and error are appended to `logPath`, or inherited when it is
   // empty.
   // THROWS: std::system_error when the program cannot be executed.
   explicit Child(std::vector<std::string> argv, std::string logPath = {});
   // Kills and reaps a child that still runs.
   ~Child();
   Child(Child&& other) noexcept;
   Child& operator=(Child&&) = delete;

   pid_t pid() const { return pid_; }
   void signal(int number) const;
   // Waits for at most `limit`. RETURNS: nothing when the child still runs then.
   std::optional<Ending> waitFor(std::chrono::milliseconds limit);
   Ending wait();
   // Sends SIGKILL and reaps the child.
   void kill();
   bool running() { return !waitFor(std::chrono::milliseconds(0)); }
   // What the child has written to its log so far.
   std::string log() const;

private:
   pid_t pid_ = -1;
   int pidFd_ = -1;
   std::string logPath_;
   std::optional<Ending> ending_;
};

}  // namespace orvtest
