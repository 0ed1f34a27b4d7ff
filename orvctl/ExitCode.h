// The exit codes of orvctl, and the errors that lead to them.
// Thread-safety: plain values.
#pragma once

#include <stdexcept>
#include <string>

namespace orvctl {

enum ExitCode : int {
   kOk = 0,
   // The server answered, and the answer (or one item of it) is a failure.
   kRefused = 1,
   // A flag, an argument or an input line is wrong; nothing was sent.
   kUsage = 2,
   // The server could not be reached, went away, does not have the RPC, or gRPC itself failed.
   kUnreachable = 3,
   // The server closed a watch because the client read too slowly; the client may watch again at once.
   kTooSlow = 4,
};

// A value that cannot be used. what() is one line: the value and what was expected.
struct UsageError : std::runtime_error {
   using std::runtime_error::runtime_error;
};

// A call that the server answered with a refusal. what() is one line for the operator.
struct RefusedError : std::runtime_error {
   using std::runtime_error::runtime_error;
};

// A call that got no answer. what() is one line for the operator.
struct CallError : std::runtime_error {
   using std::runtime_error::runtime_error;
};

}  // namespace orvctl
