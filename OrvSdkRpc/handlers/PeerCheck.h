// Who may call an insecure server.
//
// Thread-safe: pure functions.
#pragma once

#include <string>

#include "OrvSdkRpc/server/ServerProperties.h"

namespace OrvSdkRpc {

// The host part of an address in gRPC's text form: "10.0.0.1:50051" gives "10.0.0.1", "[::1]:50051" and
// "ipv6:[::1]:50051" give "::1". A unix address gives an empty text: it has no IP.
std::string extractIpAddr(std::string address);

// Whether a peer in gRPC's text form ("ipv4:10.0.0.1:40112", "ipv6:%5B::1%5D:40112", "unix:") is on this
// host, as far as one listening address tells: a unix-domain peer is, and so is one of the same family and
// the same IP as `ip`.
bool isLocalIpAddr(std::string peer, std::string ip);

// The part of the check that looks at addresses: throws unless the peer is local to each of them.
void rejectUnlessLocal(const ServerProperties& properties, const std::string& peer);

// Throws unauthenticated_error "Insecure remote client rejected" for a peer that is not local to every
// listening address, on a server that is insecure and set up neither as trusted, nor as internal, nor for
// remote peers. `peer` is asked for only when it matters.
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
