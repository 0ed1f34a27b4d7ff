#include "OrvSdkRpc/mirror/NameRegex.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <exception>
#include <string>

namespace OrvSdkRpc {
namespace {

// Empty where it is not refused.
std::string refusal(const std::string& expression) {
   try {
      const NameRegex regex(expression);
      return {};
   } catch (const std::exception& e) {
      EXPECT_STRNE(e.what(), "");
      return e.what();
   }
}
std::string repeated(const std::string& text, std::size_t times) {
   std::string all;
   for (std::size_t i = 0; i < times; ++i)
      all += text;
   return all;
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
   EXPECT_TRUE(NameRegex("^(?=.*1)[A-Z].*").matches("Lag1"));
   EXPECT_TRUE(NameRegex("[0-9]{1,3}(\\.[0-9]{1,3}){3}").matches("192.0.2.1"));
}

TEST(NameRegex, refusesWhatIsIllFormed) {
   for (const char* expression : {"(", "[", "*", "a{2", "\\"})
      EXPECT_NE(refusal(expression), "") << expression;
}

TEST(NameRegex, aMatchIsNotExponentialInTheName) {
   // Each step of a backtracking search would double the time.
   EXPECT_FALSE(NameRegex("(a|a)*b").matches(std::string(255, 'a')));
   EXPECT_FALSE(NameRegex("((a*)*)*b").matches(std::string(255, 'a')));
}

TEST(NameRegex, refusesWhatTakesTimeOrStackWithoutABound) {
   for (const char* expression : {"(ab)\\1", "(q?)((x?){0,5}.)*\\1"}) {
      EXPECT_EQ(refusal(expression), "regular expression with a back-reference") << expression;
   }
   for (const char* expression : {"(?=.*(?!.*b)).*", "(?:(?!a*!)a*){70}!", "x(?=y).*", "^x(?!y).*"}) {
      EXPECT_EQ(refusal(expression), "regular expression with a look-ahead behind its beginning")
           << expression;
   }
   for (const char* expression :
        {"(?:\\w*){24000}!", "((.?){0,100}){0,100}z", "(){30000}b", "((a*)*){5000}b"}) {
      EXPECT_EQ(refusal(expression),
                "regular expression of more than 512 characters with its repetitions written out")
           << expression;
   }
}

TEST(NameRegex, countsRepetitionsAsTheyAreWrittenOut) {
   EXPECT_EQ(refusal("x{500}"), "");
   EXPECT_NE(refusal("x{520}"), "");
   EXPECT_NE(refusal("(x{30}){20}"), "");
   // Thirty names are no burden.
   EXPECT_EQ(refusal(repeated("Ethernet12/34|", 30) + "Lag1"), "");
}

TEST(NameRegex, takesLongExpressionsUpToABound) {
   const std::string deepest = repeated("(", 510) + "ab" + repeated(")", 510);
   EXPECT_TRUE(NameRegex(deepest).matches("ab"));
   const std::string longest = "[" + repeated("ab", NameRegex::bytesMax / 2 - 1) + "]";
   ASSERT_EQ(longest.size(), NameRegex::bytesMax);
   EXPECT_TRUE(NameRegex(longest).matches("b"));
   EXPECT_EQ(refusal(longest + "c"), "regular expression of 4097 bytes, expected at most 4096");
   EXPECT_NE(refusal(std::string(1 << 20, '(')), "");
}

// A thread of the agent has 8 MiB.
TEST(NameRegex, theWorstOfThemFitTheStack) {
   const auto worst = [](void*) -> void* {
      const std::string name(255, 'a');
      EXPECT_FALSE(NameRegex(repeated("(", 250) + "a" + repeated("*)", 250) + "b").matches(name));
      EXPECT_FALSE(NameRegex("(){500}b").matches(name));
      EXPECT_FALSE(NameRegex("(?:\\w*){165}!").matches(name));
      EXPECT_FALSE(NameRegex("(?=(?:\\w*){80}!)(?:\\w*){80}").matches(name));
      EXPECT_NE(refusal(std::string(NameRegex::sizeMax, '(')), "");
      return nullptr;
   };
   pthread_attr_t attributes;
   ASSERT_EQ(pthread_attr_init(&attributes), 0);
   ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{4} << 20), 0);
   pthread_t thread{};
   ASSERT_EQ(pthread_create(&thread, &attributes, worst, nullptr), 0);
   EXPECT_EQ(pthread_join(thread, nullptr), 0);
   EXPECT_EQ(pthread_attr_destroy(&attributes), 0);
}

}  // namespace
}  // namespace OrvSdkRpc
