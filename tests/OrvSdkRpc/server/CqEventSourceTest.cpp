#include "OrvSdkRpc/server/CqEventSource.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace OrvSdkRpc {
namespace {

TEST(CqEventSource, hasNamesAndNumbers) {
   EXPECT_EQ(toString(CqEventSource::None), "NONE");
   EXPECT_EQ(toString(CqEventSource::Alarm), "ALARM");
   EXPECT_EQ(toString(CqEventSource::Write), "WRITE");
   EXPECT_EQ(static_cast<int>(CqEventSource::None), 0);
   EXPECT_EQ(static_cast<int>(CqEventSource::Alarm), 1);
   EXPECT_EQ(static_cast<int>(CqEventSource::Write), 2);
}

TEST(CqEventSource, anotherNumberIsAProgrammingError) {
   try {
      toString(static_cast<CqEventSource>(7));
      FAIL() << "no exception";
   } catch (const std::logic_error& e) {
      EXPECT_STREQ(e.what(), "Unknown event source 7");
   }
}

}  // namespace
}  // namespace OrvSdkRpc
