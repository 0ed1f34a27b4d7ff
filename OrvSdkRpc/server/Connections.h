// Shuts down a server's connections from outside gRPC.
//
// Thread-safety: any thread.
//
// gRPC closes a connection only after its pending writes are sent. A client that never reads, such as a
// stopped process, would keep the server from ever shutting down.
#pragma once

#include <string>
#include <vector>

namespace OrvSdkRpc {

// Shuts down this process's connections that were accepted on one of `addresses`, which are in gRPC's text
// form. Pending writes on them fail, and gRPC closes them. A connection is recognised by its local address,
// which it shares with its listening socket. Nothing else is affected: listening sockets stay open, and no
// descriptor is opened on another file or closed, so the process keeps its record locks (fcntl(2)). An
// address with port 0 is skipped, because the system chose its port.
void shutDownConnections(const std::vector<std::string>& addresses);

}  // namespace OrvSdkRpc
