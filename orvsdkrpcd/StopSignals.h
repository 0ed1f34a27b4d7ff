// TERM and INT, received by a dedicated thread.
//
// Thread-safety: the main thread constructs the object before it starts other threads, and destroys it after
// they have ended. The signals are blocked in the constructing thread and in the threads that it starts
// later.
#pragma once

#include <functional>
#include <thread>

namespace orvsdkrpcd {

class StopSignals {
public:
   // Blocks the signals.
   // THROWS: std::system_error.
   StopSignals();
   ~StopSignals();
   StopSignals(const StopSignals&) = delete;
   StopSignals& operator=(const StopSignals&) = delete;

   // From now on the dedicated thread calls `onSignal(number)` for each signal, including signals that came
   // before.
   void start(std::function<void(int)> onSignal);
   // Ends the thread; `onSignal` is not called any more.
   void stop();

private:
   void run();

   int signalFd_ = -1;
   int stopFd_ = -1;
   std::function<void(int)> onSignal_;
   std::thread thread_;
};

}  // namespace orvsdkrpcd
