// A client that is a bare socket: one call, of whose answer it reads nothing, like a process that is stopped,
// and an end without any farewell, like one that is killed.
#pragma once

#include <string>

namespace orvtest {

class RawCall {
public:
   // Connects to a unix socket and calls the method, "/package.Service/method", with a serialised request of
   // up to 255 bytes. Its windows let through any amount of data. Throws std::runtime_error if that fails.
   RawCall(const std::string& socketPath, const std::string& method, const std::string& request = "");
   ~RawCall();
   RawCall(const RawCall&) = delete;
   RawCall& operator=(const RawCall&) = delete;

   // Closes the socket with everything unread.
   void vanish();

private:
   int socket_ = -1;
};

}  // namespace orvtest
