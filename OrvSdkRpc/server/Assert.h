// Programming errors: they end the process, in every kind of build.
//
// Thread-safe.
#pragma once

namespace OrvSdkRpc {

// Prints "<file>:<line>: Assertion `<expression>' failed." on standard error and aborts.
[[noreturn]] void assertionFailed(const char* expression, const char* file, int line);

// `expression` is the text of the condition, for the last words.
inline void assertThat(bool condition, const char* expression, const char* file = __builtin_FILE(),
                       int line = __builtin_LINE()) {
   if (!condition) [[unlikely]]
      assertionFailed(expression, file, line);
}

}  // namespace OrvSdkRpc
