// The connections of a server, seen from outside of gRPC.
//
// Thread-safe. gRPC closes a connection only when what it was writing has gone out. A client that takes
// nothing off its socket, a stopped process for instance, would so keep a server from ever ending.
#pragma once

#include <string>
#include <vector>

namespace OrvSdkRpc {

// Shuts down the connections of this process that were accepted on one of the addresses, which are in gRPC's
// text form: what is being written on them fails, and gRPC closes them. A connection is known by its local
// address, which it has from the listening socket. Nothing else of the process is touched: no descriptor is
// opened on another's file and none is closed, so that record locks (fcntl(2)) of the process stay. Listening
// sockets stay, too. An address whose port is 0 is passed over, since the system chose its port.
void shutDownConnections(const std::vector<std::string>& addresses);

}  // namespace OrvSdkRpc
