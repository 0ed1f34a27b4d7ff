#include "platform/process/Brevis.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace Brevis {
namespace {

TEST(Ring, givesBackWhatWasWrittenInOrder) {
   const auto ring = std::make_unique<Ring>();
   EXPECT_TRUE(ring->entries().empty());
   ring->trace("one");
   ring->trace("");
   ring->trace("three");
   const std::vector<Entry> entries = ring->entries();
   ASSERT_EQ(entries.size(), 3U);
   EXPECT_EQ(entries[0].text, "one");
   EXPECT_EQ(entries[1].text, "");
   EXPECT_EQ(entries[2].text, "three");
   EXPECT_EQ(entries[2].number, 2U);
   EXPECT_GT(entries[0].wallNanos, 0);
}

TEST(Ring, keepsTheLastOnesWhenItWraps) {
   const auto ring = std::make_unique<Ring>();
   static constexpr std::size_t written = 2 * Ring::capacity + 10;
   for (std::size_t i = 0; i < written; ++i)
      ring->trace(std::to_string(i));
   const std::vector<Entry> entries = ring->entries();
   ASSERT_EQ(entries.size(), Ring::capacity);
   for (std::size_t i = 0; i < entries.size(); ++i) {
      const std::size_t expected = written - Ring::capacity + i;
      ASSERT_EQ(entries[i].number, expected);
      ASSERT_EQ(entries[i].text, std::to_string(expected));
   }
}

TEST(Ring, holdsExactlyItsCapacity) {
   const auto ring = std::make_unique<Ring>();
   for (std::size_t i = 0; i < Ring::capacity; ++i)
      ring->trace("x");
   EXPECT_EQ(ring->entries().front().number, 0U);
   ring->trace("x");
   EXPECT_EQ(ring->entries().size(), Ring::capacity);
   EXPECT_EQ(ring->entries().front().number, 1U);
}

TEST(Ring, cutsALongText) {
   const auto ring = std::make_unique<Ring>();
   ring->trace(std::string(Ring::maxText, 'a'));
   ring->trace(std::string(Ring::maxText + 1, 'b'));
   const std::vector<Entry> entries = ring->entries();
   EXPECT_EQ(entries[0].text, std::string(Ring::maxText, 'a'));
   EXPECT_EQ(entries[1].text, std::string(Ring::maxText - 3, 'b') + "...");
}

TEST(Ring, manyThreadsWriteWholeEntries) {
   const auto ring = std::make_unique<Ring>();
   std::vector<std::thread> threads;
   for (char c : {'a', 'b', 'c', 'd'}) {
      threads.emplace_back([&ring, c] {
         for (int i = 0; i < 1000; ++i)
            ring->trace(std::string(50, c));
      });
   }
   for (int i = 0; i < 20; ++i)
      EXPECT_LE(ring->entries().size(), Ring::capacity);
   for (auto& thread : threads)
      thread.join();
   const std::vector<Entry> entries = ring->entries();
   ASSERT_EQ(entries.size(), Ring::capacity);
   EXPECT_EQ(entries.back().number, 3999U);
   for (const Entry& entry : entries)
      EXPECT_EQ(entry.text, std::string(50, entry.text[0]));
}

TEST(Brevis, theProcessHasARingThatFormatsAndDumps) {
   trace("plain {}");
   trace("Enabling: {}", 7);
   const std::vector<Entry> all = entries();
   ASSERT_GE(all.size(), 2U);
   EXPECT_EQ(all[all.size() - 2].text, "plain {}") << "without arguments the text is taken as it is";
   EXPECT_EQ(all.back().text, "Enabling: 7");

   const std::string text = dump();
   const std::regex lastLine(R"((^|\n)\d+ \d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z Enabling: 7\n$)");
   EXPECT_TRUE(std::regex_search(text, lastLine)) << text;
}

}  // namespace
}  // namespace Brevis
