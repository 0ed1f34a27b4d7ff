// A client of the daemon's console: one line in, the answer's text out.
//
// Thread-safety: one thread at a time.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace orvtest {

// The console refused a command; what() is its message.
class ConsoleError : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

class Console {
public:
   // Connects to a unix socket. THROWS: std::system_error.
   explicit Console(const std::string& socketPath);
   ~Console();
   Console(const Console&) = delete;
   Console& operator=(const Console&) = delete;

   // Sends one line and returns what the console answered.
   // THROWS: ConsoleError when the console refuses; std::runtime_error when the connection breaks or the
   // answer does not follow the protocol.
   std::string run(std::string_view command);

private:
   std::string readLine();
   std::string readBytes(std::size_t count);
   void fill();

   int fd_ = -1;
   std::string buffer_;
   std::size_t consumed_ = 0;
};

}  // namespace orvtest
