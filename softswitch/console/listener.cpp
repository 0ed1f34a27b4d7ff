#include "softswitch/console/listener.h"

#include <fmt/format.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace softswitch::console {
namespace {

constexpr mode_t socketMode = 0660;

sockaddr_un unixAddress(const std::string& path) {
   sockaddr_un result{};
   result.sun_family = AF_UNIX;
   path.copy(result.sun_path, sizeof(result.sun_path) - 1);
   return result;
}

// Whether a process accepts connections on the socket file.
bool answers(const std::string& path) {
   const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
   if (fd < 0) return true;
   const auto address = unixAddress(path);
   const int result = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
   // A full backlog (EAGAIN) or missing permission also means a living owner.
   const bool dead = result != 0 && (errno == ECONNREFUSED || errno == ENOENT);
   ::close(fd);
   return !dead;
}

}  // namespace

Listener::Listener(Address address) : address_(std::move(address)) {
   try {
      if (address_.isUnix()) {
         listenUnix();
      } else {
         listenTcp();
      }
   } catch (...) {
      if (fd_ >= 0) ::close(fd_);
      throw;
   }
}

Listener::~Listener() {
   ::close(fd_);
   struct stat file {};
   if (address_.isUnix() && ::lstat(address_.path.c_str(), &file) == 0 && file.st_dev == fileDevice_ &&
       file.st_ino == fileInode_) {
      ::unlink(address_.path.c_str());
   }
}

void Listener::listenUnix() {
   const char* path = address_.path.c_str();
   struct stat file {};
   if (::lstat(path, &file) == 0) {
      if (!S_ISSOCK(file.st_mode)) refuse("the file exists and is not a socket");
      if (answers(address_.path)) refuse("another process listens there");
      if (::unlink(path) != 0)
         refuse(fmt::format("cannot remove the stale socket: {}", std::strerror(errno)));
   }
   fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
   if (fd_ < 0) refuse(std::strerror(errno));
   // The file takes the socket's mode less the umask, so its mode is never wider than wanted.
   ::fchmod(fd_, socketMode);
   const auto socketAddress = unixAddress(address_.path);
   bindAndListen(&socketAddress, sizeof(socketAddress));
   ::chmod(path, socketMode);
   if (::lstat(path, &file) == 0) {
      fileDevice_ = file.st_dev;
      fileInode_ = file.st_ino;
   }
}

void Listener::listenTcp() {
   addrinfo hints{};
   hints.ai_family = AF_UNSPEC;
   hints.ai_socktype = SOCK_STREAM;
   hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
   addrinfo* found = nullptr;
   const auto port = std::to_string(address_.port);
   if (const int error = ::getaddrinfo(address_.host.c_str(), port.c_str(), &hints, &found); error != 0) {
      refuse(fmt::format("cannot resolve the host: {}", ::gai_strerror(error)));
   }
   const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
   fd_ = ::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
   if (fd_ < 0) refuse(std::strerror(errno));
   // Lingering connections of an earlier process must not keep a restart from listening.
   const int on = 1;
   ::setsockopt(fd_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
   bindAndListen(found->ai_addr, found->ai_addrlen);

   sockaddr_storage bound{};
   socklen_t length = sizeof(bound);
   ::getsockname(fd_, reinterpret_cast<sockaddr*>(&bound), &length);
   address_.port = ntohs(bound.ss_family == AF_INET6 ? reinterpret_cast<sockaddr_in6&>(bound).sin6_port
                                                     : reinterpret_cast<sockaddr_in&>(bound).sin_port);
}

void Listener::bindAndListen(const void* socketAddress, socklen_t length) {
   if (::bind(fd_, static_cast<const sockaddr*>(socketAddress), length) != 0) refuse(std::strerror(errno));
   if (::listen(fd_, 16) != 0) refuse(std::strerror(errno));
}

void Listener::refuse(std::string_view reason) const {
   throw std::runtime_error(fmt::format("console address '{}': {}", address_.text(), reason));
}

}  // namespace softswitch::console
