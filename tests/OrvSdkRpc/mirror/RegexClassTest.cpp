#include "OrvSdkRpc/mirror/RegexClass.h"

#include <gtest/gtest.h>
#include <re2/re2.h>

#include <locale>
#include <regex>
#include <string>

namespace OrvSdkRpc {
namespace {

// The single bytes that an expression matches according to std::regex.
CharacterSet bytesOf(const std::string& expression) {
   std::regex regex;
   regex.imbue(std::locale::classic());
   regex.assign(expression);
   CharacterSet set;
   for (std::size_t i = 0; i < set.size(); ++i)
      set[i] = std::regex_match(std::string(1, static_cast<char>(i)), regex);
   return set;
}

TEST(RegexClass, bracketsMeanWhatTheyMeanToStdRegex) {
   using namespace std::string_literals;
   for (const std::string& brackets : {"[a]"s,
                                       "[^a]"s,
                                       "[]"s,
                                       "[^]"s,
                                       "[a-c]"s,
                                       "[-a]"s,
                                       "[a-]"s,
                                       "[a-c-e]"s,
                                       "[a-c-e-g]"s,
                                       "[+--]"s,
                                       "[--/]"s,
                                       "[a-c--z]"s,
                                       "[^^]"s,
                                       "[a^]"s,
                                       "[\\]]"s,
                                       "[[]"s,
                                       "[[-a]"s,
                                       "[.]"s,
                                       "[$*+?(){}|]"s,
                                       "[\\d]"s,
                                       "[\\D]"s,
                                       "[\\s\\d]"s,
                                       "[\\W]"s,
                                       "[^\\w]"s,
                                       "[\\w-]"s,
                                       "[\\b]"s,
                                       "[\\0]"s,
                                       "[\\0-\\x10]"s,
                                       "[\\x41-\\x43]"s,
                                       "[\\u0041-Z]"s,
                                       "[\\u2028]"s,
                                       "[\\cA-C]"s,
                                       "[\\n\\r\\t\\v\\f]"s,
                                       "[\\-\\\\]"s,
                                       "[[:alpha:]]"s,
                                       "[^[:alpha:]_]"s,
                                       "[[:DIGIT:]x]"s,
                                       "[[:w:]]"s,
                                       "[[:punct:][:cntrl:]]"s,
                                       "[[:blank:]]"s,
                                       "[[:graph:]]"s,
                                       "[[:print:]]"s,
                                       "[[:xdigit:]]"s,
                                       "[[:lower:][:upper:]]"s,
                                       "[[.a.]]"s,
                                       "[[.space.]-9]"s,
                                       "[[.hyphen.]]"s,
                                       "[[.NUL.]]"s,
                                       "[[=a=]]"s,
                                       "[[=Z=]b]"s,
                                       "[[=tilde=]]"s,
                                       "[\x80-\xff]"s,
                                       "[\xff-a]"s,
                                       "[\xe4]"s,
                                       "[^\xe4]"s,
                                       "[a\0b]"s,
                                       "[a\nb]"s}) {
      std::string_view rest = brackets;
      rest.remove_prefix(1);
      EXPECT_EQ(takeBrackets(rest), bytesOf(brackets)) << brackets;
      EXPECT_TRUE(rest.empty()) << brackets;
   }
}

TEST(RegexClass, takesNoMoreThanTheBrackets) {
   std::string_view rest = "a[:x]b]";
   EXPECT_NE(takeBrackets(rest), CharacterSet());
   rest = "[:alpha:]]*";
   takeBrackets(rest);
   EXPECT_EQ(rest, "*");
   rest = "\\]]c";
   takeBrackets(rest);
   EXPECT_EQ(rest, "c");
}

TEST(RegexClass, escapesMeanWhatTheyMeanToStdRegex) {
   for (int c = 1; c < 256; ++c) {
      const std::string expression =
           std::string("\\") + static_cast<char>(c) + (c == 'x' || c == 'u' ? "00e4" : "");
      std::string_view rest = std::string_view(expression).substr(1);
      const RegexEscape escape = takeEscape(rest, false);
      switch (escape.kind) {
         case RegexEscape::Kind::character:
            if (c == 'c') break;
            EXPECT_TRUE(
                 std::regex_match(std::string(1, escape.value) + std::string(rest), std::regex(expression)))
                 << c;
            break;
         case RegexEscape::Kind::characters:
            EXPECT_EQ(escapedClass(escape.value), bytesOf(expression)) << c;
            break;
         case RegexEscape::Kind::boundary:
            EXPECT_EQ(c, 'b');
            break;
         case RegexEscape::Kind::noBoundary:
            EXPECT_EQ(c, 'B');
            break;
         case RegexEscape::Kind::backReference:
            EXPECT_THROW(std::regex{expression}, std::regex_error) << c;
            break;
      }
   }
}

TEST(RegexClass, aSetSurvivesTheWayToRe2) {
   RE2::Options options;
   options.set_encoding(RE2::Options::EncodingLatin1);
   CharacterSet odd;
   for (std::size_t i = 1; i < odd.size(); i += 2)
      odd.set(i);
   for (const CharacterSet& set :
        {CharacterSet(), ~CharacterSet(), CharacterSet().set(0), CharacterSet().set(255), escapedClass('w'),
         escapedClass('W'), odd, ~odd}) {
      const RE2 regex(re2Class(set), options);
      ASSERT_TRUE(regex.ok()) << regex.error();
      for (std::size_t i = 0; i < set.size(); ++i)
         EXPECT_EQ(RE2::FullMatch(std::string(1, static_cast<char>(i)), regex), set[i]) << i;
   }
   for (int i = 0; i < 256; ++i) {
      const std::string text(1, static_cast<char>(i));
      EXPECT_TRUE(RE2::FullMatch(text, RE2(re2Character(text[0]), options))) << i;
   }
}

}  // namespace
}  // namespace OrvSdkRpc
