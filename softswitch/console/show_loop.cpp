#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/ActivityLock.h"
#include "platform/zelt/Clock.h"
#include "softswitch/console/rows.h"
#include "softswitch/console/show.h"

namespace softswitch::console {
namespace {

constexpr std::int64_t micros(std::int64_t nanos) {
   return nanos / Zelt::nanosPerMicro;
}

std::string_view toString(Gorm::RunState state) {
   switch (state) {
      case Gorm::RunState::idle:
         return "idle";
      case Gorm::RunState::waiting:
         return "waiting";
      case Gorm::RunState::pending:
         return "pending";
      case Gorm::RunState::running:
         return "running";
      case Gorm::RunState::retired:
         return "retired";
   }
   return "unknown";
}

}  // namespace

void showMainLoop(SoftSwitch&, Args& args, Document& document) {
   args.end();
   const auto& scheduler = *Gorm::TaskSchedulerRoot::findOrCreateScheduler();
   // Read first, so that it does not include this command's own wait.
   const Zelt::LockWaits waits = Zelt::activityLock().waits().read();
   std::vector<Json> tasks;
   const Gorm::LoopDelays delays = locked([&] {
      scheduler.forEachTask([&](const Gorm::Task& task) {
         tasks.push_back({{"name", task.name()},
                          {"priority", task.priority()},
                          {"state", toString(task.runState())},
                          {"runs", task.runCount()},
                          {"total_us", micros(task.runNanos())},
                          {"longest_us", micros(task.longestRunNanos())},
                          {"pending", task.workPending()}});
      });
      return scheduler.delays();
   });
   document.fields("main_loop", Json{{"longest_wake_us", micros(delays.longestWake)},
                                     {"longest_timer_delay_us", micros(delays.longestTimer)}});
   document.fields("activity_lock", Json{{"waits_handed_over", waits.handed},
                                         {"waits_found_free", waits.found},
                                         {"missed_hand_overs", waits.missed},
                                         {"longest_wait_us", micros(waits.longestNanos)}});
   document.listing("tasks", {{"Task", "name", 30},
                              {"Prio", "priority", 4},
                              {"State", "state", 7},
                              {"Runs", "runs", 10},
                              {"Total us", "total_us", 10},
                              {"Longest us", "longest_us", 10},
                              {"Pending", "pending"}});
   for (const Json& task : tasks)
      document.row(task);
}

}  // namespace softswitch::console
