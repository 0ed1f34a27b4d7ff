#include "OrvSdkRpc/server/Connections.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>
#include <thread>

namespace OrvSdkRpc {
namespace {

// An IPv6 address, or an IPv4 address mapped to IPv6 (RFC 4291 section 2.5.5.2), as a dual-stack socket
// reports it.
using Host = std::array<std::uint8_t, 16>;

constexpr Host anyIpv4{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
constexpr Host anyIpv6{};

Host mapped(const in_addr& address) {
   Host host = anyIpv4;
   std::memcpy(host.data() + 12, &address, sizeof(address));
   return host;
}

Host bytesOf(const in6_addr& address) {
   Host host{};
   std::memcpy(host.data(), &address, sizeof(address));
   return host;
}

// The local address of a socket: the path or abstract name of a unix socket, or the port and host of an IP
// socket.
struct Place {
   std::string name = {};
   std::uint16_t port = 0;
   // Empty for a wildcard address.
   std::optional<Host> host = {};

   bool known() const { return !name.empty() || port != 0; }
   // Whether a connection with the local address `other` may have been accepted here.
   bool covers(const Place& other) const {
      return name == other.name && port == other.port && (!host || host == other.host);
   }
};

std::optional<std::string_view> after(std::string_view text, std::string_view prefix) {
   if (!text.starts_with(prefix)) return std::nullopt;
   return text.substr(prefix.size());
}

// gRPC binds the path of "unix:///run/x" with all its slashes; this drops the extra leading ones.
std::string path(std::string_view text) {
   while (text.starts_with("//"))
      text.remove_prefix(1);
   return std::string(text);
}

// A host name may resolve to any address, so it counts as a wildcard.
std::optional<Host> hostOf(std::string_view text) {
   if (text.starts_with('[') && text.ends_with(']')) text = text.substr(1, text.size() - 2);
   const std::string digits(text);
   in_addr ipv4{};
   in6_addr ipv6{};
   std::optional<Host> host;
   if (inet_pton(AF_INET, digits.c_str(), &ipv4) == 1) host = mapped(ipv4);
   if (inet_pton(AF_INET6, digits.c_str(), &ipv6) == 1) host = bytesOf(ipv6);
   // gRPC listens on both families for either wildcard.
   if (host == anyIpv4 || host == anyIpv6) host.reset();
   return host;
}

Place placeOf(std::string_view address) {
   if (const auto name = after(address, "unix-abstract:")) {
      // The kernel reports an abstract name with a leading zero byte; see unix(7).
      return {.name = std::string(1, '\0').append(*name)};
   }
   if (const auto name = after(address, "unix:")) return {.name = path(*name)};
   Place place;
   const std::size_t colon = address.rfind(':');
   const std::string_view digits = address.substr(colon + 1);
   std::from_chars(digits.data(), digits.data() + digits.size(), place.port);
   if (colon != std::string_view::npos) place.host = hostOf(address.substr(0, colon));
   return place;
}

Place placeOf(int socket) {
   sockaddr_storage storage{};
   socklen_t length = sizeof(storage);
   if (getsockname(socket, reinterpret_cast<sockaddr*>(&storage), &length) != 0) return {};
   if (storage.ss_family == AF_INET) {
      const auto& ipv4 = reinterpret_cast<const sockaddr_in&>(storage);
      return {.port = ntohs(ipv4.sin_port), .host = mapped(ipv4.sin_addr)};
   }
   if (storage.ss_family == AF_INET6) {
      const auto& ipv6 = reinterpret_cast<const sockaddr_in6&>(storage);
      return {.port = ntohs(ipv6.sin6_port), .host = bytesOf(ipv6.sin6_addr)};
   }
   if (storage.ss_family != AF_UNIX || length <= offsetof(sockaddr_un, sun_path)) return {};
   const char* const name = reinterpret_cast<sockaddr_un&>(storage).sun_path;
   const std::size_t size = length - offsetof(sockaddr_un, sun_path);
   // A zero byte ends a path; an abstract name has no terminator.
   return {.name = name[0] == '\0' ? std::string(name, size) : path(name)};
}

// False for a socket that listens or is only bound.
bool isConnection(int socket) {
   sockaddr_storage peer{};
   socklen_t length = sizeof(peer);
   return getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &length) == 0;
}

std::vector<int> openDescriptors() {
   std::vector<int> descriptors;
   std::error_code ignored;
   for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored)) {
      const std::string number = entry.path().filename();
      int fd = -1;
      const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), fd);
      if (error == std::errc()) descriptors.push_back(fd);
   }
   return descriptors;
}

}  // namespace

void shutDownConnections(const std::vector<std::string>& addresses) {
   std::vector<Place> places;
   for (const std::string& address : addresses)
      places.push_back(placeOf(address));
   std::erase_if(places, [](const Place& place) { return !place.known(); });
   const std::vector<int> descriptors = openDescriptors();
   std::thread([&] {
      // Gives this thread a private copy of the descriptor table. Other threads open and close descriptors
      // meanwhile; in the copy, a number names the same socket from the check to the shutdown. The copy is
      // closed when the thread ends; that releases no record locks, which belong to the process's own table.
      // If unshare fails, for instance because of a seccomp filter, the loop uses the shared table.
      unshare(CLONE_FILES);
      for (const int fd : descriptors) {
         if (!isConnection(fd)) continue;
         const Place local = placeOf(fd);
         if (std::any_of(places.begin(), places.end(), [&](const Place& p) { return p.covers(local); })) {
            shutdown(fd, SHUT_RDWR);
         }
      }
   }).join();
}

}  // namespace OrvSdkRpc
