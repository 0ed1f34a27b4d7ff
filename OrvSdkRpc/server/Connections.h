// The connections of a server, seen from outside of gRPC.
//
// Thread-safe. gRPC closes a connection only when what it was writing has gone out. A client that takes
// nothing off its socket, a stopped process for instance, would so keep a server from ever ending.
#pragma once

#include <string>
#include <vector>

namespace OrvSdkRpc {

// Shuts down every connection of this process that was accepted on one of the addresses, which are in gRPC's
// text form: what is being written on it fails, and gRPC closes it. Listening sockets stay. An address whose
// port is 0 is passed over, since the system chose its port.
void shutDownConnections(const std::vector<std::string>& addresses);

}  // namespace OrvSdkRpc
