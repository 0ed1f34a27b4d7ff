#include "orvctl/Bulk.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "testing/base/TempDir.h"

namespace orvctl {
namespace {

namespace pb = OrvSdkRpc::pb;

using Plan = BulkPlan<pb::ip_route_bulk_msg>;

pb::ip_route_msg route(uint32_t tag) {
   pb::ip_route_msg message;
   message.set_tag(tag);
   return message;
}

std::string describe(const pb::ip_route_msg& item) {
   return std::to_string(item.tag());
}

TEST(Bulk, itemsAreCutIntoRequestsInOrder) {
   Plan plan(2);
   EXPECT_TRUE(plan.requests().empty());
   for (uint32_t i = 0; i < 5; ++i)
      plan.add(route(i), i + 10);
   EXPECT_EQ(plan.size(), 5U);
   EXPECT_EQ(plan.line(4), 14U);
   ASSERT_EQ(plan.requests().size(), 3U);
   EXPECT_EQ(plan.requests()[0].bulk_size(), 2);
   EXPECT_EQ(plan.requests()[2].bulk_size(), 1);
   EXPECT_EQ(plan.requests()[2].bulk(0).tag(), 4U);
}

TEST(Bulk, aFailedItemIsKnownByItsLine) {
   Plan plan(2);
   for (uint32_t i = 0; i < 5; ++i)
      plan.add(route(i), i * 2 + 1);
   std::vector<size_t> progress;
   const auto result = sendBulk(
        plan,
        [](const pb::ip_route_bulk_msg& request) {
           pb::rpc_status_bulk_msg reply;
           for (const auto& item : request.bulk()) {
              reply.add_statuses()->set_status(item.tag() % 2 ? pb::RPC_STATUS_ERROR : pb::RPC_STATUS_OK);
           }
           return reply;
        },
        describe, [&](size_t done) { progress.push_back(done); });
   EXPECT_EQ(result.sent, 5U);
   ASSERT_EQ(result.failures.size(), 2U);
   EXPECT_EQ(result.failures[1].line, 7U);
   EXPECT_EQ(result.failures[1].item, "3");
   EXPECT_EQ(progress, (std::vector<size_t>{2, 4, 5}));
}

TEST(Bulk, aReplyWithTooFewStatusesIsNoAnswer) {
   Plan plan(2);
   plan.add(route(0), 1);
   EXPECT_THROW(sendBulk(
                     plan, [](const auto&) { return pb::rpc_status_bulk_msg(); }, describe, [](size_t) {}),
                CallError);
}

class Lines : public testing::Test {
protected:
   std::vector<std::string> read(const std::string& file) {
      std::vector<std::string> lines;
      forEachLine(context_, "FILE", file, [&](std::string_view line, size_t number) {
         lines.push_back(std::to_string(number) + ":" + std::string(line));
      });
      return lines;
   }

   std::istringstream in_{"a\n\n# comment\n  b \r\nlast"};
   std::ostringstream out_, err_;
   Context context_{.in = in_, .out = out_, .err = err_, .consoleText = {}, .action = {}};
};

TEST_F(Lines, blankOnesAndCommentsArePassedOver) {
   EXPECT_EQ(read("-"), (std::vector<std::string>{"1:a", "4:b", "5:last"}));
}

TEST_F(Lines, ofAFile) {
   const orvtest::TempDir directory;
   std::ofstream(directory / "f") << "x\ny\n";
   EXPECT_EQ(read(directory / "f"), (std::vector<std::string>{"1:x", "2:y"}));
}

TEST_F(Lines, aFileThatIsNotThereIsRefused) {
   const orvtest::TempDir directory;
   EXPECT_THROW(read(directory / "none"), UsageError);
   EXPECT_THROW(read(directory.path()), UsageError);
}

}  // namespace
}  // namespace orvctl
