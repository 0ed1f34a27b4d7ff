// Deferred calls, made from the main loop.
//
// A manager posts its notifications here. No handler is therefore called from inside the call that caused the
// event, or before that call's changes are committed.
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <deque>
#include <functional>

#include "platform/gorm/PavoTask.h"
#include "platform/gorm/TaskScheduler.h"

namespace softswitch {

class Callbacks final : public Pavo::Task {
public:
   explicit Callbacks(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler)
        : Pavo::Task(scheduler, "handler callbacks", Gorm::priorityNormal) {}

   // Calls `call` from the main loop, after everything that was posted before.
   void post(std::function<void()> call) {
      calls_.push_back(std::move(call));
      if (calls_.size() == 1) scheduleTask();
   }

protected:
   void taskExecute() override;

private:
   std::deque<std::function<void()>> calls_;
};

}  // namespace softswitch
