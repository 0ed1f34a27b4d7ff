// The console's server: command lines in, chunks of text out, over a Unix or TCP socket.
//
// Thread-safety: any thread. The server runs one thread that accepts connections and one per client. A
// command runs on its client's thread, so a slow client delays only itself.
//
// The protocol, in bytes:
//    client: one command line and "\n" (a "\r" before it is ignored); further lines at any time
//    server: zero or more "OUT <n>\n" each followed by n bytes (1 <= n <= 65536), then one
//            "OK\n", or "ERR <n>\n" followed by n bytes of error text
// Answers come in the order of the lines. A blank line is answered "OK\n". A line longer than 65536 bytes is
// answered with an ERR and the connection is closed, and so is the 33rd client at once. A last line without
// "\n" is not run. There is no authentication: a Unix socket is guarded by its mode (0660), a TCP address
// should be a loopback address.
#pragma once

#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>

#include "softswitch/console/address.h"
#include "softswitch/console/listener.h"
#include "softswitch/console/output.h"

namespace softswitch::console {

class Server {
public:
   static constexpr std::size_t maxClients = 32;
   static constexpr std::size_t maxLineBytes = 64 * 1024;
   static constexpr std::size_t maxChunkBytes = 64 * 1024;

   // Runs one line. Called from clients' threads, several at a time, without any lock. An exception is
   // answered as ERR with its text; OutputClosed ends the connection instead.
   using Handler = std::function<void(std::string_view line, Output& out)>;

   // Starts to listen. A socket file on which no process answers is replaced.
   // THROWS: std::runtime_error, one line with the address and the reason; also if another process answers on
   // the socket file, or the file is not a socket.
   Server(Address address, Handler handler);
   ~Server();
   Server(const Server&) = delete;
   Server& operator=(const Server&) = delete;

   // With the actual port if the address asked for port 0.
   const Address& address() const { return address_; }

   // Ends all clients' commands and threads and removes the socket file. Repeated calls are no-ops. Releases
   // the activity lock during the call if the caller holds it, because a command may be waiting for it.
   void stop();

private:
   struct Client;

   void acceptLoop();
   void admit(int fd);

   Address address_;
   Handler handler_;
   std::unique_ptr<Listener> listener_;          // null after stop()
   int stopFd_ = -1;                             // an eventfd, readable after stop()
   std::list<std::unique_ptr<Client>> clients_;  // used by the accepting thread only
   std::thread acceptor_;
   std::once_flag stopped_;
};

}  // namespace softswitch::console
