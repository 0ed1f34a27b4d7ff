#include "OrvSdkRpc/mirror/RegexShape.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace OrvSdkRpc {
namespace {

std::size_t sizeOf(std::string_view expression) {
   return regexShape(expression).size;
}

TEST(RegexShape, charactersClassesAndEscapesAreOneEach) {
   EXPECT_EQ(sizeOf(""), 0U);
   EXPECT_EQ(sizeOf("Lag1"), 4U);
   EXPECT_EQ(sizeOf("[a-z].\\d\\."), 4U);
   EXPECT_EQ(sizeOf("a|b"), 3U);
   EXPECT_EQ(sizeOf("a*b+c?"), 6U);
}

TEST(RegexShape, groupsAreOneMoreThanWhatIsInThem) {
   EXPECT_EQ(sizeOf("(ab)"), 3U);
   EXPECT_EQ(sizeOf("(?:ab)"), 3U);
   EXPECT_EQ(sizeOf("(?!ab)c"), 4U);
   EXPECT_EQ(sizeOf("((a)b)c"), 5U);
}

TEST(RegexShape, repetitionsAreWrittenOut) {
   EXPECT_EQ(sizeOf("x{500}"), 501U);
   EXPECT_EQ(sizeOf("ax{500,}"), 502U);
   EXPECT_EQ(sizeOf("x{2,30}y"), 32U);
   EXPECT_EQ(sizeOf("x{0}"), 2U);
   EXPECT_EQ(sizeOf("(ab){9}"), 30U);
   EXPECT_EQ(sizeOf("((a{9}){9}){9}"), 1110U);
   // Of something that is repeated already.
   EXPECT_EQ(sizeOf("a{9}{9}"), 100U);
   EXPECT_EQ(sizeOf("(ab)*{9}"), 40U);
   // Nothing is repeated at the beginning of a group.
   EXPECT_EQ(sizeOf("a({9}b)"), 3U);
}

// A scanner that takes one of these for something else could be led past a brace.
TEST(RegexShape, whatLooksLikeAGroupOrARepetitionAndIsNone) {
   EXPECT_EQ(sizeOf("[{9}]"), 1U);
   EXPECT_EQ(sizeOf("[({9}]{9}"), 10U);
   EXPECT_EQ(sizeOf("[\\]({9}]{9}"), 10U);
   EXPECT_EQ(sizeOf("[[:alpha:](]{9}"), 10U);
   EXPECT_EQ(sizeOf("[]{9}"), 10U) << "the class is empty";
   EXPECT_EQ(sizeOf("[^]{9}"), 10U) << "and this one is full";
   EXPECT_EQ(sizeOf("[[]{9}"), 10U);
   EXPECT_EQ(sizeOf("\\{9}"), 3U);
   EXPECT_EQ(sizeOf("\\({9}"), 10U);
   EXPECT_EQ(sizeOf("\\c({9}"), 10U) << "a control character";
   EXPECT_EQ(sizeOf("\\\\{9}"), 10U);
}

TEST(RegexShape, aLookAheadBehindTheBeginningIsTold) {
   for (const char* expression : {"a(?=b)", "(?=.*(?=b))", "((?!a)b)*", "^a(?!b)", "(?!a)(?!b).*"})
      EXPECT_TRUE(regexShape(expression).lateLookAhead) << expression;
   for (const char* expression :
        {"(?=b)a", "^(?!b)a", "\\(?=b", "a[(?=]", "a[[:alpha:](?!]", "(?:a)", "a(b)?=", "a\\c(?=b"})
      EXPECT_FALSE(regexShape(expression).lateLookAhead) << expression;
}

TEST(RegexShape, endsForWhatIsIllFormedOrEndless) {
   for (const char* expression : {"(", "((", ")", "[", "[[:", "[[:a", "[\\", "\\", "\\c", "{", "a{", "a{9",
                                  "a{9,", "(?", "(?x", "*{9}"})
      EXPECT_LE(sizeOf(expression), 20U) << expression;
   std::string towers = "a";
   for (int i = 0; i < 100; ++i)
      towers += "{99999999999999999999}";
   EXPECT_EQ(sizeOf(towers), RegexShape::sizeMax);
   EXPECT_EQ(sizeOf(std::string(1000, '(') + towers + std::string(1000, ')')), RegexShape::sizeMax);
}

}  // namespace
}  // namespace OrvSdkRpc
