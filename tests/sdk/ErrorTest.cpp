#include "orv/error.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "Regular.h"

namespace {

using sdk_test::errorText;

class PanicTest : public testing::Test {
protected:
   void TearDown() override { orv::exception_handler_is({}); }
};

template <typename T>
class RaiseTest : public testing::Test {};
using RaisingErrors = testing::Types<orv::error, orv::invalid_argument_error, orv::invalid_range_error,
                                     orv::unsupported_error, orv::configuration_error>;
TYPED_TEST_SUITE(RaiseTest, RaisingErrors);

TYPED_TEST(RaiseTest, throwsItselfThroughABaseReference) {
   const TypeParam e("these words");
   const orv::error& base = e;
   EXPECT_EQ(errorText<TypeParam>([&] { base.raise(); }), "these words");
   EXPECT_EQ(base.msg(), "these words");
}

TEST(ErrorTest, aMissingLockHasItsFixedWords) {
   const orv::no_scoped_lock_obtained_error e;
   const orv::error& base = e;
   EXPECT_EQ(errorText<orv::no_scoped_lock_obtained_error>([&] { base.raise(); }),
             "orv::sdk_scoped_lock not grabbed when calling an api while multithreaded");
}

TEST(ErrorTest, aRangeErrorNamesWhatAndItsLimits) {
   EXPECT_STREQ(orv::invalid_range_error("version_id", 1, 65535).what(),
                "version_id is out of range, expected 1 to 65535");
   EXPECT_STREQ(orv::invalid_range_error("version_id", 70000, 1, 65535).what(),
                "version_id 70000 is out of range, expected 1 to 65535");
   EXPECT_STREQ(orv::invalid_range_error("own words").what(), "own words");
}

// Code that sorts errors by class must be able to distinguish these two.
TEST(ErrorTest, rangeAndArgumentErrorsAreNoKindOfEachOther) {
   EXPECT_FALSE((std::is_base_of_v<orv::invalid_argument_error, orv::invalid_range_error>));
   EXPECT_FALSE((std::is_base_of_v<orv::invalid_range_error, orv::invalid_argument_error>));
   EXPECT_TRUE((std::is_base_of_v<std::exception, orv::error>));
   EXPECT_FALSE((std::is_base_of_v<std::runtime_error, orv::error>));
}

TEST_F(PanicTest, throwsWhereNoHandlerIsSet) {
   EXPECT_EQ(errorText<orv::unsupported_error>([] { orv::panic(orv::unsupported_error("no such thing")); }),
             "no such thing");
}

TEST_F(PanicTest, theHandlerGetsTheErrorAndDecidesWhatIsThrown) {
   std::string heard;
   orv::exception_handler_is([&](const orv::error& e) {
      heard = e.what();
      throw std::logic_error("from the handler");
   });
   EXPECT_EQ(errorText<std::logic_error>([] { orv::panic(orv::configuration_error("events are off")); }),
             "from the handler");
   EXPECT_EQ(heard, "events are off");
}

TEST_F(PanicTest, aHandlerThatRaisesKeepsTheErrorsType) {
   orv::exception_handler_is([](const orv::error& e) { e.raise(); });
   EXPECT_EQ(errorText<orv::invalid_range_error>([] { orv::panic(orv::invalid_range_error("x", 1, 2)); }),
             "x is out of range, expected 1 to 2");
}

TEST_F(PanicTest, neverReturnsEvenWhenTheHandlerDoes) {
   int calls = 0;
   orv::exception_handler_is([&](const orv::error&) { ++calls; });
   EXPECT_EQ(errorText<orv::invalid_argument_error>([] { orv::panic(orv::invalid_argument_error("bad")); }),
             "bad");
   EXPECT_EQ(calls, 1);
}

TEST_F(PanicTest, aHandlerMaySetAnotherHandler) {
   orv::exception_handler_is([](const orv::error&) { orv::exception_handler_is({}); });
   EXPECT_THROW(orv::panic(orv::error("first")), orv::error);
   EXPECT_THROW(orv::panic(orv::error("second")), orv::error);
}

TEST_F(PanicTest, reachesTheHandlerFromAnyThread) {
   std::atomic<int> calls{0};
   orv::exception_handler_is([&](const orv::error& e) {
      ++calls;
      e.raise();
   });
   std::thread([] { EXPECT_THROW(orv::panic(orv::error("elsewhere")), orv::error); }).join();
   EXPECT_EQ(calls, 1);
}

}  // namespace
