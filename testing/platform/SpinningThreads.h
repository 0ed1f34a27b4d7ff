// Threads that occupy the machine's processors, for tests of what must work on a busy machine.
#pragma once

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace orvtest {

class SpinningThreads {
public:
   // Twice as many as there are processors.
   SpinningThreads() {
      const unsigned count = 2 * std::max(1U, std::thread::hardware_concurrency());
      for (unsigned i = 0; i < count; ++i) {
         threads_.emplace_back([this] {
            while (!over_.load(std::memory_order_relaxed)) {
            }
         });
      }
   }
   ~SpinningThreads() {
      over_.store(true);
      for (auto& thread : threads_)
         thread.join();
   }
   SpinningThreads(const SpinningThreads&) = delete;
   SpinningThreads& operator=(const SpinningThreads&) = delete;

private:
   std::atomic<bool> over_{false};
   std::vector<std::thread> threads_;
};

}  // namespace orvtest
