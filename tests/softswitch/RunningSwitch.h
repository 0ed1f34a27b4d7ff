// A software switch on a thread of its own, with its main loop running.
#pragma once

#include <functional>
#include <future>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "softswitch/soft_switch.h"

namespace softswitch {

class RunningSwitch {
public:
   // Returns once the loop is about to run; throws what the switch's constructor throws.
   explicit RunningSwitch(Options options) {
      options.log = [](std::string_view) {};
      std::promise<SoftSwitch*> made;
      auto ready = made.get_future();
      thread_ = std::thread([&made, given = std::move(options)]() mutable {
         try {
            SoftSwitch sw(std::move(given));
            made.set_value(&sw);
            sw.mainLoop();
         } catch (...) {
            made.set_exception(std::current_exception());
         }
      });
      try {
         switch_ = ready.get();
      } catch (...) {
         thread_.join();
         throw;
      }
   }
   ~RunningSwitch() {
      switch_->stop();
      thread_.join();
   }
   RunningSwitch(const RunningSwitch&) = delete;
   RunningSwitch& operator=(const RunningSwitch&) = delete;

   SoftSwitch& operator*() { return *switch_; }
   SoftSwitch* operator->() { return switch_; }

private:
   SoftSwitch* switch_ = nullptr;
   std::thread thread_;
};

}  // namespace softswitch
