#include "OrvSdkRpc/mirror/RegexSize.h"

#include <gtest/gtest.h>

#include <string>

namespace OrvSdkRpc {
namespace {

TEST(RegexSize, charactersClassesAndEscapesAreOneEach) {
   EXPECT_EQ(regexSize(""), 0U);
   EXPECT_EQ(regexSize("Lag1"), 4U);
   EXPECT_EQ(regexSize("[a-z].\\d\\."), 4U);
   EXPECT_EQ(regexSize("a|b"), 3U);
   EXPECT_EQ(regexSize("a*b+c?"), 6U);
}

TEST(RegexSize, groupsAreOneMoreThanWhatIsInThem) {
   EXPECT_EQ(regexSize("(ab)"), 3U);
   EXPECT_EQ(regexSize("(?:ab)"), 3U);
   EXPECT_EQ(regexSize("(?!ab)c"), 4U);
   EXPECT_EQ(regexSize("((a)b)c"), 5U);
}

TEST(RegexSize, repetitionsAreWrittenOut) {
   EXPECT_EQ(regexSize("x{500}"), 501U);
   EXPECT_EQ(regexSize("ax{500,}"), 502U);
   EXPECT_EQ(regexSize("x{2,30}y"), 32U);
   EXPECT_EQ(regexSize("x{0}"), 2U);
   EXPECT_EQ(regexSize("(ab){9}"), 30U);
   EXPECT_EQ(regexSize("((a{9}){9}){9}"), 1110U);
   // Of something that is repeated already.
   EXPECT_EQ(regexSize("a{9}{9}"), 100U);
   EXPECT_EQ(regexSize("(ab)*{9}"), 40U);
   // Nothing is repeated at the beginning of a group.
   EXPECT_EQ(regexSize("a({9}b)"), 3U);
}

// A scanner that takes one of these for something else could be led past a brace.
TEST(RegexSize, whatLooksLikeAGroupOrARepetitionAndIsNone) {
   EXPECT_EQ(regexSize("[{9}]"), 1U);
   EXPECT_EQ(regexSize("[({9}]{9}"), 10U);
   EXPECT_EQ(regexSize("[\\]({9}]{9}"), 10U);
   EXPECT_EQ(regexSize("[[:alpha:](]{9}"), 10U);
   EXPECT_EQ(regexSize("[]{9}"), 10U) << "the class is empty";
   EXPECT_EQ(regexSize("[^]{9}"), 10U) << "and this one is full";
   EXPECT_EQ(regexSize("[[]{9}"), 10U);
   EXPECT_EQ(regexSize("\\{9}"), 3U);
   EXPECT_EQ(regexSize("\\({9}"), 10U);
   EXPECT_EQ(regexSize("\\c({9}"), 10U) << "a control character";
   EXPECT_EQ(regexSize("\\\\{9}"), 10U);
}

TEST(RegexSize, endsForWhatIsIllFormedOrEndless) {
   for (const char* expression : {"(", "((", ")", "[", "[[:", "[[:a", "[\\", "\\", "\\c", "{", "a{", "a{9",
                                  "a{9,", "(?", "(?x", "*{9}"})
      EXPECT_LE(regexSize(expression), 20U) << expression;
   std::string towers = "a";
   for (int i = 0; i < 100; ++i)
      towers += "{99999999999999999999}";
   EXPECT_EQ(regexSize(towers), regexSizeMax);
   EXPECT_EQ(regexSize(std::string(1000, '(') + towers + std::string(1000, ')')), regexSizeMax);
}

}  // namespace
}  // namespace OrvSdkRpc
