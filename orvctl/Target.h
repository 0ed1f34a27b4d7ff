// Addresses of a server and of its console, as a person writes them.
// Free functions without state, safe from any thread.
#pragma once

#include <string>
#include <string_view>

namespace orvctl {

// Where orvctl looks when neither --target nor ORVCTL_TARGET says otherwise.
inline constexpr std::string_view kDefaultTarget = "unix:/run/orvsdkrpcd/orvsdkrpcd.sock";

struct Target {
   enum class Kind { unixPath, unixAbstract, tcp };
   Kind kind;
   // Absolute path, abstract name, or host.
   std::string name;
   // TCP only.
   std::string port;

   // The form that a gRPC channel takes.
   std::string channelAddress() const;
   // The form that a person reads and may pass as --target again.
   std::string text() const;

   bool operator==(const Target&) const = default;
};

// Reads "unix:PATH", "unix:///PATH", "unix-abstract:NAME", "HOST:PORT", "[IPV6]:PORT" or a bare path that
// begins with "/" or ".". A relative path counts from the working directory; "unix://a/b" names /a/b. `what`
// names the flag in the error. Throws UsageError.
Target parseTarget(std::string_view what, std::string_view text);

// The console beside a server: "console.sock" in the directory of its socket. Throws UsageError for a target
// without a path, which has no such neighbour.
Target consoleBeside(const Target& server);

}  // namespace orvctl
