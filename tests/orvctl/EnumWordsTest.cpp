#include "orvctl/EnumWords.h"

#include <gtest/gtest.h>

#include "OrvSdkRpcProtos/intf.pb.h"
#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

namespace rpc = orv::remote;

TEST(EnumWords, aValueWithoutItsPrefix) {
   EXPECT_EQ(enumWord(rpc::OPER_STATUS_UP), "up");
   EXPECT_EQ(enumWord(rpc::ETH_LINK_SPEED_100_GBPS), "100_gbps");
   EXPECT_EQ(enumWord(rpc::NEXTHOP_GROUP_PROGRAMMED_HW_STATE_FAILURE), "failure");
}

TEST(EnumWords, aNumberWithoutAName) {
   EXPECT_EQ(enumWord(*rpc::OperStatus_descriptor(), 77), "77");
}

TEST(EnumWords, allWords) {
   EXPECT_EQ(enumWords(*rpc::IntfField_descriptor()), "all|oper_status|admin_enabled|description");
}

TEST(EnumWords, areReadAsWordsNamesAndNumbers) {
   const auto& type = *rpc::IntfField_descriptor();
   EXPECT_EQ(parseEnum("--fields", "oper_status", type), 1);
   EXPECT_EQ(parseEnum("--fields", "oper-status", type), 1);
   EXPECT_EQ(parseEnum("--fields", "Oper_Status", type), 1);
   EXPECT_EQ(parseEnum("--fields", "INTF_FIELD_DESCRIPTION", type), 3);
   EXPECT_EQ(parseEnum("--fields", "0", type), 0);
   // The server ignores numbers that it does not know.
   EXPECT_EQ(parseEnum("--fields", "7", type), 7);
}

TEST(EnumWords, whatIsNoneIsRefused) {
   for (const char* text : {"", "speed", "-1", "99999999999", "1x"}) {
      try {
         parseEnum("--fields", text, *rpc::IntfField_descriptor());
         FAIL() << "'" << text << "' was read";
      } catch (const UsageError& error) {
         EXPECT_EQ(error.what(),
                   std::string("--fields is '") + text +
                        "', expected one of all|oper_status|admin_enabled|description, or a number");
      }
   }
}

}  // namespace
}  // namespace orvctl
