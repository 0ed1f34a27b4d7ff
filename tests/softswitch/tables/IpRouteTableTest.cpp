#include "softswitch/tables/ip_route_table.h"

#include <gtest/gtest.h>

#include "testing/base/TempDir.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

class IpRouteTableTest : public testing::Test {
protected:
   void SetUp() override { open(); }
   void open() {
      table_.reset();
      store_.reset();
      store_ = std::make_unique<store::Store>(
           store::StoreOptions{.directory = directory_ / "state", .bootId = "boot", .log = {}});
      table_ = std::make_unique<IpRouteTable>(*store_, groups_, vrfs_, 1000);
   }
   static RouteKey key(std::string_view text, std::uint8_t preference = 1) {
      return {Names::none, prefix(text), preference};
   }
   RouteRow& add(std::string_view text) {
      table_->prepare(nullptr, 0);
      auto& row = table_->insert(key(text));
      table_->changed(row);
      return row;
   }

   orvtest::TempDir directory_;
   Names groups_, vrfs_;
   std::unique_ptr<store::Store> store_;
   std::unique_ptr<IpRouteTable> table_;
};

TEST(RouteKey, comesBackAndKeepsTheSdksOrder) {
   std::vector<orv::ip_prefix_t> prefixes;
   for (const char* text :
        {"0.0.0.0/0", "10.0.0.0/8", "10.0.0.0/16", "10.0.0.1/32", "255.255.255.255/32", "::/0",
         "2001:db8::/32", "2001:db8::/64", "2001:db8::1/128", "2001:db8:0:0:1::/80"})
      prefixes.emplace_back(text);
   for (const auto& a : prefixes) {
      EXPECT_EQ(RouteKey(3, a, 7).prefix(), a);
      EXPECT_EQ(RouteKey(3, a, 7).vrf(), 3u);
      for (const auto& b : prefixes) {
         EXPECT_EQ(RouteKey(3, a, 7) < RouteKey(3, b, 7), a < b) << a << " " << b;
         EXPECT_LT(RouteKey(2, a, 7), RouteKey(3, b, 7));
      }
      EXPECT_LT(RouteKey(3, a, 1), RouteKey(3, a, 255));
      EXPECT_TRUE(RouteKey(3, a, 1).samePrefix(RouteKey(3, a, 255)));
   }
}

TEST_F(IpRouteTableTest, aRowIsWrittenOnceAtTheEndOfItsSpan) {
   auto& row = add("10.0.0.0/8");
   orv::ip_route_via_t via;
   via.nexthop_group_is("g");
   table_->prepare(&row, 1);
   table_->setGroup(row, via);
   table_->changed(row);
   EXPECT_FALSE(store_->inSpan());
   EXPECT_FALSE(row.inStore);
   store_->commit();
   EXPECT_TRUE(row.inStore);
   EXPECT_EQ(store_->commits(), 1u);
   open();
   ASSERT_NE(table_->find(key("10.0.0.0/8")), nullptr);
   EXPECT_EQ(table_->group(*table_->find(key("10.0.0.0/8"))), "g");
}

TEST_F(IpRouteTableTest, aRowThatGoesInTheSpanItCameInIsNeverWritten) {
   table_->erase(add("10.0.0.0/8"));
   store_->commit();
   EXPECT_EQ(store_->commits(), 0u);
   EXPECT_EQ(table_->size(), 0u);
   EXPECT_EQ(table_->find(key("10.0.0.0/8")), nullptr);
}

TEST_F(IpRouteTableTest, theNameOfAGroupIsHeldByItsRoutes) {
   orv::ip_route_via_t via;
   via.nexthop_group_is("g");
   auto& row = add("10.0.0.0/8");
   table_->setGroup(row, via);
   const auto id = row.group;
   table_->setGroup(row, via);
   EXPECT_EQ(groups_.references(id), 1u);
   table_->erase(row);
   EXPECT_EQ(groups_.find("g"), Names::none);
}

TEST_F(IpRouteTableTest, aRowThatHardwareKnowsKeepsItsPlaceUntilItIsReleased) {
   auto& row = add("10.0.0.0/8");
   const auto index = row.index;
   row.sent = true;
   table_->erase(row);
   EXPECT_FALSE(row.alive());
   EXPECT_NE(add("11.0.0.0/8").index, index);
   row.sent = false;
   table_->release(row);
   EXPECT_EQ(add("12.0.0.0/8").index, index);
}

TEST_F(IpRouteTableTest, counts) {
   auto& row = add("10.0.0.0/8");
   EXPECT_EQ(table_->rowsWithHops(), 0u);
   orv::ip_route_via_t hop;
   for (const char* text : {"192.0.2.1", "192.0.2.2"}) {
      hop.hop_is(address(text));
      EXPECT_TRUE(table_->setHop(row, hop));
   }
   EXPECT_EQ(table_->rowsWithHops(), 1u);
   EXPECT_TRUE(table_->eraseVias(row, hop));
   EXPECT_EQ(table_->rowsWithHops(), 1u);
   EXPECT_TRUE(table_->eraseVias(row, {}));
   EXPECT_EQ(table_->rowsWithHops(), 0u);
   EXPECT_FALSE(row.hasVias());
   table_->prepare(nullptr, 0);
   auto& other = table_->insert(key("10.0.0.0/8", 9));
   table_->changed(other);
   EXPECT_EQ(table_->rowsOfOtherPreference(), 1u);
   table_->erase(other);
   EXPECT_EQ(table_->rowsOfOtherPreference(), 0u);
}

TEST_F(IpRouteTableTest, aRowOfANewerVersionOrADamagedOneIsRefused) {
   add("10.0.0.0/8");
   table_.reset();
   const auto db = store_->open("ip_route");
   const std::string k("\0\x04\x0a\0\0\0\x08\x01", 8);
   for (const auto& [row, trouble] : std::vector<std::pair<std::string, store::Trouble>>{
             {std::string("\2\0\0\0", 4), store::Trouble::newerFormat},
             {std::string("\0\0\0\0", 4), store::Trouble::newerFormat},
             {std::string("\1\0\0", 3), store::Trouble::damaged},
             {std::string("\1\x40\0\0", 4), store::Trouble::damaged},
             {std::string("\1\3\0\0", 4), store::Trouble::damaged},
             {std::string("\1\2\0\0\0", 5), store::Trouble::damaged},
             {std::string("\1\0\0\0\0", 5), store::Trouble::damaged}}) {
      store_->put(db, k, row);
      store_->commit();
      try {
         IpRouteTable table(*store_, groups_, vrfs_, 1000);
         ADD_FAILURE() << "was read";
      } catch (const store::StoreError& e) {
         EXPECT_EQ(e.trouble(), trouble) << e.what();
      }
   }
}

}  // namespace
}  // namespace softswitch
