// Keeps listening sockets alive when the process runs out of file descriptors.
//
// gRPC gives a listener up for good at the first accept4() that fails with EMFILE: the server would look
// healthy and be reachable for nobody new, even with descriptors free again. So this program defines
// accept4() itself: with no descriptor left, it gives up one that it keeps in reserve, accepts the waiting
// clients with it, closes them at once, and tells the caller that nobody is waiting. A client so refused sees
// its connection closed and may try again.
//
// Thread-safety: any thread.
#pragma once

namespace orvsdkrpcd {

// Takes the reserve. Without the call, accept4() is the kernel's alone.
void guardAccept();

}  // namespace orvsdkrpcd
