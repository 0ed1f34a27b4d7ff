// What decides the time and the stack that a regular expression (ECMAScript) takes.
//
// Thread-safe: no state.
#pragma once

#include <cstddef>
#include <string_view>

namespace OrvSdkRpc {

struct RegexShape {
   static constexpr std::size_t sizeMax = std::size_t{1} << 31;

   // How large the expression is with its counted repetitions written out, in characters or so: a repetition
   // x{500} counts as 501 of them, as does x{500,}, and a group as one more. At most sizeMax.
   std::size_t size = 0;
   // Whether it has a look-ahead elsewhere than at its beginning, behind a ^ at most. One at the beginning is
   // tried once for a match, any other at each place of the text and for each way to get there.
   bool lateLookAhead = false;
};

// Anything for an ill-formed expression.
RegexShape regexShape(std::string_view expression);

}  // namespace OrvSdkRpc
