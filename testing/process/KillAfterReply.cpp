// A library for LD_PRELOAD. It kills the process directly after the first reply that it sends, in the thread
// that sent it, before that thread does anything else. The process then does nothing after what the client
// has received.
//
// Inactive until the file that ORV_KILL_AFTER_REPLY names exists.
//
// Thread-safe.
#include <dlfcn.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

bool armed() {
   static const char* const file = std::getenv("ORV_KILL_AFTER_REPLY");
   return file != nullptr && ::access(file, F_OK) == 0;
}

// Reads the parts of a message byte by byte.
class Bytes {
public:
   explicit Bytes(const msghdr& message) : message_(message) {}

   bool skip(std::size_t count) {
      while (count > 0) {
         if (!available()) return false;
         const auto step = std::min(count, message_.msg_iov[part_].iov_len - at_);
         at_ += step;
         count -= step;
      }
      return true;
   }
   bool read(std::uint8_t& byte) {
      if (!available()) return false;
      byte = static_cast<const std::uint8_t*>(message_.msg_iov[part_].iov_base)[at_++];
      return true;
   }

private:
   bool available() {
      while (part_ < message_.msg_iovlen && at_ == message_.msg_iov[part_].iov_len) {
         ++part_;
         at_ = 0;
      }
      return part_ < message_.msg_iovlen;
   }

   const msghdr& message_;
   std::size_t part_ = 0;
   std::size_t at_ = 0;
};

// Whether the HTTP/2 frames end a call: a server sets END_STREAM on HEADERS only in trailers (RFC 7540, 8.1).
// A send begins at a frame, since every earlier one was sent completely.
bool endsCall(const msghdr& message) {
   constexpr std::uint8_t headers = 1;
   constexpr std::uint8_t endStream = 1;
   Bytes bytes(message);
   for (;;) {
      std::array<std::uint8_t, 9> frame{};
      for (auto& byte : frame) {
         if (!bytes.read(byte)) return false;
      }
      if (frame[3] == headers && (frame[4] & endStream) != 0) return true;
      if (!bytes.skip(static_cast<std::size_t>(frame[0]) << 16 | static_cast<std::size_t>(frame[1]) << 8 |
                      frame[2])) {
         return false;
      }
   }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) ssize_t sendmsg(int socket, const msghdr* message,
                                                                  int flags) {
   using Send = ssize_t (*)(int, const msghdr*, int);
   static const auto send = reinterpret_cast<Send>(::dlsym(RTLD_NEXT, "sendmsg"));
   const bool last = armed() && endsCall(*message);
   const ssize_t sent = send(socket, message, flags);
   if (last && sent >= 0) ::kill(::getpid(), SIGKILL);
   return sent;
}
