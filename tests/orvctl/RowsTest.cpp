#include "orvctl/Rows.h"

#include <gtest/gtest.h>

#include <sstream>

namespace orvctl {
namespace {

class RowsTest : public testing::Test {
protected:
   std::istringstream in_;
   std::ostringstream out_, err_;
   Context context_{.in = in_, .out = out_, .err = err_, .consoleText = {}, .action = {}};
};

TEST_F(RowsTest, aTableFitsItsWidestCell) {
   Rows rows(context_, {"name", "oper_state", "present"});
   EXPECT_TRUE(rows.add({{"name", "Ethernet1"}, {"oper_state", "up"}, {"present", true}}));
   EXPECT_TRUE(rows.add({{"name", "Lag1"}, {"present", 17}}));
   EXPECT_EQ(out_.str(), "");
   rows.finish();
   EXPECT_EQ(out_.str(),
             "NAME       OPER STATE  PRESENT\n"
             "Ethernet1  up          yes\n"
             "Lag1                   17\n");
}

TEST_F(RowsTest, fractionsAreRoundedForAPersonOnly) {
   Rows table(context_, {"rate"});
   table.add({{"rate", 8000000.000000073}});
   table.finish();
   EXPECT_EQ(out_.str(), "RATE\n8000000\n");
   out_.str("");
   context_.json = true;
   Rows(context_, {"rate"}).add({{"rate", 8000000.000000073}});
   EXPECT_EQ(out_.str(), "{\"rate\":8000000.000000073}\n");
}

TEST_F(RowsTest, nothingIsNoTable) {
   Rows rows(context_, {"name"});
   rows.finish();
   EXPECT_EQ(out_.str(), "");
}

TEST_F(RowsTest, jsonIsOneObjectPerLineAtOnce) {
   context_.json = true;
   Rows rows(context_, {"name"});
   EXPECT_TRUE(rows.add({{"name", "a"}, {"more", 1}}));
   EXPECT_EQ(out_.str(), "{\"name\":\"a\",\"more\":1}\n");
   rows.finish();
   EXPECT_EQ(out_.str(), "{\"name\":\"a\",\"more\":1}\n");
}

TEST_F(RowsTest, withoutAReaderItIsSaid) {
   context_.json = true;
   out_.setstate(std::ios::badbit);
   Rows rows(context_, {"name"});
   EXPECT_FALSE(rows.add({{"name", "a"}}));
}

}  // namespace
}  // namespace orvctl
