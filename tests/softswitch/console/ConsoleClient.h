// A blocking console client for tests: sends bytes, reads answers.
#pragma once

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <arpa/inet.h>

#include <optional>
#include <string>
#include <string_view>

#include "softswitch/console/address.h"

namespace softswitch::console {

class ConsoleClient {
public:
   struct Answer {
      bool ok = false;
      std::string text;   // all OUT chunks
      std::string error;  // of ERR
      std::size_t longestChunk = 0;
   };

   explicit ConsoleClient(const Address& address) {
      if (address.isUnix()) {
         sockaddr_un to{};
         to.sun_family = AF_UNIX;
         address.path.copy(to.sun_path, sizeof(to.sun_path) - 1);
         connectTo(&to, sizeof(to), AF_UNIX);
      } else {
         sockaddr_in to{};
         to.sin_family = AF_INET;
         to.sin_port = htons(address.port);
         ::inet_pton(AF_INET, address.host.c_str(), &to.sin_addr);
         connectTo(&to, sizeof(to), AF_INET);
      }
   }
   ~ConsoleClient() { close(); }
   ConsoleClient(const ConsoleClient&) = delete;
   ConsoleClient& operator=(const ConsoleClient&) = delete;

   bool connected() const { return fd_ >= 0; }

   void close() {
      if (fd_ >= 0) ::close(fd_);
      fd_ = -1;
   }

   bool send(std::string_view bytes) {
      while (!bytes.empty()) {
         const auto sent = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
         if (sent < 0) return false;
         bytes.remove_prefix(static_cast<std::size_t>(sent));
      }
      return true;
   }

   void endInput() { ::shutdown(fd_, SHUT_WR); }

   // RETURNS: nothing at the end of the connection.
   std::optional<Answer> answer() {
      Answer result;
      while (true) {
         const auto head = line();
         if (!head) return std::nullopt;
         if (*head == "OK") {
            result.ok = true;
            return result;
         }
         const bool error = head->starts_with("ERR ");
         if (!error && !head->starts_with("OUT ")) {
            ADD_FAILURE() << "unexpected line '" << *head << "'";
            return std::nullopt;
         }
         const auto text = bytes(std::stoul(head->substr(4)));
         if (!text) return std::nullopt;
         if (error) {
            result.error = *text;
            return result;
         }
         result.longestChunk = std::max(result.longestChunk, text->size());
         result.text += *text;
      }
   }

   std::optional<Answer> run(std::string_view command) {
      send(std::string(command) + "\n");
      return answer();
   }

private:
   void connectTo(const void* to, socklen_t length, int family) {
      fd_ = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
      if (::connect(fd_, static_cast<const sockaddr*>(to), length) != 0) close();
   }

   bool more() {
      char block[16 * 1024];
      const auto got = ::recv(fd_, block, sizeof(block), 0);
      if (got <= 0) return false;
      buffer_.append(block, static_cast<std::size_t>(got));
      return true;
   }

   std::optional<std::string> line() {
      std::size_t end;
      while ((end = buffer_.find('\n')) == std::string::npos) {
         if (!more()) return std::nullopt;
      }
      auto result = buffer_.substr(0, end);
      buffer_.erase(0, end + 1);
      return result;
   }

   std::optional<std::string> bytes(std::size_t count) {
      while (buffer_.size() < count) {
         if (!more()) return std::nullopt;
      }
      auto result = buffer_.substr(0, count);
      buffer_.erase(0, count);
      return result;
   }

   int fd_ = -1;
   std::string buffer_;
};

}  // namespace softswitch::console
