#include "orvctl/LineProtocol.h"

#include <fmt/format.h>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstring>

#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

// A header line is a word and a number.
constexpr size_t kLongestHeader = 64;
// A longer piece means that the peer is not a console.
constexpr size_t kLongestPiece = size_t{1} << 30;

int connectUnix(const Target& console) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   const bool abstractName = console.kind == Target::Kind::unixAbstract;
   std::memcpy(address.sun_path + (abstractName ? 1 : 0), console.name.data(),
               std::min(console.name.size(), sizeof(address.sun_path) - 1));
   const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + console.name.size() + 1);
   const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
   if (fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), length) == 0) return fd;
   const int error = errno;
   if (fd >= 0) close(fd);
   errno = error;
   return -1;
}

int connectTcp(const Target& console) {
   addrinfo hints{};
   hints.ai_socktype = SOCK_STREAM;
   addrinfo* found = nullptr;
   std::string host = console.name;
   if (host.starts_with('[')) host = host.substr(1, host.size() - 2);
   if (getaddrinfo(host.c_str(), console.port.c_str(), &hints, &found) != 0) {
      errno = EHOSTUNREACH;
      return -1;
   }
   int fd = -1;
   int error = 0;
   for (const addrinfo* each = found; each && fd < 0; each = each->ai_next) {
      fd = socket(each->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
      if (fd >= 0 && connect(fd, each->ai_addr, each->ai_addrlen) != 0) {
         error = errno;
         close(fd);
         fd = -1;
      }
   }
   freeaddrinfo(found);
   errno = error;
   return fd;
}

}  // namespace

ConsoleClient::ConsoleClient(const Target& console, double timeoutSeconds) : where_(console.text()) {
   fd_ = console.kind == Target::Kind::tcp ? connectTcp(console) : connectUnix(console);
   if (fd_ < 0) {
      throw CallError(fmt::format("console: cannot reach {}: {} (is the daemon running with --console {}?)",
                                  where_, std::strerror(errno), where_));
   }
   timeval wait{};
   wait.tv_sec = static_cast<time_t>(timeoutSeconds);
   wait.tv_usec = static_cast<suseconds_t>((timeoutSeconds - static_cast<double>(wait.tv_sec)) * 1e6);
   setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof(wait));
   setsockopt(fd_, SOL_SOCKET, SO_SNDTIMEO, &wait, sizeof(wait));
}

ConsoleClient::~ConsoleClient() {
   if (fd_ >= 0) close(fd_);
}

void ConsoleClient::fill() {
   std::array<char, 65536> piece;
   ssize_t count = 0;
   do {
      count = recv(fd_, piece.data(), piece.size(), 0);
   } while (count < 0 && errno == EINTR);
   if (count == 0) throw CallError(fmt::format("console: {} closed the connection", where_));
   if (count < 0) {
      const bool late = errno == EAGAIN || errno == EWOULDBLOCK;
      throw CallError(
           fmt::format("console: no answer from {}: {}", where_, late ? "timeout" : std::strerror(errno)));
   }
   buffer_.append(piece.data(), static_cast<size_t>(count));
}

std::string ConsoleClient::readLine() {
   for (;;) {
      const size_t end = buffer_.find('\n');
      if (end != std::string::npos && end <= kLongestHeader) {
         std::string line = buffer_.substr(0, end);
         buffer_.erase(0, end + 1);
         return line;
      }
      if (buffer_.size() > kLongestHeader)
         throw CallError(fmt::format("console: {} does not speak the console's protocol", where_));
      fill();
   }
}

std::string ConsoleClient::readBytes(size_t count) {
   while (buffer_.size() < count)
      fill();
   std::string bytes = buffer_.substr(0, count);
   buffer_.erase(0, count);
   return bytes;
}

ConsoleClient::Answer ConsoleClient::run(std::string_view command,
                                         const std::function<void(std::string_view)>& output) {
   const std::string line = std::string(command) + "\n";
   for (size_t sent = 0; sent < line.size();) {
      const ssize_t count = send(fd_, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0)
         throw CallError(fmt::format("console: cannot write to {}: {}", where_, std::strerror(errno)));
      sent += static_cast<size_t>(count);
   }
   for (;;) {
      const std::string header = readLine();
      if (header == "OK") return {.ok = true, .error = {}};
      const bool isOutput = header.starts_with("OUT ");
      size_t count = 0;
      const char* const last = header.data() + header.size();
      if ((!isOutput && !header.starts_with("ERR ")) ||
          std::from_chars(header.data() + 4, last, count).ptr != last || count > kLongestPiece) {
         throw CallError(
              fmt::format("console: {} does not speak the console's protocol: '{}'", where_, header));
      }
      const std::string bytes = readBytes(count);
      if (!isOutput) return {.ok = false, .error = bytes};
      output(bytes);
   }
}

}  // namespace orvctl
