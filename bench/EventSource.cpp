#include "EventSource.h"

#include <malloc.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "OrvSdkRpc/handlers/StreamingToolkit.h"
#include "orv/intf_id.h"
#include "platform/zelt/Clock.h"

namespace bench {
namespace {

constexpr std::int64_t microsecond = 1000;
constexpr std::int64_t millisecond = 1000 * microsecond;

std::vector<std::shared_ptr<OrvSdkRpc::RequestHandler>> watchersOf(OrvSdkRpc::AgentService& service) {
   return service.subscriptions().getHandlers();
}

std::int64_t threadCpuNanos() {
   timespec now{};
   ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
   return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

const std::string name = "bench-option";
const std::string value = "a value of some length";

}  // namespace

std::size_t longestQueue(const std::vector<std::shared_ptr<OrvSdkRpc::RequestHandler>>& streams) {
   std::size_t longest = 0;
   for (const auto& stream : streams)
      longest = std::max(longest, dynamic_cast<OrvSdkRpc::EventStream&>(*stream).queued());
   return longest;
}

OptionSource::OptionSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, OrvSdkRpc::AgentService& service)
     : TimerTask(scheduler, "option source"), service_(service) {
   scheduleTask();
}

void OptionSource::taskExecute() {
   const auto streams = watchersOf(service_);
   if (streams.empty()) {
      scheduleTaskLowestDelay(millisecond);
      return;
   }
   // Keeps the number of messages per run about the same, however many streams there are.
   const std::size_t burst = std::max<std::size_t>(2048 / streams.size(), 8);
   if (longestQueue(streams) > 2 * burst) {
      scheduleTaskLowestDelay(50 * microsecond);
      return;
   }
   for (std::size_t i = 0; i < burst; ++i)
      service_.on_agent_option(name, value);
   scheduleTask();
}

ClockSource::ClockSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, OrvSdkRpc::AgentService& service)
     : TimerTask(scheduler, "clock source"), service_(service) {
   scheduleTask();
}

void ClockSource::taskExecute() {
   scheduleTaskLowestDelay(millisecond);
   if (watchersOf(service_).empty()) return;
   service_.on_agent_option(name, std::to_string(Zelt::Clock::steadyNanos()));
}

BulkSource::BulkSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, Pavo::String sourceName,
                       std::size_t keys)
     : TimerTask(scheduler, std::move(sourceName)), keys_(keys) {
   scheduleTask();
}

void BulkSource::taskExecute() {
   if (!watched()) {
      watchedBefore_ = false;
      scheduleTaskLowestDelay(millisecond);
      return;
   }
   if (!watchedBefore_) {
      watchedBefore_ = true;
      published_ = written_;
   }
   constexpr std::uint64_t burst = 1000;
   if (published_ - written_ + burst > keys_) {
      scheduleTaskLowestDelay(50 * microsecond);
      return;
   }
   for (std::uint64_t i = 0; i < burst; ++i, ++published_)
      publish(published_);
   scheduleTask();
}

RatesSource::RatesSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler,
                         OrvSdkRpc::IntfTrafficRatesWatcher& watcher, std::size_t interfaces)
     : BulkSource(scheduler, "rates source", interfaces), watcher_(watcher) {
   for (std::size_t i = 1; i <= interfaces; ++i) {
      const std::string intf = "Ethernet" + std::to_string(i);
      interfaces_.emplace_back(intf);
      // The switch announces an interface before it publishes rates.
      orv::host::intf_name_known(intf);
   }
}

void RatesSource::publish(std::uint64_t n) {
   const auto rate = static_cast<double>(n + 1);
   watcher_.onTrafficRatesUpdate(interfaces_[n % interfaces_.size()], {.outPktsRate = rate,
                                                                       .inPktsRate = rate + 0.5,
                                                                       .outBitsRate = rate * 4096,
                                                                       .inBitsRate = rate * 4096 + 0.5,
                                                                       .sampleTime = 1.7e9 + rate});
}

PublishMeter::PublishMeter(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, OrvSdkRpc::AgentService& service,
                           Options options)
     : TimerTask(scheduler, "publish meter"), service_(service), options_(std::move(options)) {
   scheduleTask();
}

void PublishMeter::taskExecute() {
   const auto streams = watchersOf(service_);
   if (streams.size() < options_.watchers) {
      scheduleTaskLowestDelay(10 * millisecond);
   } else if (options_.idle) {
      measureIdle();
   } else if (!blocked_) {
      // More than a client that does not read can buffer, so that the write stays outstanding.
      blocked_ = true;
      service_.on_agent_option(name, std::string(std::size_t{16} << 20, 'x'));
      scheduleTaskLowestDelay(millisecond);
   } else if (longestQueue(streams) > 0) {
      scheduleTaskLowestDelay(10 * millisecond);
   } else {
      measureQueued();
   }
}

void PublishMeter::measureQueued() {
   constexpr std::size_t rounds = 40;
   constexpr std::size_t perRound = 2500;
   // The first round grows the queues, and is not counted.
   const auto round = [&] {
      const auto start = Zelt::Clock::steadyNanos();
      for (std::size_t i = 0; i < perRound; ++i)
         service_.on_agent_option(name, value);
      return static_cast<double>(Zelt::Clock::steadyNanos() - start) /
             static_cast<double>(perRound * options_.watchers);
   };
   round();
   const std::size_t before = ::mallinfo2().uordblks;
   samples_.reserve(rounds);
   for (std::size_t i = 0; i < rounds; ++i)
      samples_.push_back(round());
   bytesPerEvent_ =
        static_cast<double>(::mallinfo2().uordblks - before) / static_cast<double>(rounds * perRound);
   end();
}

void PublishMeter::measureIdle() {
   constexpr std::size_t wanted = 200;
   // CPU time, since the pump runs concurrently.
   const auto before = threadCpuNanos();
   service_.on_agent_option(name, value);
   samples_.push_back(static_cast<double>(threadCpuNanos() - before) /
                      static_cast<double>(options_.watchers));
   if (samples_.size() == wanted) end();
   scheduleTaskLowestDelay(10 * millisecond);
}

void PublishMeter::end() const {
   std::ofstream file(options_.resultFile);
   file << "{\"bytes_per_event\": " << bytesPerEvent_ << ", \"ns\": [";
   for (std::size_t i = 0; i < samples_.size(); ++i)
      file << (i ? ", " : "") << samples_[i];
   file << "]}\n";
   file.close();
   // An immediate exit, since the streams are still full.
   ::_exit(file ? 0 : 2);
}

}  // namespace bench
