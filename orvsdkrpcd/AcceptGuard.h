// Keeps listening sockets alive when the process runs out of file descriptors.
//
// gRPC abandons a listener for good at the first accept4() that fails with EMFILE: the server looks healthy
// but is unreachable for new clients, even when file descriptors are free again. This program therefore
// defines accept4() itself. When no file descriptor is left, it closes one that it keeps in reserve, accepts
// each waiting client, closes that connection at once, and reports EAGAIN to the caller. A client that is
// refused this way sees its connection closed and may try again.
//
// Thread-safety: any thread.
#pragma once

namespace orvsdkrpcd {

// Opens the reserve and activates the guard. Before this call, accept4() is just the system call.
void guardAccept();

}  // namespace orvsdkrpcd
