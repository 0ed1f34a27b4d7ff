#include "testing/process/Console.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <system_error>

namespace orvtest {

namespace {

std::size_t lengthOf(std::string_view line, std::string_view word) {
   std::size_t length = 0;
   const auto digits = line.substr(word.size());
   const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
   if (error != std::errc() || end != digits.data() + digits.size()) {
      throw std::runtime_error("console answered '" + std::string(line) + "', expected a length");
   }
   return length;
}

}  // namespace

Console::Console(const std::string& socketPath) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (socketPath.size() >= sizeof address.sun_path) {
      throw std::runtime_error("socket path too long: " + socketPath);
   }
   std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
   fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
   if (fd_ < 0 || ::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
      const int error = errno;
      if (fd_ >= 0) ::close(fd_);
      throw std::system_error(error, std::generic_category(), "console " + socketPath);
   }
}

Console::~Console() {
   ::close(fd_);
}

std::string Console::run(std::string_view command) {
   const std::string line = std::string(command) + "\n";
   for (std::size_t sent = 0; sent < line.size();) {
      const auto count = ::send(fd_, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) throw std::system_error(errno, std::generic_category(), "console send");
      sent += static_cast<std::size_t>(count);
   }
   std::string text;
   for (;;) {
      const auto head = readLine();
      if (head == "OK") return text;
      if (head.starts_with("OUT ")) {
         text += readBytes(lengthOf(head, "OUT "));
      } else if (head.starts_with("ERR ")) {
         throw ConsoleError(readBytes(lengthOf(head, "ERR ")));
      } else {
         throw std::runtime_error("console answered '" + head + "'");
      }
   }
}

std::string Console::readLine() {
   for (std::size_t scanned = 0;;) {
      const auto end = buffer_.find('\n', consumed_ + scanned);
      if (end != std::string::npos) {
         auto line = buffer_.substr(consumed_, end - consumed_);
         consumed_ = end + 1;
         return line;
      }
      scanned = buffer_.size() - consumed_;
      fill();
   }
}

std::string Console::readBytes(std::size_t count) {
   while (buffer_.size() - consumed_ < count)
      fill();
   auto bytes = buffer_.substr(consumed_, count);
   consumed_ += count;
   return bytes;
}

void Console::fill() {
   if (consumed_ > 0) {
      buffer_.erase(0, consumed_);
      consumed_ = 0;
   }
   char chunk[65536];
   const auto count = ::read(fd_, chunk, sizeof chunk);
   if (count < 0 && errno == EINTR) return;
   if (count < 0) throw std::system_error(errno, std::generic_category(), "console read");
   if (count == 0) throw std::runtime_error("console closed the connection");
   buffer_.append(chunk, static_cast<std::size_t>(count));
}

}  // namespace orvtest
