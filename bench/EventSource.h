// Events without a switch: calls the services' callbacks from the main loop, as the SDK does, as fast as the
// streams accept them, and measures the cost.
//
// Thread-safety: as Pavo::Task; any thread may call BulkSource::written.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "OrvSdkRpc/mirror/AgentService.h"
#include "platform/gorm/PavoTask.h"
#include "platform/pavo/String.h"

namespace bench {

// RETURNS: the number of messages in the longest queue among these event streams.
std::size_t longestQueue(const std::vector<std::shared_ptr<OrvSdkRpc::RequestHandler>>& streams);

// Publishes changes of one option to every watcher, so that streams neither run dry nor overflow.
class OptionSource final : public Pavo::TimerTask {
public:
   OptionSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, OrvSdkRpc::AgentService& service);

private:
   void taskExecute() override;

   OrvSdkRpc::AgentService& service_;
};

// Publishes one change per millisecond to idle streams. Its value is its creation time in nanoseconds of the
// monotonic clock.
class ClockSource final : public Pavo::TimerTask {
public:
   ClockSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, OrvSdkRpc::AgentService& service);

private:
   void taskExecute() override;

   OrvSdkRpc::AgentService& service_;
};

// Publishes the values of `keys` keys in turn to the bulk streams of a service, but not of a key whose last
// value is still queued.
class BulkSource : public Pavo::TimerTask {
public:
   // Reports that `entries` more entries were written to the stream.
   void written(std::uint64_t entries) { written_ += entries; }

protected:
   BulkSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, Pavo::String name, std::size_t keys);

   [[nodiscard]] virtual bool watched() const = 0;
   // Publishes value number `n`, counted from 0, which belongs to key n % keys.
   virtual void publish(std::uint64_t n) = 0;

private:
   void taskExecute() final;

   const std::size_t keys_;
   std::atomic<std::uint64_t> written_{0};
   std::uint64_t published_ = 0;
   bool watchedBefore_ = false;
};

// Publishes the rates of `interfaces` interfaces.
class RatesSource final : public BulkSource {
public:
   RatesSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, OrvSdkRpc::IntfTrafficRatesWatcher& watcher,
               std::size_t interfaces);

private:
   [[nodiscard]] bool watched() const override { return watcher_.watching(); }
   void publish(std::uint64_t n) override;

   OrvSdkRpc::IntfTrafficRatesWatcher& watcher_;
   std::vector<Lumic::IntfId> interfaces_;
};

// Measures the cost of publish per event and watcher, once `watchers` streams are open. Ends the process.
class PublishMeter final : public Pavo::TimerTask {
public:
   struct Options {
      std::size_t watchers;
      // Idle streams, which write each event at once, instead of streams whose client does not read, which
      // queue it.
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
