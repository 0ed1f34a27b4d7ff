// The console's listening socket and its socket file.
//
// Thread-safety: one thread at a time.
#pragma once

#include <sys/socket.h>
#include <sys/types.h>

#include "softswitch/console/address.h"

namespace softswitch::console {

// A non-blocking listening socket. The destructor closes it and removes the socket file if it is still the
// one created here.
class Listener {
public:
   // THROWS: std::runtime_error: one line with the address and the reason.
   explicit Listener(Address address);
   ~Listener();
   Listener(const Listener&) = delete;
   Listener& operator=(const Listener&) = delete;

   int fd() const { return fd_; }

   // With the actual port if the address asked for port 0.
   const Address& address() const { return address_; }

private:
   void listenUnix();
   void listenTcp();
   void bindAndListen(const void* socketAddress, socklen_t length);
   [[noreturn]] void refuse(std::string_view reason) const;

   Address address_;
   int fd_ = -1;
   dev_t fileDevice_ = 0;  // identity of the socket file created here
   ino_t fileInode_ = 0;
};

}  // namespace softswitch::console
