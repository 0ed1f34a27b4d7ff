#include "softswitch/tables/mpls_route_table.h"

#include <gmock/gmock.h>

#include <array>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "../SwitchTest.h"

namespace softswitch {
namespace {

using orv::mpls_action_t;
using orv::mpls_label_t;
using orv::mpls_route_key_t;
using orv::mpls_route_via_t;
using testing::ElementsAre;
using testing::IsEmpty;

class MplsRouteTableTest : public testing::Test {
protected:
   MplsRouteTableTest() { open(); }

   void open() {
      table_.reset();
      names_.reset();
      store_.reset();
      store_.emplace(store::StoreOptions{.directory = directory_ / "state", .bootId = "boot", .log = {}});
      names_.emplace();
      table_.emplace(*store_, *names_, 100);
   }
   static mpls_route_key_t plain(std::uint32_t label, std::uint8_t metric = 0) {
      return mpls_route_key_t(mpls_label_t(label), metric);
   }
   static mpls_route_key_t stack(std::uint32_t top, std::uint32_t below) {
      return {std::array{mpls_label_t(top), mpls_label_t(below)}, 0};
   }
   static mpls_route_via_t over(const mpls_route_key_t& key, const std::string& group,
                                mpls_action_t action = mpls_action_t::forward) {
      mpls_route_via_t via(key, action);
      via.nexthop_group_is(group);
      return via;
   }
   void set(const mpls_route_key_t& key, const std::string& group = "g",
            mpls_action_t action = mpls_action_t::forward) {
      auto* row = table_->findRoute(key);
      table_->prepare(group.size());
      if (row == nullptr) row = &table_->insert(key);
      table_->setGroup(*row, over(key, group, action));
      table_->changed(*row);
   }
   void erase(const mpls_route_key_t& key) {
      table_->prepare(0, true);
      table_->erase(*table_->findRoute(key));
   }
   std::vector<std::string> walk() {
      std::vector<std::string> keys;
      for (MplsRouteTable::Cursor cursor(*table_); const auto* row = cursor.next();)
         keys.push_back(row->key().to_string());
      return keys;
   }
   // Ends a lock span; whether it has written anything.
   bool spanWrites() {
      const auto before = store_->commits();
      store_->commit();
      return store_->commits() != before;
   }

   TempDir directory_;
   std::optional<store::Store> store_;
   std::optional<Names> names_;
   std::optional<MplsRouteTable> table_;
};

TEST_F(MplsRouteTableTest, labelsAndStacksMixInKeyOrder) {
   for (const auto& key : {plain(1048575), plain(64), stack(5, 7), plain(5, 3), plain(5), plain(0),
                           stack(4, 9), plain(63), stack(1048575, 1)})
      set(key);
   const auto inOrder = ElementsAre("0", "4,9", "5", "5 metric 3", "5,7", "63", "64", "1048575", "1048575,1");
   EXPECT_THAT(walk(), inOrder);
   EXPECT_EQ(table_->size(), 9u);
   open();
   EXPECT_THAT(walk(), inOrder);
   EXPECT_EQ(table_->size(), 9u);
   EXPECT_EQ(table_->atOrAfter(plain(5))->key(), plain(5));
   EXPECT_EQ(table_->atOrAfter(plain(5, 1))->key(), plain(5, 3));
   EXPECT_EQ(table_->atOrAfter(stack(5, 8))->key(), plain(63));
   EXPECT_EQ(table_->atOrAfter(plain(1))->key(), stack(4, 9));
   EXPECT_EQ(table_->atOrAfter(stack(1048575, 2)), nullptr);
   EXPECT_EQ(table_->findRoute(plain(6)), nullptr);
   EXPECT_EQ(table_->findRoute(stack(5, 6)), nullptr);
}

TEST_F(MplsRouteTableTest, aWalkOverlivesWhatChangesUnderIt) {
   for (const auto& key : {plain(10), plain(20), stack(20, 1), plain(30)})
      set(key);
   MplsRouteTable::Cursor cursor(*table_);
   EXPECT_EQ(cursor.next()->key(), plain(10));
   erase(plain(10));
   table_->release(*table_->find(plain(10)));
   erase(plain(20));
   erase(stack(20, 1));
   table_->release(*table_->find(stack(20, 1)));
   set(plain(15));
   set(stack(15, 1));
   EXPECT_EQ(cursor.next()->key(), plain(15));
   EXPECT_EQ(cursor.next()->key(), stack(15, 1));
   set(plain(12));
   EXPECT_EQ(cursor.next()->key(), plain(30));
   EXPECT_EQ(cursor.next(), nullptr);
   set(plain(40));
   EXPECT_EQ(cursor.next(), nullptr);
}

TEST_F(MplsRouteTableTest, whatIsRemovedAndSetAgainAsItWasWritesNothing) {
   set(plain(10));
   set(stack(10, 11));
   EXPECT_TRUE(spanWrites());
   EXPECT_FALSE(spanWrites());
   erase(plain(10));
   set(plain(10));
   EXPECT_FALSE(spanWrites());
   // Anything else of it does.
   set(plain(10), "g", mpls_action_t::pop);
   EXPECT_TRUE(spanWrites());
   set(plain(10), "h");
   EXPECT_TRUE(spanWrites());
   erase(plain(10));
   EXPECT_TRUE(spanWrites());
   // A route that comes and goes within a span leaves nothing.
   set(plain(12));
   erase(plain(12));
   EXPECT_FALSE(spanWrites());
   open();
   EXPECT_THAT(walk(), ElementsAre("10,11"));
}

TEST_F(MplsRouteTableTest, aNameThatTakesTheNumberOfAnotherIsNotTakenForIt) {
   set(plain(10), "first");
   spanWrites();
   const auto number = names_->find("first");
   table_->clearVias(*table_->findRoute(plain(10)));
   // The store still names it.
   EXPECT_EQ(names_->hold("second") == number, false);
   set(plain(10), "second");
   EXPECT_TRUE(spanWrites());
   EXPECT_EQ(names_->find("first"), Names::none);
   open();
   EXPECT_THAT(table_->viasOf(*table_->findRoute(plain(10))), ElementsAre(over(plain(10), "second")));
}

TEST_F(MplsRouteTableTest, aRouteWithoutViasAndOneWithManySurvive) {
   table_->prepare(0);
   table_->insert(plain(10)).version = 7;
   set(plain(11), "g");
   auto fuller = over(plain(12), "g", mpls_action_t::pop);
   fuller.payload_type_is(orv::mpls_payload_type_t::ipv4);
   table_->prepare(100);
   auto& row = table_->insert(plain(12));
   table_->setGroup(row, fuller);
   table_->changed(row);
   open();
   EXPECT_EQ(table_->findRoute(plain(10))->version, 7);
   EXPECT_THAT(table_->viasOf(*table_->findRoute(plain(10))), IsEmpty());
   EXPECT_THAT(table_->viasOf(*table_->findRoute(plain(11))), ElementsAre(over(plain(11), "g")));
   EXPECT_THAT(table_->viasOf(*table_->findRoute(plain(12))), ElementsAre(fuller));
}

TEST_F(MplsRouteTableTest, aFullTableRefusesInWords) {
   for (std::uint32_t label = 0; label < 100; ++label) {
      table_->checkCapacity();
      set(plain(label));
   }
   EXPECT_THAT(refusal([&] { table_->checkCapacity(); }), testing::HasSubstr("holds 100 rows"));
   erase(plain(50));
   EXPECT_EQ(refusal([&] { table_->checkCapacity(); }), "");
}

}  // namespace
}  // namespace softswitch
