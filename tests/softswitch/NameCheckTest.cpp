#include "softswitch/tables/name_check.h"

#include <gtest/gtest.h>

#include <string>

#include "orv/error.h"

namespace softswitch {
namespace {

TEST(NameCheck, aTextThatFitsHasNoFault) {
   EXPECT_EQ(textFault("", 3), "");
   EXPECT_EQ(textFault("abc", 3), "");
   EXPECT_EQ(textFault("\xe2\x82\xac", 3), "");
   EXPECT_NO_THROW(checkText("ACL name", "abc", 3));
}

TEST(NameCheck, whatIsTooLongOrNotUtf8IsToldWithTheBound) {
   EXPECT_EQ(textFault("abcd", 3), "of 4 bytes, expected at most 3");
   EXPECT_EQ(textFault("Z\xfcrich", 255), "'Z\\xfcrich' is not UTF-8");
   try {
      checkText("ACL name", "abcd", 3);
      FAIL();
   } catch (const orv::invalid_argument_error& e) {
      EXPECT_STREQ(e.what(), "ACL name of 4 bytes, expected at most 3");
   }
}

}  // namespace
}  // namespace softswitch
