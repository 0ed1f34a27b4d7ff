// The address that gRPC is served on.
// Thread-safety: any thread.
//
// Two components parse an address and have to agree on the result: the agent locks a unix socket's path and
// probes an IPv4 port, and gRPC binds. The agent takes everything after the seventh character of a unix
// address as the path, and does not know IPv6. gRPC takes everything after "unix:" and decodes "%XX". An
// address is therefore normalised to a form that both parse alike, or refused.
#pragma once

#include <string>
#include <string_view>

namespace orvsdkrpcd {

struct ListenAddress {
   // The normalised form: "unix:///PATH", "unix-abstract:NAME" or "IPV4:PORT".
   std::string text;
   // The socket's absolute path; empty for the other kinds.
   std::string socketPath;

   bool operator==(const ListenAddress&) const = default;
};

// Parses "unix:PATH" (a relative path starts at the working directory), "unix:///PATH", "unix://PATH" (the
// same, as the agent reads it), "unix-abstract:NAME", "IPV4:PORT" or "localhost:PORT".
// THROWS: UsageError.
ListenAddress parseListenAddress(std::string_view flag, std::string_view value);

// Checks, without side effects, that a socket can be created at `path`: the directory exists and is writable,
// and the path is free or a socket.
// THROWS: UsageError.
void requireSocketPlace(std::string_view flag, std::string_view value, const std::string& path);

}  // namespace orvsdkrpcd
