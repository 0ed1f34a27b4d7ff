// Where the console listens: "unix:PATH" or "HOST:PORT".
//
// Thread-safety: a value.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace softswitch::console {

struct Address {
   // Set for unix:PATH, at most 107 bytes.
   std::string path;
   // Set for HOST:PORT; an IPv6 address stands in brackets in the text form and without them here.
   std::string host;
   std::uint16_t port = 0;  // 0 lets the system choose

   bool isUnix() const { return !path.empty(); }
   std::string text() const;

   // Looks at the form only. Throws std::invalid_argument: one line with the value and what was expected.
   static Address parse(std::string_view text);
};

}  // namespace softswitch::console
