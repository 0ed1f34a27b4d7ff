// The console's line protocol, the client's side. A ConsoleClient is used from one thread.
//
// One command is one line. The answer is any number of "OUT <n>\n" with n bytes behind it, and then "OK\n",
// or "ERR <n>\n" with n bytes of words.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "orvctl/Target.h"

namespace orvctl {

class ConsoleClient {
public:
   // Connects; every wait lasts at most `timeoutSeconds`. Throws CallError.
   ConsoleClient(const Target& console, double timeoutSeconds);
   ~ConsoleClient();
   ConsoleClient(const ConsoleClient&) = delete;
   ConsoleClient& operator=(const ConsoleClient&) = delete;

   struct Answer {
      bool ok = false;
      // The words of a refusal.
      std::string error;
   };

   // Sends one command, which must be free of line breaks, and hands on each piece of output as it comes.
   // Throws CallError when the console goes away or answers out of protocol.
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
