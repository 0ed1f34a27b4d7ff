#include "OrvSdkRpc/mirror/RegexTranslation.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace OrvSdkRpc {
namespace {

std::string patternOf(std::string_view expression) {
   return translateRegex(expression).pattern;
}
std::size_t sizeOf(std::string_view expression) {
   return translateRegex(expression).size;
}

TEST(RegexTranslation, charactersAreWrittenAsBytes) {
   EXPECT_EQ(patternOf("Et1"), "Et1");
   EXPECT_EQ(patternOf("a-b_\xe4]}"), "a\\x2db\\x5f\\xe4\\x5d\\x7d");
   EXPECT_EQ(patternOf("\\.\\Q\\cA\\x41\\u00e4\\0"), "\\x2eQAA\\xe4\\x00");
   EXPECT_EQ(patternOf(".\\d"), "[^\\n\\r][\\x30-\\x39]");
}

TEST(RegexTranslation, assertionsAreOfTheWholeText) {
   EXPECT_EQ(patternOf("^a\\b\\B$"), "\\Aa\\b\\B\\z");
}

TEST(RegexTranslation, groupsKeepNothing) {
   EXPECT_EQ(patternOf("(a|(?:b))"), "(?:a|(?:b))");
}

TEST(RegexTranslation, repetitionsOfRepetitionsBecomeOneOrStandInAGroup) {
   EXPECT_EQ(patternOf("a*b+c?"), "a*b+c?");
   EXPECT_EQ(patternOf("a*?b+?c??d{2}?"), "a*b+c?d{2}");
   EXPECT_EQ(patternOf("a**b++c????"), "a*b+c?");
   EXPECT_EQ(patternOf("a+*b?+c*+"), "a*b*c*");
   EXPECT_EQ(patternOf("a{2}{03,}{4,5}"), "(?:(?:a{2}){3,}){4,5}");
   EXPECT_EQ(patternOf("x[a]*{2}+"), "x(?:(?:[\\x61-\\x61]*){2})+");
}

TEST(RegexTranslation, aLookAheadAtTheBeginningIsTakenOut) {
   const RegexTranslation none = translateRegex("ab");
   EXPECT_FALSE(none.lookAhead);
   EXPECT_FALSE(none.others);
   const RegexTranslation negated = translateRegex("(?!Et|La).*");
   ASSERT_TRUE(negated.lookAhead);
   EXPECT_EQ(negated.lookAhead->pattern, "(?:Et|La)");
   EXPECT_TRUE(negated.lookAhead->negative);
   EXPECT_EQ(negated.pattern, "[^\\n\\r]*");
   EXPECT_FALSE(negated.others);
   const RegexTranslation one = translateRegex("^(?=.a)(b|c)|d|e");
   ASSERT_TRUE(one.lookAhead);
   EXPECT_FALSE(one.lookAhead->negative);
   EXPECT_EQ(one.pattern, "\\A(?:b|c)");
   EXPECT_EQ(one.others, "d|e");
   EXPECT_FALSE(one.lateLookAhead);
}

TEST(RegexTranslation, aLookAheadBehindTheBeginningIsTold) {
   for (const char* expression : {"a", "(?:a)", "(a)", "(?!a)b", "^(?=a).*", "(?=a)", "[(?=a)]", "\\(?=a"})
      EXPECT_FALSE(translateRegex(expression).lateLookAhead) << expression;
   for (const char* expression : {"a(?=b)", "(?:(?!a)b)", "(?=a(?!b))", "^^(?=a)", "a|(?!b)", ".*(?!a)",
                                  "(?=a)(?=b)c", "(?=a)b|(?=c)d"})
      EXPECT_TRUE(translateRegex(expression).lateLookAhead) << expression;
}

TEST(RegexTranslation, theSizeIsWithRepetitionsWrittenOut) {
   EXPECT_EQ(sizeOf(""), 0U);
   EXPECT_EQ(sizeOf("abc.\\d[a-z]\\x41"), 7U);
   EXPECT_EQ(sizeOf("a|b"), 10U);
   EXPECT_EQ(sizeOf("(ab)"), 10U);
   EXPECT_EQ(sizeOf("a*"), 9U);
   EXPECT_EQ(sizeOf("a{3}"), 12U);
   EXPECT_EQ(sizeOf("a{3,}"), 12U);
   EXPECT_EQ(sizeOf("a{3,5}"), 14U);
   EXPECT_EQ(sizeOf("b(a{3}){2}"), 1U + (12 + 8) * 3 + 8);
   EXPECT_EQ(sizeOf("[{100}]\\{1000}"), 7U);
}

TEST(RegexTranslation, countsDepthAndClasses) {
   EXPECT_EQ(translateRegex("a").depth, 0U);
   EXPECT_EQ(translateRegex("(a(b)(c(?:d)))").depth, 3U);
   EXPECT_EQ(translateRegex("a.b").classes, 0U);
   EXPECT_EQ(translateRegex("[a]\\d([[:alpha:]]\\w){9}").classes, 4U);
}

TEST(RegexTranslation, endsForWhatIsIllFormedOrEndless) {
   for (const char* expression :
        {"(",    ")",    "[", "[[:", "[[:a", "[[.a.", "\\",  "\\c",   "\\x", "\\xg", "{",    "a{",   "a{2",
         "a{2,", "a{x}", "*", "^*",  "|*",   "(?",    "(?=", "(?<a)", "[a-", "[\\",  "))((", "[a-\\"})
      static_cast<void>(translateRegex(expression));
   std::string towers = "x";
   for (int i = 0; i < 40; ++i)
      towers += "{99999999999999999999}";
   EXPECT_EQ(sizeOf(towers), RegexTranslation::sizeMax);
   const std::string deep = std::string(1000, '(') + towers + std::string(1000, ')');
   EXPECT_EQ(sizeOf(deep), RegexTranslation::sizeMax);
   EXPECT_EQ(translateRegex(deep).depth, 1000U);
}

}  // namespace
}  // namespace OrvSdkRpc
