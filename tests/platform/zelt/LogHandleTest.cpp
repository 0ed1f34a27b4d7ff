#include "platform/zelt/LogHandle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace Zelt {
namespace {

using ::testing::ElementsAre;

class LogHandleTest : public ::testing::Test {
protected:
   LogHandleTest() {
      logSinkIs([this](const LogRecord& record) {
         MutexAnchor guard(mutex_);
         lines_.push_back(std::string(record.name) + "/" + std::to_string(record.severity) + "/" +
                          std::string(record.text));
      });
   }
   ~LogHandleTest() override { logSinkIs({}); }

   std::vector<std::string> lines() {
      MutexAnchor guard(mutex_);
      return lines_;
   }

private:
   Mutex mutex_;
   std::vector<std::string> lines_ ZELT_GUARDED_BY(mutex_);
};

TEST_F(LogHandleTest, formatsAndGoesToTheSink) {
   LogHandle handle("TEST_RPC", 6, "user: %s, status: %s, items: %d", "An explanation", NoActionRequired, 0,
                    1.0, 0, 0);
   EXPECT_TRUE(handle.log(std::string("ann"), "OK", 3));
   EXPECT_THAT(lines(), ElementsAre("TEST_RPC/6/user: ann, status: OK, items: 3"));
   EXPECT_EQ(handle.name(), "TEST_RPC");
   EXPECT_EQ(handle.explanation(), "An explanation");
   EXPECT_EQ(handle.action(), NoActionRequired);
}

TEST_F(LogHandleTest, withoutAnIntervalNothingIsHeldBack) {
   LogHandle handle("TEST_MANY", 6, "%d", "");
   for (int i = 0; i < 100; ++i)
      EXPECT_TRUE(handle.log(i));
   EXPECT_EQ(lines().size(), 100U);
}

TEST_F(LogHandleTest, anIntervalLetsABurstPassAndHoldsBackTheRest) {
   LogHandle handle("TEST_RARE", 4, "%d", "", NoActionRequired, 3600, 2.0, 7200, 2);
   EXPECT_TRUE(handle.log(1));
   EXPECT_TRUE(handle.log(2));
   EXPECT_FALSE(handle.log(3));
   EXPECT_FALSE(handle.log(4));
   EXPECT_THAT(lines(), ElementsAre("TEST_RARE/4/1", "TEST_RARE/4/2"));
}

TEST_F(LogHandleTest, afterTheIntervalAMessagePassesAgain) {
   LogHandle handle("TEST_AGAIN", 4, "%d", "", NoActionRequired, 1e-9);
   EXPECT_TRUE(handle.log(1));
   const std::int64_t begin = Clock::steadyNanos();
   while (Clock::steadyNanos() - begin < 10 * nanosPerMicro) {
   }
   EXPECT_TRUE(handle.log(2));
}

TEST_F(LogHandleTest, severityIsBroughtIntoItsRange) {
   EXPECT_EQ(LogHandle("LOW", -3, "", "").severity(), 0);
   EXPECT_EQ(LogHandle("HIGH", 12, "", "").severity(), 7);
}

TEST_F(LogHandleTest, argumentsThatDoNotFitAreAnErrorAndWriteNothing) {
   LogHandle handle("TEST_BAD", 6, "%s %s", "");
   EXPECT_THROW(handle.log("one"), fmt::format_error);
   EXPECT_TRUE(lines().empty());
}

TEST_F(LogHandleTest, manyThreadsMayWriteAndTheSinkMayChange) {
   LogHandle handle("TEST_THREADS", 6, "%d", "");
   std::vector<std::thread> threads;
   for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&] {
         for (int i = 0; i < 500; ++i)
            handle.log(i);
      });
   }
   std::atomic<unsigned> elsewhere{0};
   logSinkIs([&](const LogRecord&) { elsewhere.fetch_add(1); });
   for (auto& thread : threads)
      thread.join();
   logSinkIs({});
   EXPECT_EQ(lines().size() + elsewhere.load(), 2000U);
}

TEST(LogSink, defaultIsOneLineOnStandardError) {
   LogHandle handle("TEST_STDERR", 3, "hello %s", "");
   testing::internal::CaptureStderr();
   handle.log("there");
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "TEST_STDERR: hello there\n");
}

}  // namespace
}  // namespace Zelt
