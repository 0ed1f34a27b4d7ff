// A TCP port of the loopback address, for the tests that need a peer that is not on a unix socket.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <system_error>

namespace orvtest {

// "127.0.0.1:N" with a port that is free at this moment.
inline std::string freeLoopbackAddress() {
   const int fd = socket(AF_INET, SOCK_STREAM, 0);
   sockaddr_in name{};
   name.sin_family = AF_INET;
   name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   socklen_t size = sizeof name;
   const bool known = bind(fd, reinterpret_cast<sockaddr*>(&name), size) == 0 &&
                      getsockname(fd, reinterpret_cast<sockaddr*>(&name), &size) == 0;
   const int error = errno;
   close(fd);
   if (!known) throw std::system_error(error, std::generic_category(), "no free port");
   return "127.0.0.1:" + std::to_string(ntohs(name.sin_port));
}

}  // namespace orvtest
