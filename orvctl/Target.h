// Addresses of a server and of its console, as users write them.
// Thread-safety: any thread.
#pragma once

#include <string>
#include <string_view>

namespace orvctl {

// The target if neither --target nor ORVCTL_TARGET is given.
inline constexpr std::string_view kDefaultTarget = "unix:/run/orvsdkrpcd/orvsdkrpcd.sock";

struct Target {
   enum class Kind { unixPath, unixAbstract, tcp };
   Kind kind;
   // Absolute path, abstract name, or host.
   std::string name;
   // TCP only.
   std::string port;

   // RETURNS: the form that a gRPC channel takes.
   std::string channelAddress() const;
   // RETURNS: the readable form, which --target accepts.
   std::string text() const;

   bool operator==(const Target&) const = default;
};

// Parses "unix:PATH", "unix:///PATH", "unix-abstract:NAME", "HOST:PORT", "[IPV6]:PORT" or a bare path that
// begins with "/" or ".". A relative path starts at the working directory; "unix://a/b" names /a/b. `what`
// names the flag in the error.
// THROWS: UsageError.
Target parseTarget(std::string_view what, std::string_view text);

// RETURNS: the console beside a server: "console.sock" in the directory of its socket.
// THROWS: UsageError if the target is not a unix path.
Target consoleBeside(const Target& server);

}  // namespace orvctl
