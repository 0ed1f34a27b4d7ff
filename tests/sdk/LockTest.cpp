#include "orv/lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <regex>
#include <semaphore>
#include <thread>

#include "Regular.h"
#include "orv/error.h"

namespace {

class CountingBackend : public orv::host::lock_backend {
public:
   void acquire() override {
      if (refuse) throw std::runtime_error("no lock today");
      ++acquired;
   }
   void release() noexcept override { ++released; }
   void settle() noexcept override { ++settled; }

   int acquired = 0;
   int released = 0;
   int settled = 0;
   bool refuse = false;
};

class LockTest : public testing::Test {
protected:
   void TearDown() override {
      orv::host::main_thread_clear();
      orv::host::lock_backend_is(nullptr);
   }

   // Runs `call` on a thread of its own and waits for it.
   template <typename Call>
   static void elsewhere(Call&& call) {
      std::thread(std::forward<Call>(call)).join();
   }
};

TEST_F(LockTest, onlyTheOutermostLockReachesTheBackend) {
   CountingBackend backend;
   orv::host::lock_backend_is(&backend);
   {
      const orv::sdk_scoped_lock outer;
      {
         const orv::sdk_scoped_lock inner;
         const orv::sdk_scoped_lock innermost;
         EXPECT_EQ(backend.acquired, 1);
      }
      EXPECT_EQ(backend.released, 0);
   }
   EXPECT_EQ(backend.acquired, 1);
   EXPECT_EQ(backend.released, 1);
   { const orv::sdk_scoped_lock again; }
   EXPECT_EQ(backend.acquired, 2);
   EXPECT_EQ(backend.released, 2);
}

TEST_F(LockTest, aSettleReachesTheBackendAndKeepsTheLock) {
   CountingBackend backend;
   orv::host::lock_backend_is(&backend);
   orv::host::main_thread_is();
   elsewhere([&] {
      orv::sdk_lock_settle();
      EXPECT_EQ(backend.settled, 0) << "the thread holds nothing";
      const orv::sdk_scoped_lock outer;
      const orv::sdk_scoped_lock inner;
      orv::sdk_lock_settle();
      EXPECT_EQ(backend.settled, 1);
      EXPECT_EQ(backend.released, 0);
      orv::sdk_lock_check();
   });
   EXPECT_EQ(backend.released, 1);
   // The main thread may hold the lock without an sdk_scoped_lock.
   orv::sdk_lock_settle();
   EXPECT_EQ(backend.settled, 2);
}

TEST_F(LockTest, aBackendWithNothingToSettleNeedNotSaySo) {
   const orv::sdk_scoped_lock lock;
   orv::sdk_lock_settle();
   EXPECT_TRUE(orv::sdk_call_allowed());
}

TEST_F(LockTest, aBackendThatThrowsLeavesNothingHeld) {
   CountingBackend backend;
   backend.refuse = true;
   orv::host::lock_backend_is(&backend);
   orv::host::main_thread_is();
   elsewhere([&] {
      EXPECT_THROW(orv::sdk_scoped_lock{}, std::runtime_error);
      EXPECT_FALSE(orv::sdk_call_allowed());
   });
   EXPECT_EQ(backend.released, 0);
}

TEST_F(LockTest, beforeAMainThreadIsMarkedEveryThreadMayCall) {
   EXPECT_NO_THROW(orv::sdk_lock_check());
   elsewhere([] { EXPECT_NO_THROW(orv::sdk_lock_check()); });
}

TEST_F(LockTest, otherThreadsNeedTheLockOnceAMainThreadIsMarked) {
   orv::host::main_thread_is();
   EXPECT_NO_THROW(orv::sdk_lock_check());
   elsewhere([] {
      testing::internal::CaptureStderr();
      EXPECT_THROW(orv::sdk_lock_check(), orv::no_scoped_lock_obtained_error);
      testing::internal::GetCapturedStderr();
      {
         const orv::sdk_scoped_lock lock;
         EXPECT_NO_THROW(orv::sdk_lock_check());
      }
      EXPECT_FALSE(orv::sdk_call_allowed());
   });
}

TEST_F(LockTest, anotherMarkMovesTheMainThread) {
   orv::host::main_thread_is();
   elsewhere([] {
      orv::host::main_thread_is();
      EXPECT_TRUE(orv::sdk_call_allowed());
   });
   EXPECT_FALSE(orv::sdk_call_allowed());
   orv::host::main_thread_clear();
   EXPECT_TRUE(orv::sdk_call_allowed());
   orv::host::main_thread_is();
   elsewhere([] { EXPECT_FALSE(orv::sdk_call_allowed()); });
}

TEST_F(LockTest, aMissingLockIsReportedInTheseWords) {
   std::string report;
   std::string words;
   orv::host::main_thread_is();
   {
      const orv::sdk_scoped_lock outer;
      const orv::sdk_scoped_lock inner;
      elsewhere([&] {
         testing::internal::CaptureStderr();
         words = sdk_test::errorText<orv::no_scoped_lock_obtained_error>([] { orv::sdk_lock_check(); });
         report = testing::internal::GetCapturedStderr();
      });
   }
   EXPECT_EQ(words, "orv::sdk_scoped_lock not grabbed when calling an api while multithreaded");
   std::smatch values;
   ASSERT_TRUE(std::regex_match(report, values,
                                std::regex("\\[ORV SDK ERROR\\] Thread did not grab orv::sdk_scoped_lock:\n"
                                           "  mainThreadId: (\\d+)\n"
                                           "  scopedLockOwner: (\\d+)\n"
                                           "  scopedLockOwnerCount: (\\d+)\n"
                                           "  myThreadId: (\\d+)\n")))
        << report;
   EXPECT_EQ(values[1], values[2]) << "the main thread holds the lock";
   EXPECT_EQ(values[3], "2");
   EXPECT_NE(values[1], values[4]);
}

TEST_F(LockTest, aReportWithoutAHolderShowsNone) {
   std::string report;
   orv::host::main_thread_is();
   elsewhere([&] {
      testing::internal::CaptureStderr();
      EXPECT_THROW(orv::sdk_lock_check(), orv::no_scoped_lock_obtained_error);
      report = testing::internal::GetCapturedStderr();
   });
   EXPECT_NE(report.find("  scopedLockOwner: 0\n  scopedLockOwnerCount: 0\n"), std::string::npos) << report;
}

TEST_F(LockTest, theDefaultBackendExcludesThreads) {
   constexpr int kRounds = 2000;
   int counter = 0;
   const auto work = [&] {
      for (int i = 0; i < kRounds; ++i) {
         const orv::sdk_scoped_lock outer;
         const orv::sdk_scoped_lock inner;
         ++counter;
      }
   };
   std::thread first(work);
   std::thread second(work);
   work();
   first.join();
   second.join();
   EXPECT_EQ(counter, 3 * kRounds);
}

TEST_F(LockTest, aThreadWaitsForTheHolder) {
   std::binary_semaphore started{0};
   std::atomic<bool> inside{false};
   std::optional<orv::sdk_scoped_lock> mine(std::in_place);
   std::thread other([&] {
      started.release();
      const orv::sdk_scoped_lock lock;
      inside = true;
   });
   started.acquire();
   EXPECT_FALSE(inside);
   mine.reset();
   other.join();
   EXPECT_TRUE(inside);
}

}  // namespace
