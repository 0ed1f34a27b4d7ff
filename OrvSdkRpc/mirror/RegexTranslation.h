// Translates an ECMAScript regular expression, as std::regex<char> reads it, into RE2 syntax.
//
// Thread-safety: no state.
//
// The same notation can differ in meaning (classes, escapes, line ends, doubled repetitions), so nothing is
// copied: each part of the expression is rewritten, in bytes (Latin-1).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace OrvSdkRpc {

struct RegexTranslation {
   static constexpr std::size_t sizeMax = std::size_t{1} << 31;

   struct LookAhead {
      // Must match at the beginning of the text or, if negative, must not match there.
      std::string pattern;
      bool negative;
   };

   std::string pattern;
   // A look-ahead at the beginning of the expression, or after a ^ there. RE2 has no look-ahead, so it is
   // matched separately.
   std::optional<LookAhead> lookAhead;
   // With a look-ahead: the top-level alternatives that it does not belong to. `pattern` is the one it
   // belongs to.
   std::optional<std::string> others;

   // A look-ahead anywhere else, which only a backtracking matcher supports. The patterns are then wrong.
   bool lateLookAhead = false;

   // The next three determine the time and the stack that compilation takes.
   // Characters and classes with counted repetitions expanded, plus 8 for each group, alternative and
   // repetition, which cost std::regex the square of their number. At most sizeMax.
   std::size_t size = 0;
   // Nesting depth of the groups.
   std::size_t depth = 0;
   // Number of classes, as written.
   std::size_t classes = 0;
};

// The time depends on the expression's length alone, and the stack is constant. If std::regex rejects the
// expression, the result is unspecified.
RegexTranslation translateRegex(std::string_view expression);

}  // namespace OrvSdkRpc
