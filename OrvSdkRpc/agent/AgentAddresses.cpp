// Detects addresses in use, and manages the lock file beside a unix socket.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "OrvSdkRpc/agent/Agent.h"
#include "OrvSdkRpc/server/AgentTrace.h"
#include "OrvSdkRpc/server/Assert.h"
#include "OrvSdkRpc/server/ScopedNamespace.h"

namespace OrvSdkRpc {

bool Agent::addressInUse(const std::string& address, const std::string& vrf) {
   const std::size_t colon = address.find(':');
   const std::string scheme = address.substr(0, colon);
   // An abstract socket has no file to lock.
   if (scheme == "unix-abstract") return false;
   if (scheme == "unix") return unixAddressInUse(address);
   const std::string port = colon == std::string::npos ? std::string() : address.substr(colon + 1);
   return ipAddressInUse(scheme, static_cast<std::uint16_t>(std::stoi(port) & 0xffff), vrf);
}

bool Agent::ipAddressInUse(const std::string& host, std::uint16_t port, const std::string& vrf) {
   const ScopedNamespace inside(vrf);
   const int socketDesc = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
   const int on = 1;
   const int sockOpt = setsockopt(socketDesc, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
   assertThat(sockOpt == 0, "sockOpt == 0");
   sockaddr_in name{};
   name.sin_family = AF_INET;
   name.sin_addr.s_addr = inet_addr(host.c_str());
   name.sin_port = htons(port);
   assertThat(socketDesc != -1, "socketDesc != -1");
   const bool inUse =
        bind(socketDesc, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0 && errno == EADDRINUSE;
   close(socketDesc);
   return inUse;
}

bool Agent::unixAddressInUse(const std::string& address) {
   constexpr std::size_t prefixLength = std::string_view("unix://").size();
   std::string unixPath = address.substr(prefixLength);
   assertThat(!unixPath.empty(), "!unixPath.empty()");
   if (unixPath.front() != '/') unixPath.insert(0, 1, '/');
   unixSockPath_ = std::move(unixPath);
   if (!getUnixSockLock()) {
      // Another process owns both files: the shutdown must not remove them.
      unixSockPath_.clear();
      return true;
   }
   if (unlink(unixSockPath_.c_str()) != 0 && errno == ENOENT) return false;
   orv::fmttrace(agentTracer(), 0, "Stale socket file {}, or error removing", unixSockPath_);
   return false;
}

bool Agent::getUnixSockLock() {
   unixLockPath_ = fmt::format("{}.lock", unixSockPath_);
   // O_NOFOLLOW: a symbolic link planted in the directory could make us overwrite any file.
   const int fd = open(unixLockPath_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0644);
   // A failed open() returns -1; flock(-1) below then fails too.
   if (fd == 0) {
      orv::fmttrace(agentTracer(), 0, "Failed to obtain lock fd ");
      return false;
   }
   if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
      FILE* const stream = fdopen(fd, "r");
      if (stream == nullptr) {
         orv::fmttrace(agentTracer(), 0, "Failed to open steam for lockfile(r) {} ", unixLockPath_);
         close(fd);
         return false;
      }
      char* line = nullptr;
      std::size_t size = 0;
      const ssize_t length = getline(&line, &size, stream);
      orv::fmttrace(agentTracer(), 0, "Socket in use by {} ", length < 2 ? "unknown process" : line);
      free(line);
      // fclose also closes fd. A second close() could hit a descriptor that another thread has just opened.
      fclose(stream);
      return false;
   }
   FILE* const stream = fdopen(fd, "w");
   if (stream == nullptr) {
      orv::fmttrace(agentTracer(), 0, "Failed to open stream for lockfile (w): {} ", unixLockPath_);
      close(fd);
      return false;
   }
   // The previous owner's content may be longer than our process id.
   if (ftruncate(fd, 0) != 0 || fprintf(stream, "%d\n", static_cast<int>(getpid())) < 0 ||
       fflush(stream) != 0) {
      orv::fmttrace(agentTracer(), 0, "Error writing pid to lockfile");
   }
   // The stream stays open: closing its descriptor would release the lock.
   return true;
}

void Agent::unlockUnixSocket() {
   if (unixSockPath_.empty()) return;
   unlink(unixSockPath_.c_str());
   unlink(unixLockPath_.c_str());
   // From here on, files at these paths belong to another process.
   unixSockPath_.clear();
}

}  // namespace OrvSdkRpc
