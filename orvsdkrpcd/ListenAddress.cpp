#include "orvsdkrpcd/ListenAddress.h"

#include <arpa/inet.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>

#include "orvsdkrpcd/UsageError.h"

namespace orvsdkrpcd {
namespace {

constexpr std::string_view kForms = "unix:PATH, unix-abstract:NAME or IPV4:PORT";
constexpr size_t kMaxUnixName = sizeof(sockaddr_un::sun_path) - 1;
// gRPC counts the two slashes in front of the path too.
constexpr size_t kMaxPath = kMaxUnixName - 2;

void requirePlainBytes(std::string_view flag, std::string_view value) {
   if (value.find('%') != std::string_view::npos) {
      refuse(flag, value, "an address without '%', which gRPC would decode and the lock would not");
   }
   if (std::any_of(value.begin(), value.end(),
                   [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; })) {
      refuse(flag, value, "an address without control characters");
   }
}

ListenAddress parseUnix(std::string_view flag, std::string_view value, std::string_view rest) {
   const bool fromRoot = rest.starts_with("//");
   if (fromRoot) rest.remove_prefix(std::min(rest.find_first_not_of('/'), rest.size()));
   if (rest.empty() || rest.ends_with('/')) refuse(flag, value, "unix:PATH with the path of a socket");
   const std::string path = fromRoot ? "/" + std::string(rest) : std::filesystem::absolute(rest).string();
   if (path.size() > kMaxPath) {
      refuse(flag, value, fmt::format("a path of at most {} bytes, not {}", kMaxPath, path.size()));
   }
   return {.text = "unix://" + path, .socketPath = path};
}

ListenAddress parseTcp(std::string_view flag, std::string_view value) {
   const size_t colon = value.find(':');
   if (colon == std::string_view::npos) refuse(flag, value, kForms);
   std::string host(value.substr(0, colon));
   if (host == "localhost") host = "127.0.0.1";
   in_addr parsed{};
   if (inet_pton(AF_INET, host.c_str(), &parsed) != 1) {
      refuse(flag, value,
             "unix:PATH, unix-abstract:NAME or IPV4:PORT (the agent probes IPv4 addresses only)");
   }
   const std::string_view digits = value.substr(colon + 1);
   unsigned port = 0;
   auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
   if (digits.empty() || error != std::errc() || end != digits.data() + digits.size() || port == 0 ||
       port > 65535) {
      refuse(flag, value, "a port from 1 to 65535");
   }
   return {.text = fmt::format("{}:{}", host, port), .socketPath = {}};
}

}  // namespace

ListenAddress parseListenAddress(std::string_view flag, std::string_view value) {
   requirePlainBytes(flag, value);
   if (value.starts_with("unix:")) return parseUnix(flag, value, value.substr(5));
   if (value.starts_with("unix-abstract:")) {
      const size_t length = value.size() - std::string_view("unix-abstract:").size();
      if (length == 0 || length > kMaxUnixName)
         refuse(flag, value, fmt::format("a name of 1 to {} bytes", kMaxUnixName));
      return {.text = std::string(value), .socketPath = {}};
   }
   return parseTcp(flag, value);
}

void requireSocketPlace(std::string_view flag, std::string_view value, const std::string& path) {
   const std::string directory = std::filesystem::path(path).parent_path().string();
   struct stat info {};
   if (stat(directory.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
      refuse(flag, value, fmt::format("a path in an existing directory, but '{}' is not one", directory));
   }
   if (access(directory.c_str(), W_OK | X_OK) != 0) {
      refuse(flag, value,
             fmt::format("a path in a writable directory: {}: {}", directory, std::strerror(errno)));
   }
   if (lstat(path.c_str(), &info) == 0 && !S_ISSOCK(info.st_mode)) {
      refuse(flag, value, "a free path or a socket, but the path is another kind of file");
   }
}

}  // namespace orvsdkrpcd
