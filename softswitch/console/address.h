// Where the console listens: "unix:PATH" or "HOST:PORT".
//
// Thread-safety: a plain value.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace softswitch::console {

struct Address {
   // Set for unix:PATH, at most 107 bytes.
   std::string path;
   // Set for HOST:PORT. An IPv6 address has brackets in the text form and none here.
   std::string host;
   std::uint16_t port = 0;  // 0 lets the system choose

   bool isUnix() const { return !path.empty(); }
   std::string text() const;

   // Checks the form only.
   // THROWS: std::invalid_argument: one line with the value and what was expected.
   static Address parse(std::string_view text);
};

}  // namespace softswitch::console
