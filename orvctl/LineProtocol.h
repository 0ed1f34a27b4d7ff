// The client side of the console's line protocol.
// Thread-safety: one thread.
//
// A command is one line. The answer is any number of "OUT <n>\n", each followed by n bytes, and then "OK\n",
// or "ERR <n>\n" followed by n bytes of error text.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "orvctl/Target.h"

namespace orvctl {

class ConsoleClient {
public:
   // Connects; every wait lasts at most `timeoutSeconds`.
   // THROWS: CallError.
   ConsoleClient(const Target& console, double timeoutSeconds);
   ~ConsoleClient();
   ConsoleClient(const ConsoleClient&) = delete;
   ConsoleClient& operator=(const ConsoleClient&) = delete;

   struct Answer {
      bool ok = false;
      // The error text of a refusal.
      std::string error;
   };

   // Sends one command and passes each piece of output to `output` as it arrives.
   // REQUIRES: the command contains no line break.
   // THROWS: CallError if the console goes away or violates the protocol.
   Answer run(std::string_view command, const std::function<void(std::string_view)>& output);

private:
   std::string readLine();
   std::string readBytes(size_t count);
   void fill();

   std::string where_;
   int fd_ = -1;
   std::string buffer_;
};

}  // namespace orvctl
