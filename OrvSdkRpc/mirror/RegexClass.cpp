#include "OrvSdkRpc/mirror/RegexClass.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <locale>
#include <optional>
#include <regex>

namespace OrvSdkRpc {
namespace {

using Kind = RegexEscape::Kind;

const std::regex_traits<char>& classicTraits() {
   static const std::regex_traits<char> traits = [] {
      std::regex_traits<char> classic;
      classic.imbue(std::locale::classic());
      return classic;
   }();
   return traits;
}

std::size_t indexOf(char c) {
   return static_cast<unsigned char>(c);
}

template <class Predicate>
CharacterSet charactersWhere(Predicate&& holds) {
   CharacterSet set;
   for (std::size_t i = 0; i < set.size(); ++i)
      set[i] = holds(static_cast<char>(i));
   return set;
}

CharacterSet classNamed(std::string_view name) {
   const auto mask = classicTraits().lookup_classname(name.begin(), name.end());
   return charactersWhere([&](char c) { return classicTraits().isctype(c, mask); });
}

// The characters that equal `c` if case is ignored.
CharacterSet equivalentTo(char c) {
   const char lower = std::tolower(c, std::locale::classic());
   return charactersWhere([&](char other) { return std::tolower(other, std::locale::classic()) == lower; });
}

bool isDigit(char c) {
   return c >= '0' && c <= '9';
}

char takeHex(std::string_view& rest, int digits) {
   unsigned value = 0;
   for (; digits > 0 && !rest.empty(); --digits) {
      const char c = takeFront(rest);
      value = 16 * value + static_cast<unsigned>(isDigit(c) ? c - '0' : (c | 0x20) - 'a' + 10);
   }
   // A character above 255 is truncated, as in std::regex<char>.
   return static_cast<char>(value);
}

class Brackets {
public:
   explicit Brackets(std::string_view& rest) : rest_(rest) {}

   CharacterSet set() {
      const bool negated = take(rest_, '^');
      while (!rest_.empty()) {
         const char c = takeFront(rest_);
         if (c == ']') break;
         if (c == '-') {
            dash();
         } else if (c == '\\') {
            escape();
         } else if (c == '[' && !rest_.empty() && std::string_view(".:=").find(rest_.front()) != rest_.npos) {
            named();
         } else {
            add(c);
         }
      }
      return negated ? ~set_ : set_;
   }

private:
   void add(char c) {
      set_.set(indexOf(c));
      start_ = c;
   }
   void add(const CharacterSet& set) {
      set_ |= set;
      start_.reset();
   }

   void dash() {
      if (!start_ || rest_.empty() || rest_.front() == ']') {
         add('-');
         return;
      }
      char last = takeFront(rest_);
      if (last == '\\') last = takeEscape(rest_, true).value;
      // Ranges are ordered by char, which is signed on most machines.
      add(charactersWhere([&](char c) { return *start_ <= c && c <= last; }));
   }

   void escape() {
      const RegexEscape escape = takeEscape(rest_, true);
      if (escape.kind == Kind::characters) {
         add(escapedClass(escape.value));
      } else {
         add(escape.value);
      }
   }

   // [.name.], [=name=] or [:name:]
   void named() {
      const char mark = takeFront(rest_);
      // The name ends at the first occurrence of the mark.
      const std::string_view name = rest_.substr(0, rest_.find(mark));
      rest_.remove_prefix(std::min(name.size() + 2, rest_.size()));
      if (mark == ':') {
         add(classNamed(name));
         return;
      }
      const std::string element = classicTraits().lookup_collatename(name.begin(), name.end());
      if (element.empty()) return;
      if (mark == '.') {
         add(element.front());
      } else {
         add(equivalentTo(element.front()));
      }
   }

   std::string_view& rest_;
   CharacterSet set_;
   // The character that a dash makes the start of a range.
   std::optional<char> start_;
};

}  // namespace

RegexEscape takeEscape(std::string_view& rest, bool inBrackets) {
   if (rest.empty()) return {};
   const char c = takeFront(rest);
   switch (c) {
      case '0':
         return {Kind::character, '\0'};
      case 'f':
         return {Kind::character, '\f'};
      case 'n':
         return {Kind::character, '\n'};
      case 'r':
         return {Kind::character, '\r'};
      case 't':
         return {Kind::character, '\t'};
      case 'v':
         return {Kind::character, '\v'};
      case 'b':
         return inBrackets ? RegexEscape{Kind::character, '\b'} : RegexEscape{Kind::boundary};
      case 'B':
         return {Kind::noBoundary};
      case 'c':
         // std::regex reads \cA as the letter A.
         return {Kind::character, rest.empty() ? '\0' : takeFront(rest)};
      case 'x':
         return {Kind::character, takeHex(rest, 2)};
      case 'u':
         return {Kind::character, takeHex(rest, 4)};
      case 'd':
      case 'D':
      case 's':
      case 'S':
      case 'w':
      case 'W':
         return {Kind::characters, c};
      default:
         break;
   }
   if (!isDigit(c)) return {Kind::character, c};
   while (!rest.empty() && isDigit(rest.front()))
      rest.remove_prefix(1);
   return {Kind::backReference};
}

const CharacterSet& escapedClass(char letter) {
   static const CharacterSet digits = classNamed("d");
   static const CharacterSet spaces = classNamed("s");
   static const CharacterSet words = classNamed("w");
   static const CharacterSet noDigits = ~digits;
   static const CharacterSet noSpaces = ~spaces;
   static const CharacterSet noWords = ~words;
   switch (letter) {
      case 'd':
         return digits;
      case 'D':
         return noDigits;
      case 's':
         return spaces;
      case 'S':
         return noSpaces;
      case 'w':
         return words;
      default:
         return noWords;
   }
}

CharacterSet takeBrackets(std::string_view& rest) {
   return Brackets(rest).set();
}

std::string re2Class(const CharacterSet& set) {
   // RE2 reads [] as the beginning of a class that contains the bracket.
   if (set.none()) return "[^\\x00-\\xff]";
   std::string text = "[";
   for (std::size_t first = 0; first < set.size(); ++first) {
      if (!set[first]) continue;
      std::size_t last = first;
      while (last + 1 < set.size() && set[last + 1])
         ++last;
      fmt::format_to(std::back_inserter(text), "\\x{:02x}-\\x{:02x}", first, last);
      first = last;
   }
   return text + ']';
}

std::string re2Character(char c) {
   if (isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) return std::string(1, c);
   return fmt::format("\\x{:02x}", indexOf(c));
}

}  // namespace OrvSdkRpc
