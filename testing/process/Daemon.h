// A daemon that runs as a child process with a state directory, a socket and a
// console of its own below one directory.
//
// Thread-safety: one thread at a time.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "testing/process/Child.h"

namespace orvtest {

class Daemon {
public:
   // Does not start the process yet. `extra` is appended to the command line.
   // REQUIRES: `directory` exists and outlives the daemon.
   Daemon(std::string program, std::string directory, std::vector<std::string> extra = {});

   // Starts the process and returns as soon as it has answered an RPC.
   // THROWS: std::runtime_error with the text of the log when the process ends instead, or when `patience`
   // runs out.
   void start(std::chrono::milliseconds patience = std::chrono::seconds(30));
   // Starts the process without waiting.
   void launch();
   void waitServing(std::chrono::milliseconds patience = std::chrono::seconds(30));

   // Sends SIGKILL and waits for the process to end.
   void kill();
   // Sends SIGTERM. RETURNS: how the process ended, or nothing when it still runs after `limit`.
   std::optional<Ending> terminate(std::chrono::milliseconds limit = std::chrono::seconds(30));

   Child& child() { return *child_; }
   // "unix:///…/rpc.sock", as gRPC and the daemon's --listen take it.
   std::string address() const { return "unix://" + socketPath(); }
   std::string socketPath() const { return directory_ + "/rpc.sock"; }
   std::string consolePath() const { return directory_ + "/console.sock"; }
   std::string stateDir() const { return directory_ + "/state"; }
   std::string logPath() const { return directory_ + "/daemon.log"; }

private:
   std::string program_;
   std::string directory_;
   std::vector<std::string> extra_;
   std::optional<Child> child_;
};

// Returns as soon as a programming service answers on `socketPath`.
// THROWS: std::runtime_error when `child` ends instead or `patience` runs out.
void waitServing(Child& child, const std::string& socketPath, std::chrono::milliseconds patience);

// The path of program `name`: in the directory that ORV_BIN_DIR names, or else beside the running program, or
// else in the folder bin beside its folder, where the build puts it.
// THROWS: std::runtime_error when it is in none of them.
std::string programPath(const std::string& name);

}  // namespace orvtest
