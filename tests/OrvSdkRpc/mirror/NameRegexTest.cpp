#include "OrvSdkRpc/mirror/NameRegex.h"

#include <gtest/gtest.h>

#include <string>

namespace OrvSdkRpc {
namespace {

bool compiles(const std::string& expression) {
   try {
      const NameRegex regex(expression);
      return true;
   } catch (const std::regex_error& e) {
      EXPECT_STRNE(e.what(), "");
      return false;
   }
}

TEST(NameRegex, matchesWholeNamesOnly) {
   const NameRegex regex("Ethernet1");
   EXPECT_TRUE(regex.matches("Ethernet1"));
   EXPECT_FALSE(regex.matches("Ethernet12"));
   EXPECT_FALSE(regex.matches("aEthernet1"));
   EXPECT_FALSE(regex.matches(""));
   const NameRegex start("^Ethernet");
   EXPECT_FALSE(start.matches("Ethernet1"));
}

TEST(NameRegex, alternativesMatchWholeNamesToo) {
   const NameRegex regex("a|ab|abc");
   for (const char* name : {"a", "ab", "abc"})
      EXPECT_TRUE(regex.matches(name)) << name;
   EXPECT_FALSE(regex.matches("abcd"));
   EXPECT_FALSE(regex.matches("b"));
}

TEST(NameRegex, understandsEcmaScript) {
   EXPECT_TRUE(NameRegex("Ethernet[0-9]+(/\\d{1,2})?").matches("Ethernet3/12"));
   EXPECT_FALSE(NameRegex("Ethernet[0-9]+(/\\d{1,2})?").matches("Ethernet3/123"));
   EXPECT_TRUE(NameRegex("(?!Ethernet).*").matches("Lag1"));
   EXPECT_FALSE(NameRegex("(?!Ethernet).*").matches("Ethernet1"));
   EXPECT_TRUE(NameRegex("(ab)\\1").matches("abab")) << "a back-reference";
   EXPECT_FALSE(NameRegex("(ab)\\1").matches("abac"));
}

TEST(NameRegex, refusesWhatIsIllFormed) {
   for (const char* expression : {"(", "[", "*", "a{2", "\\"})
      EXPECT_FALSE(compiles(expression)) << expression;
}

TEST(NameRegex, aMatchIsNotExponentialInTheName) {
   // Each step of a backtracking search would double the time.
   EXPECT_FALSE(NameRegex("(a|a)*b").matches(std::string(255, 'a')));
   EXPECT_FALSE(NameRegex("((a*)*)*b").matches(std::string(255, 'a')));
}

TEST(NameRegex, takesLongExpressionsUpToABound) {
   std::string deepest(NameRegex::bytesMax / 2 - 1, '(');
   deepest += "ab";
   deepest.append(NameRegex::bytesMax / 2 - 1, ')');
   ASSERT_EQ(deepest.size(), NameRegex::bytesMax);
   EXPECT_TRUE(NameRegex(deepest).matches("ab"));
   EXPECT_FALSE(compiles(deepest + "c"));
   EXPECT_FALSE(compiles(std::string(1 << 20, '(')));
}

}  // namespace
}  // namespace OrvSdkRpc
