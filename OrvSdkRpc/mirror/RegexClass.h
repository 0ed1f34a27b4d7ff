// What single characters of a regular expression (ECMAScript) stand for: escapes and bracket expressions,
// read as std::regex<char> reads them in the classic locale, quirks included.
//
// Thread-safe: no state.
//
// The functions take what they read off the front of `rest`. They trust that std::regex accepts the
// expression; of one that it refuses they make anything.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace OrvSdkRpc {

// By the value of the byte.
using CharacterSet = std::bitset<256>;

struct RegexEscape {
   enum class Kind : std::uint8_t { character, characters, boundary, noBoundary, backReference };

   Kind kind = Kind::character;
   // The character, or the letter of a set of them, for escapedClass.
   char value = '\0';
};

// The first character. REQUIRES: there is one.
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

// From behind the backslash on. In brackets \b is a backspace.
RegexEscape takeEscape(std::string_view& rest, bool inBrackets);
// \d, \D, \s, \S, \w, \W by their letter.
const CharacterSet& escapedClass(char letter);
// From behind the opening bracket on, the closing one included.
CharacterSet takeBrackets(std::string_view& rest);

// The set as RE2 writes it.
std::string re2Class(const CharacterSet& set);
// One character as RE2 writes it.
std::string re2Character(char c);

}  // namespace OrvSdkRpc
