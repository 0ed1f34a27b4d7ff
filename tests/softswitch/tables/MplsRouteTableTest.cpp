#include "softswitch/tables/mpls_route_table.h"

#include <gmock/gmock.h>

#include <array>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "testing/base/TempDir.h"
#include "testing/softswitch/SwitchFixture.h"

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
      options_.directory = directory_ / "state";
      store_.emplace(options_);
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
      table_->prepare(table_->find(key), MplsRouteTable::bytesOfGroup(group));
      if (row == nullptr) row = &table_->insert(key);
      table_->setGroup(*row, over(key, group, action));
      table_->changed(*row);
   }
   void erase(const mpls_route_key_t& key) {
      auto& row = *table_->findRoute(key);
      table_->prepare(&row, table_->bytesOfVias(row), true);
      table_->erase(row);
   }
   std::vector<std::string> walk() {
      std::vector<std::string> keys;
      for (MplsRouteTable::Cursor cursor(*table_); const auto* row = cursor.next();)
         keys.push_back(row->key().to_string());
      return keys;
   }
   // Ends a lock span. RETURNS: whether it has written anything.
   bool spanWrites() {
      const auto before = store_->commits();
      store_->commit();
      return store_->commits() != before;
   }

   orvtest::TempDir directory_;
   store::StoreOptions options_{.directory = {}, .bootId = "boot", .log = {}};
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
   // Any other change is written.
   set(plain(10), "g", mpls_action_t::pop);
   EXPECT_TRUE(spanWrites());
   set(plain(10), "h");
   EXPECT_TRUE(spanWrites());
   erase(plain(10));
   EXPECT_TRUE(spanWrites());
   // A route that is added and removed within a span is not written.
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
   // The store still uses the first name's number.
   EXPECT_EQ(names_->hold("second") == number, false);
   set(plain(10), "second");
   EXPECT_TRUE(spanWrites());
   EXPECT_EQ(names_->find("first"), Names::none);
   open();
   EXPECT_THAT(table_->viasOf(*table_->findRoute(plain(10))), ElementsAre(over(plain(10), "second")));
}

TEST_F(MplsRouteTableTest, aRouteWithoutViasAndOneWithManySurvive) {
   table_->prepare(nullptr, 0);
   table_->insert(plain(10)).version = 7;
   set(plain(11), "g");
   auto fuller = over(plain(12), "g", mpls_action_t::pop);
   fuller.payload_type_is(orv::mpls_payload_type_t::ipv4);
   table_->prepare(nullptr, 100);
   auto& row = table_->insert(plain(12));
   table_->setGroup(row, fuller);
   table_->changed(row);
   open();
   EXPECT_EQ(table_->findRoute(plain(10))->version, 7);
   EXPECT_THAT(table_->viasOf(*table_->findRoute(plain(10))), IsEmpty());
   EXPECT_THAT(table_->viasOf(*table_->findRoute(plain(11))), ElementsAre(over(plain(11), "g")));
   EXPECT_THAT(table_->viasOf(*table_->findRoute(plain(12))), ElementsAre(fuller));
}

// As the programming service writes a label: the route goes and comes in one span.
TEST_F(MplsRouteTableTest, aRouteIsWrittenAnewOnAFullDiskWhereItDoesNotGrow) {
   options_.mapBytes = std::size_t{4} << 20;
   open();
   constexpr std::uint32_t count = 100;
   for (std::uint32_t label = 0; label < count; ++label) {
      set(plain(label), "first");
      store_->commit();
   }
   fillDisk(*store_);
   const auto groupOf = [&](std::uint32_t label) { return table_->group(*table_->findRoute(plain(label))); };
   EXPECT_NE(refusal([&] { set(plain(count), "first"); }), "");
   // The last room of a span goes to whole routes too.
   std::string words;
   for (std::uint32_t label = 0; label < count && words.empty(); ++label) {
      words = refusal([&] { erase(plain(label)); });
      if (!words.empty()) break;
      EXPECT_NE(refusal([&] { set(plain(label), "longer"); }), "");
      EXPECT_EQ(refusal([&] { set(plain(label), label % 2 == 0 ? "first" : "other"); }), "");
   }
   EXPECT_THAT(words, testing::HasSubstr("no space left"));
   store_->commit();
   open();
   EXPECT_EQ(table_->size(), count);
   for (std::uint32_t label = 0; label < 4; ++label)
      EXPECT_EQ(groupOf(label), label % 2 == 0 ? "first" : "other");
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
