// A software switch on a thread of its own, with its main loop running.
#pragma once

#include <functional>
#include <future>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "softswitch/soft_switch.h"

namespace orvtest {

class RunningSwitch {
public:
   // Returns once the main loop is about to run. THROWS: what the switch's constructor throws.
   explicit RunningSwitch(softswitch::Options options) {
      options.log = [](std::string_view) {};
      auto ready = made_.get_future();
      thread_ = std::thread([this, given = std::move(options)]() mutable {
         std::optional<softswitch::SoftSwitch> sw;
         try {
            sw.emplace(std::move(given));
         } catch (...) {
            made_.set_exception(std::current_exception());
            return;
         }
         made_.set_value(&*sw);
         sw->mainLoop();
         stopReturned_.get_future().wait();
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
      // The switch may be destroyed only now, since stop() has returned.
      stopReturned_.set_value();
      thread_.join();
   }
   RunningSwitch(const RunningSwitch&) = delete;
   RunningSwitch& operator=(const RunningSwitch&) = delete;

   softswitch::SoftSwitch& operator*() { return *switch_; }
   softswitch::SoftSwitch* operator->() { return switch_; }

private:
   softswitch::SoftSwitch* switch_ = nullptr;
   std::promise<softswitch::SoftSwitch*> made_;
   std::promise<void> stopReturned_;
   std::thread thread_;
};

}  // namespace orvtest
