// The person at the keyboard has had enough: SIGINT or SIGTERM ends what runs, in order.
//
// Thread-safety: constructed and destroyed by one thread, one at a time in a process; the function runs on a
// thread of its own, and again for every further signal.
#pragma once

#include <signal.h>

#include <functional>
#include <thread>

namespace orvctl {

class StopSignal {
public:
   explicit StopSignal(std::function<void()> onSignal);
   // What the signals did before is in force again.
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
