#include "orvctl/Target.h"

#include <fmt/format.h>
#include <sys/un.h>

#include <cctype>
#include <charconv>
#include <filesystem>

#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

constexpr size_t kMaxUnixName = sizeof(sockaddr_un::sun_path) - 1;

[[noreturn]] void refuse(std::string_view what, std::string_view text, std::string_view why = "") {
   throw UsageError(fmt::format("{} is '{}', expected unix:PATH, unix-abstract:NAME or HOST:PORT{}{}", what,
                                text, why.empty() ? "" : ": ", why));
}

Target unixTarget(std::string_view what, std::string_view text, std::string_view path) {
   if (path.empty()) refuse(what, text, "the path is empty");
   std::string absolute = std::filesystem::absolute(std::filesystem::path(path)).string();
   if (absolute.size() > kMaxUnixName) {
      refuse(what, text,
             fmt::format("the path has {} bytes, a unix socket's at most {}", absolute.size(), kMaxUnixName));
   }
   return {.kind = Target::Kind::unixPath, .name = std::move(absolute), .port = {}};
}

// gRPC parses targets as URIs, so characters that a URI's path does not allow are escaped.
std::string percentEncoded(std::string_view path) {
   std::string out;
   for (char c : path) {
      auto byte = static_cast<unsigned char>(c);
      if (std::isalnum(byte) || std::string_view("/-._~").find(c) != std::string_view::npos) {
         out += c;
      } else {
         out += fmt::format("%{:02X}", byte);
      }
   }
   return out;
}

}  // namespace

std::string Target::channelAddress() const {
   switch (kind) {
      case Kind::unixPath:
         return "unix:" + percentEncoded(name);
      case Kind::unixAbstract:
         return "unix-abstract:" + percentEncoded(name);
      case Kind::tcp:
         break;
   }
   return "dns:///" + name + ":" + port;
}

std::string Target::text() const {
   switch (kind) {
      case Kind::unixPath:
         return "unix:" + name;
      case Kind::unixAbstract:
         return "unix-abstract:" + name;
      case Kind::tcp:
         break;
   }
   return name + ":" + port;
}

Target parseTarget(std::string_view what, std::string_view text) {
   if (text.starts_with("/") || text.starts_with(".")) return unixTarget(what, text, text);
   if (text.starts_with("unix:")) {
      std::string_view path = text.substr(5);
      if (!path.starts_with("//")) return unixTarget(what, text, path);
      path.remove_prefix(2);
      while (path.starts_with("/"))
         path.remove_prefix(1);
      if (path.empty()) refuse(what, text, "the path is empty");
      return unixTarget(what, text, "/" + std::string(path));
   }
   if (text.starts_with("unix-abstract:")) {
      std::string_view name = text.substr(14);
      if (name.empty() || name.size() > kMaxUnixName) {
         refuse(what, text, fmt::format("the name must have 1 to {} bytes", kMaxUnixName));
      }
      return {.kind = Target::Kind::unixAbstract, .name = std::string(name), .port = {}};
   }
   const size_t colon = text.rfind(':');
   if (colon == std::string_view::npos || colon == 0) refuse(what, text);
   const std::string_view host = text.substr(0, colon);
   const std::string_view port = text.substr(colon + 1);
   const bool bracketed = host.starts_with('[') && host.ends_with(']') && host.size() > 2;
   if (!bracketed && host.find_first_of(":[]/") != std::string_view::npos) {
      refuse(what, text, "an IPv6 host must be in brackets");
   }
   unsigned number = 0;
   auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), number);
   if (error != std::errc() || end != port.data() + port.size() || number == 0 || number > 65535) {
      refuse(what, text, "the port must be a number from 1 to 65535");
   }
   return {.kind = Target::Kind::tcp, .name = std::string(host), .port = std::to_string(number)};
}

Target consoleBeside(const Target& server) {
   if (server.kind != Target::Kind::unixPath) {
      throw UsageError(fmt::format(
           "--console is missing: '{}' has no directory for a console socket, expected --console ADDRESS",
           server.text()));
   }
   Target console = server;
   console.name.resize(console.name.rfind('/') + 1);
   console.name += "console.sock";
   return console;
}

}  // namespace orvctl
