#include "OrvSdkRpc/mirror/NameRegex.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <ctime>
#include <exception>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace OrvSdkRpc {
namespace {

// The text of the refusal; empty when there was none.
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

// Each step of a backtracking search would double the time.
TEST(NameRegex, aMatchIsNotExponentialInTheName) {
   EXPECT_FALSE(NameRegex("(a|a)*b").matches(std::string(255, 'a')));
   EXPECT_FALSE(NameRegex("((a*)*)*b").matches(std::string(255, 'a')));
   EXPECT_FALSE(NameRegex("(a?){200}a{200}b").matches(std::string(255, 'a')));
   EXPECT_FALSE(NameRegex("(.*)(.*)(.*)(.*)(.*)(.*)(.*)(.*)(.*)[^a]").matches(std::string(255, 'a')));
}

TEST(NameRegex, refusesWhatOnlyASearchCanMatch) {
   for (const char* expression : {"(ab)\\1", "(q?)((x?){0,5}.)*\\1"})
      EXPECT_EQ(refusal(expression), "regular expression with a back-reference") << expression;
   for (const char* expression :
        {"(?=.*(?!.*b)).*", "(?:(?!a*!)a*){70}!", "x(?=y).*", "^x(?!y).*", "(?=a)(?=b)."}) {
      EXPECT_EQ(refusal(expression), "regular expression with a look-ahead after its beginning")
           << expression;
   }
}

TEST(NameRegex, aLookAheadBelongsToItsAlternativeAlone) {
   const NameRegex regex("^(?!.*2)Ethernet\\d|Lag2|Et2.*");
   EXPECT_TRUE(regex.matches("Ethernet1"));
   EXPECT_FALSE(regex.matches("Ethernet2"));
   EXPECT_TRUE(regex.matches("Lag2"));
   EXPECT_TRUE(regex.matches("Et22"));
   EXPECT_FALSE(regex.matches("Lag1"));
   const NameRegex ahead("(?=E|L).*1");
   EXPECT_TRUE(ahead.matches("Lag1"));
   EXPECT_FALSE(ahead.matches("Lag2"));
   EXPECT_FALSE(ahead.matches("Vlan1"));
   EXPECT_FALSE(ahead.matches(""));
}

TEST(NameRegex, takesALongListOfNames) {
   std::string list = "Etherne1";
   for (int i = 1; i < 100; ++i)
      list += "|Ether" + std::to_string(i % 90 + 10);
   ASSERT_EQ(list.size(), 8U + 99 * 8);
   list = list.substr(0, 799);
   const NameRegex regex(list);
   EXPECT_TRUE(regex.matches("Ether55"));
   EXPECT_FALSE(regex.matches("Ether5"));
   EXPECT_FALSE(regex.matches("Ether10|Ether11"));
   // As many alternatives as there is room for.
   const NameRegex longest(repeated("Port123|", 511) + "Port124");
   EXPECT_TRUE(longest.matches("Port124"));
   // Alternatives with classes work too.
   EXPECT_TRUE(NameRegex(repeated("Et[0-9]+/[0-9]+|", 120) + "Lag1").matches("Et3/4"));
}

TEST(NameRegex, refusesWhatIsTooLarge) {
   const std::string written =
        "regular expression of more than 8192 characters with its repetitions expanded";
   for (const char* expression :
        {"(?:\\w*){24000}!", "((.?){0,100}){0,100}z", "(){30000}b", "((a*)*){5000}b", "a{4294967297}"})
      EXPECT_EQ(refusal(expression), written) << expression;
   EXPECT_EQ(refusal(repeated("a|", 1000)), written);
   EXPECT_EQ(refusal("x{1000}"), "");
   EXPECT_EQ(refusal("x{1001}"), "regular expression that repeats something more than 1000 times");
   EXPECT_EQ(refusal("(x{40}){30}"), "regular expression that repeats something more than 1000 times");
   EXPECT_EQ(refusal(repeated("(", 200) + "a" + repeated(")", 200)), "");
   EXPECT_EQ(refusal(repeated("(", 201) + "a" + repeated(")", 201)),
             "regular expression of 201 nested groups, expected at most 200");
   EXPECT_EQ(refusal(repeated("\\w", 256)), "");
   EXPECT_EQ(refusal(repeated("\\w", 257)), "regular expression of 257 classes, expected at most 256");
   const std::string longest = "[" + repeated("ab", NameRegex::bytesMax / 2 - 1) + "]";
   ASSERT_EQ(longest.size(), NameRegex::bytesMax);
   EXPECT_TRUE(NameRegex(longest).matches("b"));
   EXPECT_EQ(refusal(longest + "c"), "regular expression of 4097 bytes, expected at most 4096");
   EXPECT_NE(refusal(std::string(1 << 20, '(')), "");
   // Short in characters, but large for an automaton over bytes: every second byte.
   std::string odd = "[";
   for (int c = 1; c < 256; c += 2)
      odd += std::string_view("-[]\\^").find(static_cast<char>(c)) == std::string_view::npos
                  ? std::string(1, static_cast<char>(c))
                  : std::string();
   EXPECT_EQ(refusal(odd + "]{400}"), "regular expression that takes too much memory");
}

// Expressions at the limits, which take std::regex or RE2 the longest to compile or to match.
std::vector<std::string> hostileExpressions() {
   return {repeated("(", 200) + "a" + repeated("*)", 200) + "b",
           "(){1000}b",
           repeated("a|", 900) + "b",
           repeated("|", 1000),
           repeated("a?", 900) + "b",
           repeated("a{0}", 480) + "b",
           "a{0,900}b",
           repeated("(?:)", 1000),
           std::string(NameRegex::bytesMax - 1, '.') + "b",
           "(?:\\w*){250}!",
           "(?:[ab]*a[ab]{12}){20}",
           "(?=(?:\\w*){80}!)(?:\\w*){80}",
           "(?:a|b)*a(?:a|b){400}",
           repeated("[[=a=]]", 256) + "!",
           repeated("\\w?", 256) + "!",
           repeated("(?:.?){0,15}", 50) + "!",
           std::string(NameRegex::depthMax, '(')};
}

// The time limit holds on a busy machine too. Without the limits on expressions these would take minutes, or
// never end.
TEST(NameRegex, theWorstOfThemTakeLittleTime) {
   std::string name;
   for (int i = 0; i < 255; ++i)
      name += (i * i / 7 + i / 3) % 2 != 0 ? 'a' : 'b';
   for (const std::string& expression : hostileExpressions()) {
      const std::clock_t begin = std::clock();
      try {
         const NameRegex regex(expression);
         for (int i = 0; i < 10; ++i)
            EXPECT_FALSE(regex.matches(name.substr(static_cast<std::size_t>(i)) + "-"));
      } catch (const std::invalid_argument&) {
         // A quick refusal is as good.
      }
      const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
      EXPECT_LT(seconds, 2.0) << expression.substr(0, 60);
   }
}

// The agent's threads have stacks of 8 MiB.
TEST(NameRegex, theWorstOfThemFitTheStack) {
   const auto worst = [](void*) -> void* {
      const std::string name(255, 'a');
      for (const std::string& expression : hostileExpressions()) {
         try {
            EXPECT_FALSE(NameRegex(expression).matches(name + "-"));
         } catch (const std::invalid_argument&) {
            EXPECT_NE(refusal(expression), "");
         }
      }
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

TEST(NameRegex, whatItKeepsIsBounded) {
   const auto used = [] {
      const struct mallinfo2 info = mallinfo2();
      return info.uordblks + info.hblkhd;
   };
   if (used() == 0) GTEST_SKIP() << "this allocator keeps no account";
   // Nearly each character of the names adds a state.
   const NameRegex warm("a");
   EXPECT_TRUE(warm.matches("a"));
   const std::size_t before = used();
   const NameRegex regex("(?:a|b)*a(?:a|b){60}");
   std::mt19937 random(1);
   for (int i = 0; i < 200; ++i) {
      std::string name;
      for (int c = 0; c < 255; ++c)
         name += random() % 2 == 0 ? 'a' : 'b';
      static_cast<void>(regex.matches(name));
   }
   EXPECT_GT(used() - before, std::size_t{64} << 10);
   EXPECT_LT(used() - before, NameRegex::memoryMax + (std::size_t{128} << 10));
}

TEST(NameRegex, threadsMayShareOne) {
   const NameRegex regex("(?:Ethernet|Lag)[0-9]+");
   std::vector<std::thread> threads;
   std::atomic<int> matched = 0;
   for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&, copy = regex] {
         for (int i = 0; i < 500; ++i)
            matched +=
                 copy.matches("Ethernet" + std::to_string(i)) && !copy.matches("Vlan" + std::to_string(i));
      });
   }
   for (auto& thread : threads)
      thread.join();
   EXPECT_EQ(matched, 2000);
}

}  // namespace
}  // namespace OrvSdkRpc
