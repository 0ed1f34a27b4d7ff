#include "ServiceManager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace orvsdkrpcd::test {

ServiceManager::ServiceManager(const std::string& path) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (path.size() >= sizeof(address.sun_path)) {
      throw std::system_error(ENAMETOOLONG, std::generic_category(), path);
   }
   std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
   fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
   if (bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
      throw std::system_error(errno, std::generic_category(), path);
   }
   setenv("NOTIFY_SOCKET", path.c_str(), 1);
   const timeval patience{.tv_sec = 60, .tv_usec = 0};
   setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
}

ServiceManager::~ServiceManager() {
   unsetenv("NOTIFY_SOCKET");
   close(fd_);
}

std::string ServiceManager::next() {
   const std::string text = receive(0);
   return text.empty() ? "nothing within a minute" : text;
}

std::vector<std::string> ServiceManager::rest() {
   std::vector<std::string> messages;
   for (std::string text = receive(MSG_DONTWAIT); !text.empty(); text = receive(MSG_DONTWAIT))
      messages.push_back(text);
   return messages;
}

std::string ServiceManager::receive(int flags) {
   std::array<char, 64> text{};
   const ssize_t count = recv(fd_, text.data(), text.size(), flags);
   return count < 0 ? std::string() : std::string(text.data(), static_cast<size_t>(count));
}

}  // namespace orvsdkrpcd::test
