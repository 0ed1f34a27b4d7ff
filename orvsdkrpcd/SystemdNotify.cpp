#include "orvsdkrpcd/SystemdNotify.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace orvsdkrpcd {

void notifyServiceManager(std::string_view state) noexcept {
   const char* const name = std::getenv("NOTIFY_SOCKET");
   if (!name || (name[0] != '/' && name[0] != '@')) return;
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   const size_t length = std::strlen(name);
   if (length >= sizeof(address.sun_path)) return;
   std::memcpy(address.sun_path, name, length);
   // "@" stands for the zero byte in front of an abstract name.
   if (name[0] == '@') address.sun_path[0] = '\0';
   const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
   if (fd < 0) return;
   sendto(fd, state.data(), state.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
          static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length));
   close(fd);
}

void ServiceStatus::ready() noexcept {
   const std::lock_guard lock(mutex_);
   if (!stopping_) notifyServiceManager("READY=1");
}

void ServiceStatus::stopping() noexcept {
   const std::lock_guard lock(mutex_);
   if (!stopping_) notifyServiceManager("STOPPING=1");
   stopping_ = true;
}

}  // namespace orvsdkrpcd
