#include "testing/base/Eventually.h"

#include <chrono>
#include <cstdlib>
#include <thread>

namespace orvtest {

std::int64_t slowdown() {
   // run_busy sets the variable.
   static const std::int64_t busy = std::getenv("ORV_BUSY") != nullptr ? 4 : 1;
   return (sanitized ? 20 : 1) * busy;
}

bool eventually(const std::function<bool()>& condition) {
   const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(slowdown() > 1 ? 60 : 30);
   while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return condition();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
   }
   return true;
}

}  // namespace orvtest
