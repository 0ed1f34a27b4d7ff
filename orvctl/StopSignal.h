// Calls a function on SIGINT or SIGTERM, so that a command can end in order.
//
// Thread-safety: one thread constructs and destroys it, and a process has one object at a time. The function
// runs on a dedicated thread, and again after further signals.
#pragma once

#include <signal.h>

#include <functional>
#include <thread>

namespace orvctl {

class StopSignal {
public:
   explicit StopSignal(std::function<void()> onSignal);
   // Restores the previous signal actions.
   ~StopSignal();
   StopSignal(const StopSignal&) = delete;
   StopSignal& operator=(const StopSignal&) = delete;

private:
   int event_;
   struct sigaction beforeInt_ {};
   struct sigaction beforeTerm_ {};
   std::thread thread_;
};

}  // namespace orvctl
