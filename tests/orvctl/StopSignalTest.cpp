#include "orvctl/StopSignal.h"

#include <gtest/gtest.h>

#include <semaphore>

namespace orvctl {
namespace {

TEST(StopSignal, eachSignalIsTold) {
   std::counting_semaphore<8> told(0);
   const StopSignal stop([&] { told.release(); });
   raise(SIGINT);
   told.acquire();
   raise(SIGTERM);
   told.acquire();
   raise(SIGINT);
   told.acquire();
   EXPECT_FALSE(told.try_acquire());
}

TEST(StopSignal, nothingIsToldWithoutOne) {
   bool told = false;
   {
      const StopSignal stop([&] { told = true; });
   }
   EXPECT_FALSE(told);
}

TEST(StopSignal, afterwardsSignalsDoWhatTheyDidBefore) {
   struct sigaction before {};
   sigaction(SIGINT, nullptr, &before);
   {
      const StopSignal stop([] {});
      struct sigaction during {};
      sigaction(SIGINT, nullptr, &during);
      EXPECT_NE(during.sa_handler, before.sa_handler);
   }
   struct sigaction after {};
   sigaction(SIGINT, nullptr, &after);
   EXPECT_EQ(after.sa_handler, before.sa_handler);
}

}  // namespace
}  // namespace orvctl
