// The configuration of a server.
//
// Thread-safety: written only before the server starts, so reading needs no lock.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace OrvSdkRpc {

// State of the configured SSL profile, as the host found it.
enum class SslProfileState : std::uint32_t {
   NotFound = 0,
   Invalid = 1,
   // No profile is configured: the server is insecure. The only state in which peers are checked.
   NotConfigured = 2,
   Tls = 3,
   MutualTls = 4,
};

struct ServerProperties {
   // Listening addresses in gRPC's text form; addresses in use elsewhere are already removed.
   std::vector<std::string> addresses = {};
   // Name of the network namespace; empty for the process's own.
   std::string vrf = {};
   SslProfileState sslProfileState = SslProfileState::NotFound;
   // The address form of Agent: programming service, insecure credentials, every peer served.
   bool internalServer = false;
   // Peers are never rejected.
   bool trustedServer = false;
   // Peers are not checked even if the server is insecure.
   bool allowInsecureRemote = true;
   // Requests one accounting line per call; not available in this build.
   bool accountingEnabled = false;
};

}  // namespace OrvSdkRpc
