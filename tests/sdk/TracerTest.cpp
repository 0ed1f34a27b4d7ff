#include "orv/tracer.h"

#include <gtest/gtest.h>

#include <regex>
#include <thread>
#include <vector>

#include "Regular.h"
#include "orv/error.h"

namespace {

// Counts how often it is formatted.
struct Counted {
   int* formatted;
};

}  // namespace

template <>
struct fmt::formatter<Counted> : fmt::formatter<int> {
   template <typename Context>
   auto format(const Counted& v, Context& ctx) const {
      return fmt::formatter<int>::format(++*v.formatted, ctx);
   }
};

namespace {

struct Line {
   std::string name;
   int level;
   std::string text;
   bool operator==(const Line&) const = default;
};

class TracerTest : public testing::Test {
protected:
   void TearDown() override {
      orv::trace_sink_is({});
      orv::trace_setting_is("");
   }
   void collect() {
      orv::trace_sink_is([this](std::string_view name, int level, std::string_view text) {
         lines.push_back({std::string(name), level, std::string(text)});
      });
   }
   static std::vector<int> levelsOf(const orv::tracer& t) {
      std::vector<int> out;
      for (int level = 0; level <= orv::trace_level_max; ++level) {
         if (t.enabled(level)) out.push_back(level);
      }
      return out;
   }

   std::vector<Line> lines;
};

TEST_F(TracerTest, everythingIsOffAtTheStart) {
   EXPECT_TRUE(levelsOf(orv::tracer("rpc-server")).empty());
}

TEST_F(TracerTest, aLevelThatIsOffFormatsNothing) {
   collect();
   int formatted = 0;
   const orv::tracer t("quiet");
   orv::fmttrace(t, 5, "{}", Counted{&formatted});
   EXPECT_EQ(formatted, 0);
   EXPECT_TRUE(lines.empty());

   orv::trace_setting_is("quiet/5");
   orv::fmttrace(t, 5, "{}", Counted{&formatted});
   orv::fmttrace(t, 4, "{}", Counted{&formatted});
   EXPECT_EQ(formatted, 1);
   EXPECT_EQ(lines, (std::vector<Line>{{"quiet", 5, "1"}}));
}

TEST_F(TracerTest, aSettingNamesLevelsPerName) {
   orv::trace_setting_is("rpc-server/0-9,OrvSdkRpc/0,1");
   EXPECT_EQ(levelsOf(orv::tracer("rpc-server")), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
   EXPECT_EQ(levelsOf(orv::tracer("OrvSdkRpc")), (std::vector<int>{0, 1}));
   EXPECT_TRUE(levelsOf(orv::tracer("acl")).empty());
}

TEST_F(TracerTest, aBareItemAddsToTheNameInFrontOfIt) {
   orv::trace_setting_is("a/0,3-4,9,b/7,a/1");
   EXPECT_EQ(levelsOf(orv::tracer("a")), (std::vector<int>{0, 1, 3, 4, 9}));
   EXPECT_EQ(levelsOf(orv::tracer("b")), (std::vector<int>{7}));
}

TEST_F(TracerTest, aStarStandsForEveryName) {
   orv::trace_setting_is("*/0,acl/8");
   EXPECT_EQ(levelsOf(orv::tracer("acl")), (std::vector<int>{0, 8}));
   EXPECT_EQ(levelsOf(orv::tracer("made later")), (std::vector<int>{0}));
}

TEST_F(TracerTest, aNewSettingReplacesTheOldOneForTracersThatExist) {
   const orv::tracer a("a");
   const orv::tracer same("a");
   orv::trace_setting_is("a/1");
   EXPECT_EQ(levelsOf(a), (std::vector<int>{1}));
   EXPECT_EQ(levelsOf(same), (std::vector<int>{1}));
   orv::trace_setting_is("b/2");
   EXPECT_TRUE(levelsOf(a).empty());
   orv::trace_setting_is("a/3");
   orv::trace_setting_is("");
   EXPECT_TRUE(levelsOf(a).empty());
}

TEST_F(TracerTest, aNameMayHoldASlash) {
   orv::trace_setting_is("room/part/2");
   EXPECT_EQ(levelsOf(orv::tracer("room/part")), (std::vector<int>{2}));
}

class MalformedSetting : public TracerTest, public testing::WithParamInterface<const char*> {};

TEST_P(MalformedSetting, isRefusedInWordsAndChangesNothing) {
   const orv::tracer kept("kept");
   orv::trace_setting_is("kept/4");
   const std::string text =
        sdk_test::errorText<orv::invalid_argument_error>([] { orv::trace_setting_is(GetParam()); });
   EXPECT_NE(text.find("'" + std::string(GetParam()) + "'"), std::string::npos) << text;
   EXPECT_NE(text.find("expected NAME/LEVELS"), std::string::npos) << text;
   EXPECT_EQ(levelsOf(kept), (std::vector<int>{4}));
}

INSTANTIATE_TEST_SUITE_P(All, MalformedSetting,
                         testing::Values("kept", "3", "kept/", "/3", "kept/a", "kept/10", "kept/3-",
                                         "kept/-3", "kept/5-3", "kept/1,,2", "kept/1,", ",kept/1",
                                         "kept/1-2-3", "kept/1 ", "good/1,bad", " ", "kept/0x1"));

TEST_F(TracerTest, aMalformedSettingsControlCharactersDoNotReachTheWords) {
   const std::string text =
        sdk_test::errorText<orv::invalid_argument_error>([] { orv::trace_setting_is("a\nb"); });
   EXPECT_NE(text.find("'a\\x0ab'"), std::string::npos) << text;
}

TEST_F(TracerTest, theDefaultSinkWritesOneLine) {
   orv::trace_setting_is("rpc-server/3");
   const orv::tracer t("rpc-server");
   testing::internal::CaptureStderr();
   orv::fmttrace(t, 3, "Set alarm for handler {}\n", 7);
   orv::fmttrace(t, 3, "two\nlines {}", "\x1b[1m");
   const std::string out = testing::internal::GetCapturedStderr();
   const std::string stamp = "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{6}Z rpc-server 3 ";
   EXPECT_TRUE(std::regex_match(
        out, std::regex(stamp + "Set alarm for handler 7\n" + stamp + "two\\\\x0alines \\\\x1b\\[1m\n")))
        << out;
}

TEST_F(TracerTest, sinkIsCalledByOneThreadAtATime) {
   constexpr int kRounds = 500;
   orv::trace_setting_is("busy/1");
   std::atomic<int> inside{0};
   int total = 0;
   bool alone = true;
   orv::trace_sink_is([&](std::string_view, int, std::string_view) {
      alone = alone && ++inside == 1;
      ++total;
      --inside;
   });
   const auto work = [] {
      const orv::tracer t("busy");
      for (int i = 0; i < kRounds; ++i)
         orv::fmttrace(t, 1, "{}", i);
   };
   std::thread other(work);
   work();
   other.join();
   EXPECT_TRUE(alone);
   EXPECT_EQ(total, 2 * kRounds);
}

TEST_F(TracerTest, settingsMayChangeWhileOthersTrace) {
   orv::trace_sink_is([](std::string_view, int, std::string_view) {});
   std::atomic<bool> stop{false};
   std::thread tracing([&] {
      const orv::tracer t("changing");
      while (!stop)
         orv::fmttrace(t, 2, "text");
   });
   for (int i = 0; i < 200; ++i)
      orv::trace_setting_is(i % 2 == 0 ? "changing/2" : "");
   stop = true;
   tracing.join();
   EXPECT_FALSE(orv::tracer("changing").enabled(2));
}

}  // namespace
