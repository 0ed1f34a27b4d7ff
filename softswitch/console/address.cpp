#include "softswitch/console/address.h"

#include <fmt/format.h>
#include <sys/un.h>

#include <charconv>
#include <stdexcept>

namespace softswitch::console {
namespace {

constexpr std::size_t maxPath = sizeof(sockaddr_un::sun_path) - 1;

[[noreturn]] void refuse(std::string_view text, std::string_view expected) {
   throw std::invalid_argument(fmt::format("console address '{}': expected {}", text, expected));
}

}  // namespace

std::string Address::text() const {
   if (isUnix()) return "unix:" + path;
   return host.find(':') == std::string::npos ? fmt::format("{}:{}", host, port)
                                              : fmt::format("[{}]:{}", host, port);
}

Address Address::parse(std::string_view text) {
   constexpr std::string_view forms = "unix:PATH or HOST:PORT";
   if (text.find('\0') != std::string_view::npos) refuse("(with a zero byte)", forms);
   Address result;
   if (text.starts_with("unix:")) {
      const auto path = text.substr(5);
      if (path.empty()) refuse(text, "a path after unix:");
      if (path.size() > maxPath) refuse(text, fmt::format("a path of at most {} bytes", maxPath));
      result.path = path;
      return result;
   }
   const auto colon = text.rfind(':');
   if (colon == std::string_view::npos) refuse(text, forms);
   auto host = text.substr(0, colon);
   if (host.starts_with('[') && host.ends_with(']')) {
      host = host.substr(1, host.size() - 2);
   } else if (host.find(':') != std::string_view::npos) {
      refuse(text, "an IPv6 address in brackets, as in [::1]:PORT");
   }
   if (host.empty()) refuse(text, "a host before the port, as in 127.0.0.1:PORT");
   const auto port = text.substr(colon + 1);
   const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), result.port);
   if (error != std::errc{} || end != port.data() + port.size())
      refuse(text, "a port from 0 to 65535 after the host");
   result.host = host;
   return result;
}

}  // namespace softswitch::console
