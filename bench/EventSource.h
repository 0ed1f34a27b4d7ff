// Events without a switch behind them: calls the services' callbacks from the main loop, as the SDK does, as
// fast as the streams take them, and measures what that costs.
//
// Thread-safety: as Pavo::Task; RatesSource::written may be called by any thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "OrvSdkRpc/mirror/AgentService.h"
#include "platform/gorm/PavoTask.h"

namespace bench {

// Changes of one option, to every watcher. Streams never run dry and never overflow.
class OptionSource final : public Pavo::TimerTask {
public:
   OptionSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, OrvSdkRpc::AgentService& service);

private:
   void taskExecute() override;

   OrvSdkRpc::AgentService& service_;
};

// One change per millisecond into streams that are idle; its value is when it was made, in nanoseconds of the
// monotonic clock.
class ClockSource final : public Pavo::TimerTask {
public:
   ClockSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, OrvSdkRpc::AgentService& service);

private:
   void taskExecute() override;

   OrvSdkRpc::AgentService& service_;
};

// Rates of `interfaces` interfaces in turn; never twice for one that still waits.
class RatesSource final : public Pavo::TimerTask {
public:
   RatesSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, OrvSdkRpc::IntfTrafficRatesWatcher& watcher,
               std::size_t interfaces);

   // So many entries have been written to the stream.
   void written(std::uint64_t entries) { written_ += entries; }

private:
   void taskExecute() override;

   OrvSdkRpc::IntfTrafficRatesWatcher& watcher_;
   std::vector<Lumic::IntfId> interfaces_;
   std::atomic<std::uint64_t> written_{0};
   std::uint64_t published_ = 0;
   bool watched_ = false;
};

// What publish costs per event and watcher, once `watchers` streams are there. Ends the process.
class PublishMeter final : public Pavo::TimerTask {
public:
   struct Options {
      std::size_t watchers;
      // Idle streams, which take each event at once, or ones whose client does not read, which queue it.
      bool idle;
      std::string resultFile;
   };
   PublishMeter(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, OrvSdkRpc::AgentService& service,
                Options options);

private:
   void taskExecute() override;
   void measureQueued();
   void measureIdle();
   [[noreturn]] void end() const;

   OrvSdkRpc::AgentService& service_;
   const Options options_;
   bool blocked_ = false;
   // Nanoseconds per event and watcher.
   std::vector<double> samples_;
   // Memory that one more event takes on all streams together.
   double bytesPerEvent_ = 0;
};

}  // namespace bench
