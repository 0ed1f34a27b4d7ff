// Assertions against programming errors. They abort the process in every build type.
//
// Thread-safety: any thread.
#pragma once

namespace OrvSdkRpc {

// Prints "<file>:<line>: Assertion `<expression>' failed." on standard error and aborts.
[[noreturn]] void assertionFailed(const char* expression, const char* file, int line);

// `expression` is the text of the condition, for the message.
inline void assertThat(bool condition, const char* expression, const char* file = __builtin_FILE(),
                       int line = __builtin_LINE()) {
   if (!condition) [[unlikely]]
      assertionFailed(expression, file, line);
}

}  // namespace OrvSdkRpc
