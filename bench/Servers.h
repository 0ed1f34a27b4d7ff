// The two servers under comparison and the load client, each a child process with its own temporary
// directory.
//
// Thread-safety: one thread at a time.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "testing/base/TempDir.h"
#include "testing/process/Child.h"
#include "testing/process/Daemon.h"

namespace bench {

using Arguments = std::vector<std::string>;

class FloorServer {
public:
   explicit FloorServer(const std::string& program, const std::vector<std::string>& extra = {});
   std::string address() const { return "unix://" + (directory_ / "rpc.sock"); }
   pid_t pid() const { return child_.pid(); }

private:
   orvtest::TempDir directory_{"orv-bench-floor-"};
   orvtest::Child child_;
};

// A daemon that starts on an empty state directory.
class FreshDaemon {
public:
   explicit FreshDaemon(const std::string& program, std::vector<std::string> extra = {});
   ~FreshDaemon();
   // Starts the daemon again on the existing state and returns as soon as it has answered an RPC.
   // REQUIRES: the process has ended.
   void start();
   std::string address() const { return daemon_.address(); }
   pid_t pid() { return daemon_.child().pid(); }
   orvtest::Daemon& daemon() { return daemon_; }
   const orvtest::TempDir& directory() const { return directory_; }

private:
   orvtest::TempDir directory_{"orv-bench-"};
   orvtest::Daemon daemon_;
};

// Runs the load client against `address`.
// RETURNS: the object that it prints.
// THROWS: std::runtime_error with its output if it fails.
nlohmann::json runLoad(const std::string& program, const std::string& address, Arguments arguments);

// RETURNS: the CPU time that a process has used so far, in seconds.
double cpuSecondsOf(pid_t pid);
// RETURNS: the CPU time of a process's current threads, in seconds. The source counts nanoseconds, because
// the accounting by clock ticks may miss a main loop that wakes for some ten microseconds at a time.
double runSecondsOf(pid_t pid);

// Resident memory in MiB: all of it, and the part that is not backed by a file.
struct Resident {
   double total = 0;
   double anonymous = 0;
};
Resident residentOf(pid_t pid);
// Waits until the memory no longer grows, since the forwarding plane is programmed after the replies.
Resident settledResident(pid_t pid);

}  // namespace bench
