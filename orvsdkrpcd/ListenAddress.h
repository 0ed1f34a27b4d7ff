// The address that gRPC is served on.
// Free functions without state of their own, safe from any thread.
//
// Two readers take an address apart, and must come to the same place: the agent, which locks a unix socket's
// path and probes an IPv4 port, and gRPC, which binds. The agent takes what stands behind the seventh
// character of a unix address as its path and knows no IPv6; gRPC takes what stands behind "unix:" and
// decodes "%XX". So an address is brought into a form that both read alike, or refused.
#pragma once

#include <string>
#include <string_view>

namespace orvsdkrpcd {

struct ListenAddress {
   // What agent and gRPC are given: "unix:///PATH", "unix-abstract:NAME" or "IPV4:PORT".
   std::string text;
   // The socket's absolute path; empty for the other kinds.
   std::string socketPath;

   bool operator==(const ListenAddress&) const = default;
};

// Reads "unix:PATH" (a relative path counts from the working directory), "unix:///PATH", "unix://PATH" (the
// same, as the agent reads it), "unix-abstract:NAME", "IPV4:PORT" or "localhost:PORT". Throws UsageError.
ListenAddress parseListenAddress(std::string_view flag, std::string_view value);

// Looks, without touching anything, whether a socket can be made at `path`: the directory is there and
// writable, and what may be at the path already is a socket. Throws UsageError.
void requireSocketPlace(std::string_view flag, std::string_view value, const std::string& path);

}  // namespace orvsdkrpcd
