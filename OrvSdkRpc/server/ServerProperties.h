// What a server was configured with.
//
// Written before the server starts and never after, so reading needs no lock.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace OrvSdkRpc {

// What the host found out about the SSL profile it was told to use.
enum class SslProfileState : std::uint32_t {
   NotFound = 0,
   Invalid = 1,
   // No profile is configured: the server is insecure. The only state in which peers are checked.
   NotConfigured = 2,
   Tls = 3,
   MutualTls = 4,
};

struct ServerProperties {
   // Listening addresses in gRPC's text form; those in use elsewhere are already gone.
   std::vector<std::string> addresses = {};
   // Network namespace by name; empty for the process's own.
   std::string vrf = {};
   SslProfileState sslProfileState = SslProfileState::NotFound;
   // The library's own server mode: programming service, insecure credentials, every peer served.
   bool internalServer = false;
   // Peers are never rejected.
   bool trustedServer = false;
   // Peers are not checked although the server is insecure.
   bool allowInsecureRemote = true;
   // One accounting line per call.
   bool accountingEnabled = false;
};

}  // namespace OrvSdkRpc
