#include "OrvSdkRpc/handlers/PeerCheck.h"

#include <arpa/inet.h>

#include <array>
#include <cstdint>
#include <string_view>

#include "OrvSdkRpc/handlers/Errors.h"

namespace OrvSdkRpc {
namespace {

// An IP address in network byte order; family 0 if the text is not an IP address.
struct Ip {
   int family = 0;
   std::array<std::uint8_t, 16> bytes{};

   bool operator==(const Ip&) const = default;
};

Ip parseIp(const std::string& text) {
   Ip ip;
   if (inet_pton(AF_INET, text.c_str(), ip.bytes.data()) == 1) {
      ip.family = AF_INET;
   } else if (inet_pton(AF_INET6, text.c_str(), ip.bytes.data()) == 1) {
      ip.family = AF_INET6;
   }
   return ip;
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
   if (!text.starts_with(prefix)) return false;
   text.remove_prefix(prefix.size());
   return true;
}

// The host in "host:port", "[host]:port", "host" or "[host]"; gRPC writes a peer's brackets as %5B and %5D.
std::string_view hostPart(std::string_view text) {
   if (takePrefix(text, "[")) return text.substr(0, text.find(']'));
   if (takePrefix(text, "%5B")) return text.substr(0, text.find("%5D"));
   const std::size_t colon = text.rfind(':');
   // More than one colon without brackets: an IPv6 address without a port.
   if (colon == std::string_view::npos || text.find(':') != colon) return text;
   return text.substr(0, colon);
}

// A link-local peer has its interface as a suffix, as in "%25eth0" or "%eth0".
std::string_view withoutZone(std::string_view host) {
   return host.substr(0, host.find('%'));
}

bool isUnix(std::string_view text) {
   return text.starts_with("unix:") || text.starts_with("unix-abstract:");
}

}  // namespace

std::string extractIpAddr(std::string address) {
   std::string_view text = address;
   if (isUnix(text)) return {};
   if (!takePrefix(text, "ipv4:") && !takePrefix(text, "ipv6:") && takePrefix(text, "dns:")) {
      while (takePrefix(text, "/")) {
      }
   }
   return std::string(hostPart(text));
}

bool isLocalIpAddr(std::string peer, std::string ip) {
   if (isUnix(peer)) return true;
   const Ip remote = parseIp(std::string(withoutZone(extractIpAddr(std::move(peer)))));
   return remote.family != 0 && remote == parseIp(std::string(withoutZone(ip)));
}

void rejectUnlessLocal(const ServerProperties& properties, const std::string& peer) {
   for (const std::string& address : properties.addresses) {
      if (!isLocalIpAddr(peer, extractIpAddr(address))) {
         throw unauthenticated_error("Insecure remote client rejected");
      }
   }
}

}  // namespace OrvSdkRpc
