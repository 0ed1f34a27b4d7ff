#include "OrvSdkRpc/programming/CbfRedirectTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace OrvSdkRpc {
namespace {

using Layer = CbfRedirectTable::Layer;
using testing::UnorderedElementsAre;

DscpValues dscps(std::vector<std::uint8_t> values) {
   return DscpValues(std::move(values));
}

class CbfRedirectTableTest : public testing::Test {
protected:
   // A new redirect whose layers are written.
   CbfRedirectTable::Redirect& written(const char* match) {
      auto& redirect = table_.enter({match, "to"}, 3, dscps({1}), dscps({2}), Layer::written);
      table_.ruleWritten(redirect);
      return redirect;
   }
   CbfRedirectTable::Redirect& inForce(const char* match) {
      auto& redirect = written(match);
      table_.listsCommitted();
      table_.ruleCommitted();
      return redirect;
   }
   static std::pair<Layer, Layer> layers(const CbfRedirectTable::Redirect& redirect) {
      return {redirect.second.lists, redirect.second.rule};
   }
   static std::pair<Layer, Layer> both(Layer layer) { return {layer, layer}; }

   CbfRedirectTable table_;
};

TEST_F(CbfRedirectTableTest, aNewRedirectTakesTheNextSequence) {
   EXPECT_EQ(table_.find({"a", "to"}), nullptr);
   const auto& a = written("a");
   table_.sequenceTaken(7);
   table_.sequenceTaken(4);
   const auto& b = written("b");
   EXPECT_EQ(a.second.sequence, 1U);
   EXPECT_EQ(b.second.sequence, 8U);
   EXPECT_EQ(b.second.epoch, 3);
   EXPECT_TRUE(b.second.wants(dscps({1}), dscps({2})));
   EXPECT_FALSE(b.second.wants(dscps({1}), dscps({})));
   EXPECT_EQ(table_.find({"b", "to"}), &b);
   EXPECT_EQ(table_.redirects().size(), 2U);
}

TEST_F(CbfRedirectTableTest, aLayerIsInForceOnceItIsCommittedAndNotBefore) {
   auto& a = written("a");
   auto& b = table_.enter({"b", "to"}, 0, {}, {}, Layer::written);
   EXPECT_EQ(layers(a), both(Layer::written));
   EXPECT_FALSE(a.second.isUnsure());
   EXPECT_TRUE(b.second.isUnsure());
   table_.ruleCommitted();
   EXPECT_EQ(layers(a), std::pair(Layer::written, Layer::committed));
   EXPECT_FALSE(a.second.inForce());
   table_.listsCommitted();
   EXPECT_TRUE(a.second.inForce());
   // A layer that was never written is not committed with the others.
   EXPECT_EQ(layers(b), std::pair(Layer::committed, Layer::unsure));
   table_.ruleWritten(b);
   table_.ruleCommitted();
   EXPECT_TRUE(b.second.inForce());
}

TEST_F(CbfRedirectTableTest, otherValuesMakeTheListsUnsureAndTheSameOnesNothing) {
   auto& a = inForce("a");
   table_.change(a, dscps({1}), dscps({2}));
   EXPECT_TRUE(a.second.inForce());
   table_.change(a, dscps({1, 9}), dscps({2}));
   EXPECT_EQ(layers(a), std::pair(Layer::unsure, Layer::committed));
   // A commit between a change and its writing does not commit the change.
   table_.listsCommitted();
   EXPECT_EQ(layers(a), std::pair(Layer::unsure, Layer::committed));
   table_.listsWritten(a);
   table_.listsCommitted();
   EXPECT_TRUE(a.second.inForce());
}

TEST_F(CbfRedirectTableTest, aChangeOfAForeignOneTakesAllLayersOnce) {
   CbfRedirectTable::SeqAndDscpValues values;
   values.sequence = 5;
   values.ipv4 = dscps({1});
   values.lists = values.rule = Layer::committed;
   values.foreign = true;
   table_.restore({"a", "to"}, values);
   auto& a = *table_.find({"a", "to"});
   EXPECT_EQ(table_.lastSequence(), 5U);
   table_.change(a, dscps({1}), {});
   EXPECT_TRUE(a.second.inForce());
   table_.change(a, dscps({2}), {});
   EXPECT_EQ(layers(a), both(Layer::unsure));
   table_.listsWritten(a);
   table_.ruleWritten(a);
   table_.listsCommitted();
   table_.ruleCommitted();
   table_.change(a, dscps({3}), {});
   EXPECT_EQ(layers(a), std::pair(Layer::unsure, Layer::committed));
}

TEST_F(CbfRedirectTableTest, aCommitThatFailsAfterwardsLeavesTheListsWritten) {
   auto& a = inForce("a");
   auto& b = inForce("b");
   auto& c = inForce("c");
   table_.change(c, {}, {});
   table_.commitFailed([](const CbfRedirectTable::Key& key) { return key.match != "b"; });
   EXPECT_EQ(layers(a), std::pair(Layer::written, Layer::committed));
   EXPECT_TRUE(b.second.inForce());
   EXPECT_EQ(layers(c), std::pair(Layer::unsure, Layer::committed));
   table_.listsCommitted();
   EXPECT_TRUE(a.second.inForce());
}

TEST_F(CbfRedirectTableTest, whatIsDueGoesUnlessItIsWantedAgain) {
   auto& a = inForce("a");
   auto& b = written("b");
   EXPECT_TRUE(table_.scheduleRemoval(a));
   EXPECT_FALSE(table_.scheduleRemoval(a));
   EXPECT_TRUE(table_.scheduleRemoval(b));
   EXPECT_THAT(table_.due(), UnorderedElementsAre(&a, &b));
   EXPECT_TRUE(table_.cancelRemoval(a));
   EXPECT_FALSE(table_.cancelRemoval(a));
   EXPECT_EQ(table_.eraseDue(), 1U);
   EXPECT_EQ(table_.find({"b", "to"}), nullptr);
   EXPECT_TRUE(table_.due().empty());
   EXPECT_EQ(table_.eraseDue(), 0U);
   // The redirect that was erased was waiting for a commit.
   table_.listsCommitted();
   EXPECT_TRUE(a.second.inForce());
   EXPECT_EQ(table_.lastSequence(), 2U);
}

TEST_F(CbfRedirectTableTest, whatIsTakenOutIsUnsureAndNoCommitBringsItBack) {
   auto& a = written("a");
   CbfRedirectTable::takenOut(a);
   table_.listsCommitted();
   table_.ruleCommitted();
   EXPECT_EQ(layers(a), both(Layer::unsure));
}

TEST_F(CbfRedirectTableTest, clearingForgetsAllButTheLastSequence) {
   table_.scheduleRemoval(written("a"));
   table_.clear();
   EXPECT_TRUE(table_.redirects().empty());
   EXPECT_TRUE(table_.due().empty());
   table_.listsCommitted();
   EXPECT_EQ(written("a").second.sequence, 2U);
}

}  // namespace
}  // namespace OrvSdkRpc
