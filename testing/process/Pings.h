// Pings an agent's main loop again and again, a little apart, on a connection and a thread of its own.
//
// Thread-safety: start to stop belong to one thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace orvtest {

struct Ping {
   // On the monotonic clock.
   std::int64_t startedNs;
   // Until the client has the answer.
   std::int64_t tookNs;
};

class Pings {
public:
   // Starts to ping at once.
   explicit Pings(const std::string& address);
   ~Pings();
   Pings(const Pings&) = delete;
   Pings& operator=(const Pings&) = delete;

   // Waits for the ping that is under way, then stops. THROWS: CallBroke when a ping failed.
   std::vector<Ping> stop();

private:
   void run(const std::string& address);

   std::atomic<bool> over_{false};
   // Written by the thread, read once it has ended.
   std::vector<Ping> pings_;
   std::string broken_;
   std::thread thread_;
};

}  // namespace orvtest
