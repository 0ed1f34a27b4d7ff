// Decides which peers may call an insecure server.
//
// Thread-safety: pure functions.
#pragma once

#include <string>

#include "OrvSdkRpc/server/ServerProperties.h"

namespace OrvSdkRpc {

// The host part of an address in gRPC's text form: "10.0.0.1:50051" gives "10.0.0.1", "[::1]:50051" and
// "ipv6:[::1]:50051" give "::1". A unix address has no IP and gives an empty text.
std::string extractIpAddr(std::string address);

// Whether a peer in gRPC's text form ("ipv4:10.0.0.1:40112", "ipv6:%5B::1%5D:40112", "unix:") is on this
// host, judged by one listening address: true for a unix-domain peer and for a peer with the same IP address
// as `ip`.
bool isLocalIpAddr(std::string peer, std::string ip);

// The address part of the check.
// THROWS: unauthenticated_error unless the peer is local to every listening address.
void rejectUnlessLocal(const ServerProperties& properties, const std::string& peer);

// Checks a peer of an insecure server. Accepts every peer if the server is trusted or internal or allows
// remote peers. Calls `peer` only if it needs the address.
// THROWS: unauthenticated_error "Insecure remote client rejected" if the peer is not local to every listening
// address.
template <class PeerText>
void maybeRejectInsecureRemote(const ServerProperties& properties, PeerText&& peer) {
   if (properties.trustedServer || properties.internalServer ||
       properties.sslProfileState != SslProfileState::NotConfigured) {
      return;
   }
   if (properties.allowInsecureRemote) return;
   rejectUnlessLocal(properties, peer());
}

}  // namespace OrvSdkRpc
