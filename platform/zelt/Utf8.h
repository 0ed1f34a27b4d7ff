#pragma once

// UTF-8 (RFC 3629).
//
// Thread-safety: pure functions.

#include <cstddef>
#include <string_view>

namespace Zelt {

/// The length, 1 to 4, of the character that `text` begins with; 0 if it begins with none: the text is empty,
/// or its first bytes are not UTF-8 (an overlong form, a surrogate, a number above 0x10ffff, a cut end).
std::size_t utf8CharacterBytes(std::string_view text) noexcept;

/// Whether all of `text` is UTF-8.
bool isUtf8(std::string_view text) noexcept;

}  // namespace Zelt
