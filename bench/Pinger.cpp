#include "Pinger.h"

#include <chrono>
#include <fstream>
#include <stdexcept>

#include "zelt/Anchors.h"
#include "zelt/Clock.h"

namespace bench {

namespace {

// Between the end of a ping and the next: the pings shall measure the load, not be it.
constexpr auto pause = std::chrono::microseconds(500);

}  // namespace

Pinger::Pinger(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler) : Pavo::Task(scheduler, "ping") {}

Pinger::~Pinger() {
   stop();
}

void Pinger::start() {
   thread_ = std::thread([this] { run(); });
}

void Pinger::stop() {
   if (!thread_.joinable()) return;
   state_ = stopping;
   state_.notify_all();
   // The thread may be about to take the lock.
   const Zelt::UnlockAnchor unlock(Zelt::activityLock());
   thread_.join();
}

void Pinger::taskExecute() {
   std::uint32_t expected = asked;
   if (state_.compare_exchange_strong(expected, answered)) state_.notify_all();
}

void Pinger::run() {
   while (state_ != stopping) {
      const auto started = Zelt::Clock::steadyNanos();
      std::uint32_t expected = idle;
      if (!state_.compare_exchange_strong(expected, asked)) return;
      {
         const Zelt::ActivityLockAnchor lock;
         scheduleTask();
      }
      state_.wait(asked);
      const auto took = Zelt::Clock::steadyNanos() - started;
      expected = answered;
      if (!state_.compare_exchange_strong(expected, idle)) return;
      pings_.push_back({.startedNs = started, .tookNs = took});
      std::this_thread::sleep_for(pause);
   }
}

void Pinger::write(const std::string& path) const {
   std::ofstream file(path);
   for (const auto& ping : pings_)
      file << ping.startedNs << ' ' << ping.tookNs << '\n';
   file.close();
   if (!file) throw std::runtime_error("cannot write " + path);
}

}  // namespace bench
