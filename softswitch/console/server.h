// The console's listener: command lines in, chunks of text out, over a unix or TCP socket.
//
// Thread-safety: any thread. The server runs one thread that accepts and one per client; a command runs on
// its client's thread, so a slow client holds up nobody but itself.
//
// The protocol, in bytes:
//    client: one command line and "\n" (a "\r" before it is ignored); further lines whenever it likes
//    server: zero or more "OUT <n>\n" each followed by n bytes (1 <= n <= 65536), then one
//            "OK\n", or "ERR <n>\n" followed by n bytes that say why
// Answers come in the order of the lines. A blank line is answered "OK\n". A line longer than 65536 bytes is
// answered with an ERR and the connection is closed, and so is the 33rd client at once. A last
// line without "\n" is not carried out. There is no authentication: a unix socket is guarded by
// its mode (0660), a TCP address should be a loopback one.
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

   // Carries out one line. Called from clients' threads, several at a time, without any lock. What it throws
   // is answered as ERR with its words; OutputClosed ends the connection instead.
   using Handler = std::function<void(std::string_view line, Output& out)>;

   // Listens from here on. Throws std::runtime_error, one line with the address and the reason. A socket
   // file that nobody answers on is replaced; one that somebody answers on, or a file of another kind, is
   // refused.
   Server(Address address, Handler handler);
   ~Server();
   Server(const Server&) = delete;
   Server& operator=(const Server&) = delete;

   // With the port that the system chose, where it was to choose.
   const Address& address() const { return address_; }

   // Ends all clients' commands and threads and removes the socket file. Repeated calls do nothing. A caller
   // that holds the activity lock gives it up meanwhile, since a command may be waiting for it.
   void stop();

private:
   struct Client;

   void acceptLoop();
   void admit(int fd);

   Address address_;
   Handler handler_;
   std::unique_ptr<Listener> listener_;          // gone from stop() on
   int stopFd_ = -1;                             // an eventfd, readable from stop() on
   std::list<std::unique_ptr<Client>> clients_;  // used by the accepting thread only
   std::thread acceptor_;
   std::once_flag stopped_;
};

}  // namespace softswitch::console
