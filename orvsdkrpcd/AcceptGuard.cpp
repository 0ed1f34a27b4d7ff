#include "orvsdkrpcd/AcceptGuard.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <mutex>

namespace orvsdkrpcd {
namespace {

constexpr time_t kSecondsBetweenLines = 10;

class Reserve {
public:
   void take() {
      const std::lock_guard lock(mutex_);
      guarding_ = true;
      refill();
   }

   // Called when accept4() on `listener` failed for lack of file descriptors. Sets errno to EAGAIN.
   // RETURNS: false, with errno unchanged, if the guard is not active.
   bool refuseWaiting(int listener) {
      const int error = errno;
      const std::lock_guard lock(mutex_);
      if (!guarding_) {
         errno = error;
         return false;
      }
      tell();
      if (fd_ >= 0) {
         close(fd_);
         fd_ = -1;
         for (;;) {
            const long client =
                 syscall(SYS_accept4, listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
            if (client < 0) break;
            close(static_cast<int>(client));
         }
      }
      refill();
      errno = EAGAIN;
      return true;
   }

private:
   void refill() {
      if (fd_ < 0) fd_ = open("/dev/null", O_RDONLY | O_CLOEXEC);
   }

   void tell() {
      timespec now{};
      clock_gettime(CLOCK_MONOTONIC, &now);
      if (told_ && now.tv_sec - told_ < kSecondsBetweenLines) return;
      told_ = now.tv_sec;
      std::fputs("orvsdkrpcd: no file descriptor left, refusing new clients\n", stderr);
   }

   std::mutex mutex_;
   bool guarding_ = false;
   int fd_ = -1;
   time_t told_ = 0;
};

Reserve& reserve() {
   static Reserve instance;
   return instance;
}

}  // namespace

void guardAccept() {
   reserve().take();
}

}  // namespace orvsdkrpcd

// Replaces the C library's accept4() for every caller in the process.
extern "C" int accept4(int listener, sockaddr* address, socklen_t* length, int flags) {
   const auto client = static_cast<int>(syscall(SYS_accept4, listener, address, length, flags));
   if (client < 0 && (errno == EMFILE || errno == ENFILE)) orvsdkrpcd::reserve().refuseWaiting(listener);
   return client;
}
