// Measures round trips through the main loop: takes the activity lock, schedules a
// task, and waits until the loop has run it; again and again, a little apart.
//
// Thread-safety: constructed and destroyed on the main loop's thread while the
// loop does not run; start and stop belong to the same thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "gorm/TaskScheduler.h"
#include "pavo/Task.h"

namespace bench {

class Pinger : private Pavo::Task {
public:
   explicit Pinger(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler);
   ~Pinger() override;

   void start();
   // Ends the measuring; a ping that the loop has not answered is dropped.
   void stop();
   // One line per ping: its start on the monotonic clock and how long it took,
   // nanoseconds. Throws std::runtime_error.
   void write(const std::string& path) const;

private:
   struct Ping {
      std::int64_t startedNs;
      std::int64_t tookNs;
   };
   enum State : std::uint32_t { idle, asked, answered, stopping };

   void taskExecute() override;
   void run();

   std::atomic<std::uint32_t> state_{idle};
   std::thread thread_;
   // Written by the thread, read after its end.
   std::vector<Ping> pings_;
};

}  // namespace bench
