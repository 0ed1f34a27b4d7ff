#include "orvsdkrpcd/StopSignals.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace orvsdkrpcd {

StopSignals::StopSignals() {
   sigset_t set;
   sigemptyset(&set);
   sigaddset(&set, SIGTERM);
   sigaddset(&set, SIGINT);
   pthread_sigmask(SIG_BLOCK, &set, nullptr);
   signalFd_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
   stopFd_ = eventfd(0, EFD_CLOEXEC);
   if (signalFd_ < 0 || stopFd_ < 0) {
      const int error = errno;
      if (signalFd_ >= 0) close(signalFd_);
      if (stopFd_ >= 0) close(stopFd_);
      throw std::system_error(error, std::generic_category(), "cannot wait for signals");
   }
}

StopSignals::~StopSignals() {
   stop();
   close(signalFd_);
   close(stopFd_);
}

void StopSignals::start(std::function<void(int)> onSignal) {
   onSignal_ = std::move(onSignal);
   thread_ = std::thread([this] { run(); });
}

void StopSignals::stop() {
   if (!thread_.joinable()) return;
   const uint64_t one = 1;
   // Adding one to this eventfd cannot fail.
   [[maybe_unused]] const ssize_t written = write(stopFd_, &one, sizeof(one));
   thread_.join();
}

void StopSignals::run() {
   std::array<pollfd, 2> fds{
        {{.fd = signalFd_, .events = POLLIN, .revents = 0}, {.fd = stopFd_, .events = POLLIN, .revents = 0}}};
   for (;;) {
      if (poll(fds.data(), fds.size(), -1) < 0 && errno != EINTR) return;
      if (fds[1].revents) return;
      signalfd_siginfo info{};
      while (read(signalFd_, &info, sizeof(info)) == sizeof(info))
         onSignal_(static_cast<int>(info.ssi_signo));
   }
}

}  // namespace orvsdkrpcd
