// A regular expression of ECMAScript, as std::regex<char> reads it, in the words of RE2.
//
// Thread-safe: no state.
//
// The two languages differ in what they call the same (classes, escapes, line ends, doubled repetitions), so
// nothing is passed through: each part of the expression is written anew, in bytes (Latin-1).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace OrvSdkRpc {

struct RegexTranslation {
   static constexpr std::size_t sizeMax = std::size_t{1} << 31;

   struct LookAhead {
      // Must match at the beginning of the text, or must not.
      std::string pattern;
      bool negative;
   };

   std::string pattern;
   // One at the beginning of the expression, behind a ^ at most. RE2 knows none, so it is tried by itself.
   std::optional<LookAhead> lookAhead;
   // With a look-ahead: the alternatives at the top that it does not belong to. The others are in pattern.
   std::optional<std::string> others;

   // A look-ahead anywhere else, which only a matcher that searches can do. The patterns are then wrong.
   bool lateLookAhead = false;

   // What decides the time and the stack that compiling the expression takes:
   // its characters and classes with the counted repetitions written out, and 8 more for each group,
   // alternative and repetition, which cost std::regex the square of their number; at most sizeMax,
   std::size_t size = 0;
   // how deep its groups stand in one another,
   std::size_t depth = 0;
   // and how many classes it has as it is written.
   std::size_t classes = 0;
};

// Takes time by the length of the expression and no stack. Of an expression that std::regex refuses it makes
// anything.
RegexTranslation translateRegex(std::string_view expression);

}  // namespace OrvSdkRpc
