// TERM and INT, taken by a thread of their own.
//
// Thread-safety: constructed and destroyed by the main thread, before it starts and after it has ended other
// threads: the signals are blocked in the constructing thread and in those that it starts later.
#pragma once

#include <functional>
#include <thread>

namespace orvsdkrpcd {

class StopSignals {
public:
   // Blocks the signals. Throws std::system_error.
   StopSignals();
   ~StopSignals();
   StopSignals(const StopSignals&) = delete;
   StopSignals& operator=(const StopSignals&) = delete;

   // From here on `onSignal(number)` is called, on the signals' thread, for each one, those included that
   // came before.
   void start(std::function<void(int)> onSignal);
   // Ends the thread; nothing is called any more.
   void stop();

private:
   void run();

   int signalFd_ = -1;
   int stopFd_ = -1;
   std::function<void(int)> onSignal_;
   std::thread thread_;
};

}  // namespace orvsdkrpcd
