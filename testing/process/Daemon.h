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
   // Nothing is started yet. `directory` exists and outlives the daemon; `extra`
   // is appended to the command line.
   Daemon(std::string program, std::string directory, std::vector<std::string> extra = {});

   // Starts the process and returns as soon as an RPC was answered. Throws
   // std::runtime_error with the log's words when the process ends instead, or
   // when `patience` runs out.
   void start(std::chrono::milliseconds patience = std::chrono::seconds(30));
   // The same without waiting.
   void launch();
   void waitServing(std::chrono::milliseconds patience = std::chrono::seconds(30));

   // SIGKILL; returns when the process is gone.
   void kill();
   // SIGTERM; how it ended, or nothing when it still ran after `limit`.
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

// Returns as soon as a programming service answers on `socketPath`. Throws
// std::runtime_error when `child` ends instead or `patience` runs out.
void waitServing(Child& child, const std::string& socketPath, std::chrono::milliseconds patience);

// The program `name` in the directory that ORV_BIN_DIR names, or else beside the
// running program, or else in the folder bin beside its folder, where the build
// puts it. Throws std::runtime_error when it is not there.
std::string programPath(const std::string& name);

}  // namespace orvtest
