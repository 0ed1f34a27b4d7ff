#pragma once

// UTF-8 (RFC 3629).
//
// Thread-safety: pure functions.

#include <cstddef>
#include <string_view>

namespace Zelt {

// RETURNS: the length in bytes (1 to 4) of the first character of `text`; 0 if the text is empty or does not
// begin with valid UTF-8 (an overlong form, a surrogate, a code point above 0x10ffff, a truncated sequence).
std::size_t utf8CharacterBytes(std::string_view text) noexcept;

// RETURNS: whether all of `text` is valid UTF-8.
bool isUtf8(std::string_view text) noexcept;

}  // namespace Zelt
