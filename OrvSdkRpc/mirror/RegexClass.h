// Escapes and bracket expressions of a regular expression (ECMAScript), read as std::regex<char> reads them
// in the classic locale, quirks included.
//
// Thread-safety: no state.
//
// The functions remove what they read from the front of `rest`. If std::regex rejects the expression, their
// results are unspecified.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace OrvSdkRpc {

// Indexed by byte value.
using CharacterSet = std::bitset<256>;

struct RegexEscape {
   enum class Kind : std::uint8_t { character, characters, boundary, noBoundary, backReference };

   Kind kind = Kind::character;
   // The character, or the letter of a class for escapedClass.
   char value = '\0';
};

// Removes the first character.
// REQUIRES: `rest` is not empty.
inline char takeFront(std::string_view& rest) {
   const char c = rest.front();
   rest.remove_prefix(1);
   return c;
}
inline bool take(std::string_view& rest, char c) {
   if (!rest.starts_with(c)) return false;
   rest.remove_prefix(1);
   return true;
}

// Reads an escape from after its backslash. In brackets, \b is a backspace.
RegexEscape takeEscape(std::string_view& rest, bool inBrackets);
// The class \d, \D, \s, \S, \w or \W, by its letter.
const CharacterSet& escapedClass(char letter);
// Reads from after the opening bracket to the closing one, inclusive.
CharacterSet takeBrackets(std::string_view& rest);

// The set in RE2 syntax.
std::string re2Class(const CharacterSet& set);
// One character in RE2 syntax.
std::string re2Character(char c);

}  // namespace OrvSdkRpc
