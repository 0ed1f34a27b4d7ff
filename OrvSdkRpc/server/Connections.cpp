#include "OrvSdkRpc/server/Connections.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

namespace OrvSdkRpc {
namespace {

// Where a socket is bound: the path or abstract name of a unix socket, or the port of another.
struct Place {
   std::string name = {};
   std::uint16_t port = 0;

   bool operator==(const Place&) const = default;
};

std::optional<std::string_view> after(std::string_view text, std::string_view prefix) {
   if (!text.starts_with(prefix)) return std::nullopt;
   return text.substr(prefix.size());
}

// gRPC binds the path of "unix:///run/x" with all its slashes.
std::string path(std::string_view text) {
   while (text.starts_with("//"))
      text.remove_prefix(1);
   return std::string(text);
}

Place placeOf(std::string_view address) {
   if (const auto name = after(address, "unix-abstract:")) {
      // The kernel shows an abstract name with a zero byte in front, unix(7).
      return {.name = std::string(1, '\0').append(*name)};
   }
   if (const auto name = after(address, "unix:")) return {.name = path(*name)};
   Place place;
   const std::string_view digits = address.substr(address.rfind(':') + 1);
   std::from_chars(digits.data(), digits.data() + digits.size(), place.port);
   return place;
}

Place placeOf(int socket) {
   sockaddr_storage storage{};
   socklen_t length = sizeof(storage);
   if (getsockname(socket, reinterpret_cast<sockaddr*>(&storage), &length) != 0) return {};
   if (storage.ss_family == AF_INET) return {.port = ntohs(reinterpret_cast<sockaddr_in&>(storage).sin_port)};
   if (storage.ss_family == AF_INET6) {
      return {.port = ntohs(reinterpret_cast<sockaddr_in6&>(storage).sin6_port)};
   }
   if (storage.ss_family != AF_UNIX || length <= offsetof(sockaddr_un, sun_path)) return {};
   const char* const name = reinterpret_cast<sockaddr_un&>(storage).sun_path;
   const std::size_t size = length - offsetof(sockaddr_un, sun_path);
   // A path ends with a zero byte, an abstract name with its length.
   return {.name = name[0] == '\0' ? std::string(name, size) : path(name)};
}

bool isConnection(int socket) {
   int listening = 0;
   socklen_t length = sizeof(listening);
   return getsockopt(socket, SOL_SOCKET, SO_ACCEPTCONN, &listening, &length) == 0 && listening == 0;
}

}  // namespace

void shutDownConnections(const std::vector<std::string>& addresses) {
   std::vector<Place> places;
   for (const std::string& address : addresses)
      places.push_back(placeOf(address));
   std::erase(places, Place());
   std::error_code ignored;
   for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored)) {
      const std::string number = entry.path().filename();
      int fd = -1;
      std::from_chars(number.data(), number.data() + number.size(), fd);
      // Of its own, so that it stays the same socket between the look at it and its end.
      const int held = fcntl(fd, F_DUPFD_CLOEXEC, 0);
      if (held < 0) continue;
      if (isConnection(held) && std::find(places.begin(), places.end(), placeOf(held)) != places.end()) {
         shutdown(held, SHUT_RDWR);
      }
      close(held);
   }
}

}  // namespace OrvSdkRpc
