#include "OrvSdkRpc/mirror/GroupCountersIterator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/mock/MockNexthopGroupMgr.h"
#include "testing/sdk/Iterators.h"

namespace OrvSdkRpc {
namespace {

using orvtest::iterOver;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;

orv::nexthop_group_t groupWith(const std::string& name, std::initializer_list<std::uint16_t> slots) {
   orv::nexthop_group_t made(name, orv::nexthop_group_encap_t::mpls);
   for (const std::uint16_t slot : slots)
      made.nexthop_set(slot, {});
   return made;
}

class GroupCountersIteratorTest : public testing::Test {
protected:
   void programmedAre(std::vector<std::string> names) {
      for (const std::string& name : names) {
         ON_CALL(mgr_, programmed_nexthop_group(name)).WillByDefault(Return(groupWith(name, {})));
      }
      EXPECT_CALL(mgr_, programmed_nexthop_group_iter())
           .WillOnce(Return(iterOver<orv::programmed_nexthop_group_iter_t>(std::move(names))));
   }
   static std::vector<std::string> names(GroupCountersIterator it) {
      std::vector<std::string> walked;
      for (found(it); it; found(++it))
         walked.push_back((*it).name);
      return walked;
   }

   static GroupCountersIterator& found(GroupCountersIterator& it) {
      while (it.searching())
         it.search();
      return it;
   }

   testing::NiceMock<orvtest::MockNexthopGroupMgr> mgr_;
};

TEST_F(GroupCountersIteratorTest, aSingleNameIsOneElement) {
   GroupCountersIterator it(mgr_, "a");
   ASSERT_TRUE(it);
   EXPECT_EQ((*it).name, "a");
   ++it;
   EXPECT_FALSE(it);
}

TEST_F(GroupCountersIteratorTest, anEmptyNameIsNone) {
   EXPECT_FALSE(GroupCountersIterator(mgr_, ""));
}

TEST_F(GroupCountersIteratorTest, allAreThoseThatHardwareHas) {
   programmedAre({"a", "b", "c"});
   EXPECT_THAT(names(GroupCountersIterator(mgr_)), ElementsAre("a", "b", "c"));
   programmedAre({});
   EXPECT_FALSE(GroupCountersIterator(mgr_));
}

TEST_F(GroupCountersIteratorTest, anExpressionSkipsWhatDoesNotMatchAsAWhole) {
   programmedAre({"ab", "abc", "b", "xabc", "abc1", "abd"});
   EXPECT_THAT(names(GroupCountersIterator(mgr_, NameRegex("ab[cd]"))), ElementsAre("abc", "abd"));
   programmedAre({"a", "b"});
   EXPECT_THAT(names(GroupCountersIterator(mgr_, NameRegex("c"))), IsEmpty());
   programmedAre({"a", "b"});
   EXPECT_THAT(names(GroupCountersIterator(mgr_, NameRegex(".*"))), ElementsAre("a", "b"));
}

TEST_F(GroupCountersIteratorTest, aLongSearchIsLeftAndTakenUpAgain) {
   std::vector<std::string> names(200'000, "a");
   names.emplace_back("b");
   programmedAre({});
   ON_CALL(mgr_, programmed_nexthop_group("b")).WillByDefault(Return(groupWith("b", {})));
   EXPECT_FALSE(GroupCountersIterator(mgr_, NameRegex("b")));
   EXPECT_CALL(mgr_, programmed_nexthop_group_iter())
        .WillOnce(Return(iterOver<orv::programmed_nexthop_group_iter_t>(std::move(names))));
   GroupCountersIterator it(mgr_, NameRegex("b"));
   // A search through so many names takes more than a millisecond.
   ASSERT_TRUE(it.searching());
   EXPECT_FALSE(it);
   found(it);
   ASSERT_TRUE(it);
   EXPECT_EQ((*it).name, "b");
   found(++it);
   EXPECT_FALSE(it);
   EXPECT_FALSE(it.searching());
}

TEST_F(GroupCountersIteratorTest, yieldsTheValidCountersBySlot) {
   ON_CALL(mgr_, programmed_nexthop_group("g")).WillByDefault(Return(groupWith("g", {7, 2, 900, 5})));
   const testing::InSequence order;
   EXPECT_CALL(mgr_, counter("g", 2)).WillOnce(Return(orv::nexthop_group_entry_counter_t(1, 10, true)));
   EXPECT_CALL(mgr_, counter("g", 5)).WillOnce(Return(orv::nexthop_group_entry_counter_t(2, 20, false)));
   EXPECT_CALL(mgr_, counter("g", 7)).WillOnce(Return(orv::nexthop_group_entry_counter_t(3, 30, true)));
   EXPECT_CALL(mgr_, counter("g", 900)).WillOnce(Return(orv::nexthop_group_entry_counter_t()));
   const GroupCounters counters = *GroupCountersIterator(mgr_, "g");
   ASSERT_EQ(counters.counters.size(), 2U);
   EXPECT_EQ(counters.counters[0].entry, 2U);
   EXPECT_EQ(counters.counters[0].counter.packets(), 1U);
   EXPECT_EQ(counters.counters[1].entry, 7U);
   EXPECT_EQ(counters.counters[1].counter.bytes(), 30U);
}

TEST_F(GroupCountersIteratorTest, takesMoreEntriesThanItHasRoomFor) {
   orv::nexthop_group_t large("g", orv::nexthop_group_encap_t::mpls);
   for (std::uint16_t slot = 0; slot < 100; ++slot)
      large.nexthop_set(slot, {});
   ON_CALL(mgr_, programmed_nexthop_group("g")).WillByDefault(Return(large));
   ON_CALL(mgr_, counter).WillByDefault([](const std::string&, std::uint16_t entry) {
      return orv::nexthop_group_entry_counter_t(entry, 0, true);
   });
   const GroupCounters counters = *GroupCountersIterator(mgr_, "g");
   ASSERT_EQ(counters.counters.size(), 100U);
   EXPECT_EQ(counters.counters[99].counter.packets(), 99U);
}

}  // namespace
}  // namespace OrvSdkRpc
