#include "platform/zelt/Futex.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

#include "platform/zelt/Clock.h"

namespace Zelt {
namespace {

TEST(Futex, returnsAtOnceIfTheWordHasChanged) {
   const std::atomic<std::uint32_t> word{7};
   EXPECT_TRUE(futexWait(word, 6, noTimeout));
}

TEST(Futex, tellsThatTheTimeIsOver) {
   const std::atomic<std::uint32_t> word{7};
   EXPECT_FALSE(futexWait(word, 7, 0));
   EXPECT_FALSE(futexWait(word, 7, -5));
   const std::int64_t begin = Clock::steadyNanos();
   while (futexWait(word, 7, nanosPerMilli)) {
   }
   EXPECT_GE(Clock::steadyNanos() - begin, nanosPerMilli);
}

TEST(Futex, wakesASleeper) {
   std::atomic<std::uint32_t> word{0};
   std::thread sleeper([&] {
      while (word.load() == 0)
         futexWait(word, 0, noTimeout);
   });
   word.store(1);
   futexWake(&word);
   sleeper.join();
   EXPECT_EQ(word.load(), 1U);
}

TEST(Futex, keepsErrno) {
   const std::atomic<std::uint32_t> word{7};
   errno = 42;
   futexWait(word, 6, noTimeout);
   EXPECT_EQ(errno, 42);
   futexWait(word, 7, 1000);
   EXPECT_EQ(errno, 42);
   futexWake(&word);
   EXPECT_EQ(errno, 42);
}

}  // namespace
}  // namespace Zelt
