#include "orvctl/Progress.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <sstream>

namespace orvctl {
namespace {

TEST(Progress, theLineShowsHowFarItIs) {
   EXPECT_EQ(progressLine(0, 10, 0, 10), "[          ]   0%  0/10  0/s");
   EXPECT_EQ(progressLine(5, 10, 123.4, 10), "[#####     ]  50%  5/10  123/s");
   EXPECT_EQ(progressLine(10, 10, 5, 10), "[##########] 100%  10/10  5/s");
   EXPECT_EQ(progressLine(0, 0, 0, 4), "[####] 100%  0/0  0/s");
   EXPECT_EQ(progressLine(500, std::nullopt, 1234.4, 4), "500  1234/s");
}

TEST(Progress, nothingIsDrawnWhereNobodyWatches) {
   std::ostringstream out;
   {
      Progress bar(out, false, 10);
      bar.doneIs(5);
   }
   EXPECT_EQ(out.str(), "");
}

TEST(Progress, aCountIsDrawnOnlyWhenItTakesLong) {
   std::ostringstream out;
   const auto before = std::chrono::steady_clock::now();
   {
      Progress count(out, true);
      count.doneIs(1, before + std::chrono::milliseconds(499));
      EXPECT_EQ(out.str(), "");
      count.doneIs(2, std::chrono::steady_clock::now() + std::chrono::milliseconds(500));
      EXPECT_EQ(out.str().find("\r\x1b[K2  "), 0U) << out.str();
   }
   EXPECT_TRUE(out.str().ends_with("\r\x1b[K"));
}

TEST(Progress, theBarIsGoneAtTheEnd) {
   std::ostringstream out;
   {
      Progress bar(out, true, 10);
      bar.doneIs(5);
      EXPECT_NE(out.str().find("50%  5/10"), std::string::npos);
   }
   EXPECT_TRUE(out.str().ends_with("\r\x1b[K"));
}

}  // namespace
}  // namespace orvctl
