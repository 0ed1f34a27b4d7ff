// A client that is a bare socket. It makes one call and reads nothing of the answer, like a stopped process;
// it closes the socket without ending the call, like a killed one.
#pragma once

#include <string>

namespace orvtest {

class RawCall {
public:
   // Connects to a unix socket and calls the method, "/package.Service/method", with a serialised request of
   // up to 255 bytes. Its flow-control windows let through any amount of data.
   // THROWS: std::runtime_error when that fails.
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
