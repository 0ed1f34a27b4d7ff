#include "orvctl/StopSignal.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace orvctl {
namespace {

// Increments of the eventfd's counter: signals in the low half, the end of the object in the high half.
constexpr uint64_t kSignal = 1;
constexpr uint64_t kEnd = uint64_t{1} << 32;

std::atomic<int> signalledEvent{-1};

extern "C" void orvctlOnStopSignal(int) {
   const int before = errno;
   [[maybe_unused]] const auto written = ::write(signalledEvent.load(), &kSignal, sizeof kSignal);
   errno = before;
}

}  // namespace

StopSignal::StopSignal(std::function<void()> onSignal) : event_(::eventfd(0, EFD_CLOEXEC)) {
   if (event_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
   thread_ = std::thread([this, onSignal = std::move(onSignal)] {
      for (;;) {
         uint64_t happened = 0;
         if (::read(event_, &happened, sizeof happened) != sizeof happened) continue;
         if (happened % kEnd != 0) onSignal();
         if (happened >= kEnd) return;
      }
   });
   signalledEvent = event_;
   struct sigaction action {};
   action.sa_handler = orvctlOnStopSignal;
   action.sa_flags = SA_RESTART;
   ::sigaction(SIGINT, &action, &beforeInt_);
   ::sigaction(SIGTERM, &action, &beforeTerm_);
}

StopSignal::~StopSignal() {
   ::sigaction(SIGINT, &beforeInt_, nullptr);
   ::sigaction(SIGTERM, &beforeTerm_, nullptr);
   signalledEvent = -1;
   [[maybe_unused]] const auto written = ::write(event_, &kEnd, sizeof kEnd);
   thread_.join();
   ::close(event_);
}

}  // namespace orvctl
