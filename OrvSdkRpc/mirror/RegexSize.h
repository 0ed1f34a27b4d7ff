// How large a regular expression becomes when its counted repetitions are written out.
//
// Thread-safe: no state.
#pragma once

#include <cstddef>
#include <string_view>

namespace OrvSdkRpc {

// In characters or so: a repetition x{500} counts as 501 of them, as does x{500,}, and a group as one more.
// What a matcher makes of an expression, and the time and stack that it takes, grow with this. At most
// regexSizeMax. Any number for an ill-formed expression.
std::size_t regexSize(std::string_view expression);

inline constexpr std::size_t regexSizeMax = std::size_t{1} << 31;

}  // namespace OrvSdkRpc
