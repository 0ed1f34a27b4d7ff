#include "softswitch/tables/table.h"

#include <gmock/gmock.h>

#include <map>
#include <random>
#include <set>

#include "testing/base/TempDir.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct NumberCodec {
   static constexpr std::uint8_t version = 2;
   static void encodeKey(const int& key, store::Writer& out) { out.u32(static_cast<std::uint32_t>(key)); }
   static int decodeKey(store::Reader& in) { return static_cast<int>(in.u32()); }
   static void encodeRow(const std::string& row, store::Writer& out) { out.text(row); }
   static std::string decodeRow(store::Reader& in, std::uint8_t) { return std::string(in.text()); }
};
using Numbers = Table<int, std::string, NumberCodec>;

class TableTest : public testing::Test {
protected:
   void SetUp() override { open(); }
   void open(std::size_t capacity = 100000) {
      table_.reset();
      store_.reset();
      options_.directory = directory_ / "state";
      store_ = std::make_unique<store::Store>(options_);
      table_ = std::make_unique<Numbers>(*store_, "numbers", capacity);
   }
   Numbers& table() { return *table_; }
   std::vector<int> keys() {
      std::vector<int> result;
      table().forEach([&](int key, const std::string&) { result.push_back(key); });
      return result;
   }
   void fill(int count) {
      for (int i = 0; i < count; ++i)
         table().set(i * 10, std::to_string(i));
   }

   orvtest::TempDir directory_;
   store::StoreOptions options_{.directory = {}, .bootId = "boot", .log = {}};
   std::unique_ptr<store::Store> store_;
   std::unique_ptr<Numbers> table_;
};

TEST_F(TableTest, aFullDiskTakesARowThatIsNoLarger) {
   options_.mapBytes = std::size_t{4} << 20;
   open();
   table().set(1, "four");
   table().set(2, "two");
   store_->commit();
   fillDisk(*store_);
   EXPECT_THAT(refusal([&] { table().set(1, "fiver"); }), HasSubstr("no space left"));
   EXPECT_THAT(refusal([&] { table().set(3, ""); }), HasSubstr("no space left"));
   EXPECT_EQ(table().set(1, "five"), Change::replaced);
   EXPECT_EQ(table().set(2, ""), Change::replaced);
   open();
   EXPECT_EQ(*table().find(1), "five");
   EXPECT_EQ(*table().find(2), "");
   EXPECT_EQ(table().size(), 2U);
}

TEST_F(TableTest, tellsWhatASetDid) {
   EXPECT_EQ(table().set(1, "one"), Change::inserted);
   EXPECT_EQ(table().set(1, "one"), Change::none);
   EXPECT_EQ(table().set(1, "uno"), Change::replaced);
   EXPECT_EQ(*table().find(1), "uno");
   EXPECT_EQ(table().find(2), nullptr);
   EXPECT_TRUE(table().erase(1));
   EXPECT_FALSE(table().erase(1));
   EXPECT_TRUE(table().empty());
}

TEST_F(TableTest, rowsSurviveARestart) {
   fill(50);
   table().set(0, "changed");
   table().erase(10);
   store_->commit();
   open();
   EXPECT_EQ(table().size(), 49u);
   EXPECT_EQ(*table().find(0), "changed");
   EXPECT_FALSE(table().contains(10));
   table().clear();
   store_->commit();
   open();
   EXPECT_TRUE(table().empty());
}

TEST_F(TableTest, aFullTableRefusesAndChangesNothing) {
   open(2);
   table().set(1, "one");
   table().set(2, "two");
   EXPECT_THAT(refusal([&] { table().set(3, "three"); }),
               HasSubstr("numbers table is full, it holds 2 rows"));
   EXPECT_EQ(refusal([&] { table().set(2, "due"); }), "");
   store_->commit();
   open(2);
   EXPECT_THAT(keys(), ElementsAre(1, 2));
   EXPECT_EQ(*table().find(2), "due");
}

TEST_F(TableTest, aRowOfANewerVersionIsRefused) {
   table_.reset();
   const auto db = store_->open("numbers");
   store_->put(db, std::string("\0\0\0\1", 4), std::string("\3\1x", 3));
   store_->commit();
   EXPECT_THAT([&] { Numbers(*store_, "numbers", 10); },
               testing::ThrowsMessage<store::StoreError>(HasSubstr("row of version 3")));
}

TEST_F(TableTest, aRowThatDoesNotDecodeIsDamage) {
   table_.reset();
   const auto db = store_->open("numbers");
   for (const auto& row :
        {std::string(), std::string("\0\1x", 3), std::string("\2\5x", 3), std::string("\2\1xy", 4)}) {
      store_->put(db, std::string("\0\0\0\1", 4), row);
      store_->commit();
      try {
         Numbers numbers(*store_, "numbers", 10);
         ADD_FAILURE() << "was read";
      } catch (const store::StoreError& e) {
         EXPECT_THAT(e.what(), testing::AllOf(HasSubstr("numbers"), HasSubstr("state")));
      }
   }
   // A key that is too long is damage too.
   store_->put(db, std::string("\0\0\0\1\1", 5), std::string("\2\1x", 3));
   store_->commit();
   EXPECT_THROW(Numbers(*store_, "numbers", 10), store::StoreError);
}

TEST_F(TableTest, aWalkSeesChangesBetweenItsSteps) {
   fill(5);  // 0 10 20 30 40
   Numbers::Cursor cursor(table());
   EXPECT_EQ(*cursor.next().key, 0);
   EXPECT_EQ(*cursor.next().key, 10);
   table().set(15, "before the next");
   EXPECT_EQ(*cursor.next().key, 15);
   table().erase(15);
   table().set(5, "behind");
   EXPECT_EQ(*cursor.next().key, 20);
   table().erase(30);
   EXPECT_EQ(*cursor.next().key, 40);
   table().set(50, "at the end");
   EXPECT_EQ(*cursor.next().key, 50);
   EXPECT_FALSE(cursor.next());
   table().set(60, "after the end");
   EXPECT_FALSE(cursor.next());
}

TEST_F(TableTest, aWalkSurvivesTheEndOfTheTable) {
   fill(3);
   Numbers::Cursor cursor(table());
   EXPECT_TRUE(cursor.next());
   table().clear();
   EXPECT_FALSE(cursor.next());
   EXPECT_FALSE(Numbers::Cursor(table()).next());
}

TEST_F(TableTest, noWalkSeesARowTwiceOrMissesOneThatStays) {
   std::mt19937 random(5);
   for (int round = 0; round < 50; ++round) {
      table().clear();
      std::set<int> stays;
      for (int i = 0; i < 200; ++i) {
         const int key = static_cast<int>(random() % 1000);
         table().set(key, "row");
         stays.insert(key);
      }
      Numbers::Cursor cursor(table());
      std::vector<int> seen;
      while (const auto item = cursor.next()) {
         seen.push_back(*item.key);
         if (random() % 3 == 0) table().set(static_cast<int>(random() % 1000), "new");
         if (random() % 3 == 0) {
            const int key = static_cast<int>(random() % 1000);
            table().erase(key);
            stays.erase(key);
         }
         // Erases the row that the iterator points at.
         if (random() % 5 == 0) {
            table().erase(seen.back());
            stays.erase(seen.back());
         }
      }
      EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
      EXPECT_EQ(std::adjacent_find(seen.begin(), seen.end()), seen.end());
      for (const int key : stays)
         EXPECT_TRUE(std::binary_search(seen.begin(), seen.end(), key)) << key;
   }
}

TEST_F(TableTest, resyncRemovesWhatWasNotSetAgain) {
   fill(5);
   table().resyncInit();
   table().set(10, "1");  // unchanged
   table().set(20, "changed");
   table().set(99, "new");
   std::map<int, std::string> removed;
   table().resyncComplete([&](int key, const std::string& row) { removed.emplace(key, row); });
   EXPECT_EQ(removed, (std::map<int, std::string>{{0, "0"}, {30, "3"}, {40, "4"}}));
   EXPECT_THAT(keys(), ElementsAre(10, 20, 99));
   // Without the start of a resync no row is stale.
   table().resyncComplete([](int, const std::string&) { FAIL(); });
   store_->commit();
   open();
   EXPECT_THAT(keys(), ElementsAre(10, 20, 99));
}

TEST_F(TableTest, aSecondResyncInitMakesEverythingStaleAgain) {
   fill(2);
   table().resyncInit();
   table().set(0, "0");
   table().resyncInit();
   table().set(10, "1");
   table().resyncComplete([](int, const std::string&) {});
   EXPECT_THAT(keys(), ElementsAre(10));
}

TEST_F(TableTest, resyncMarksDoNotSurviveARestart) {
   fill(3);
   table().resyncInit();
   store_->commit();
   open();
   EXPECT_FALSE(table().resyncing());
   table().resyncComplete([](int, const std::string&) { FAIL(); });
   EXPECT_EQ(table().size(), 3u);
}

TEST_F(TableTest, aLargeResyncTakesSeveralTransactions) {
   fill(20000);
   store_->commit();
   const auto before = store_->commits();
   table().resyncInit();
   table().resyncComplete([](int, const std::string&) {});
   store_->commit();
   EXPECT_GT(store_->commits(), before + 2);
   EXPECT_TRUE(table().empty());
   open();
   EXPECT_TRUE(table().empty());
}

TEST_F(TableTest, removalsMayChangeTheTable) {
   fill(10);
   table().resyncInit();
   table().resyncComplete([&](int key, const std::string&) {
      table().set(key + 1, "in its place");
      table().erase(key + 10);
   });
   EXPECT_THAT(keys(), ElementsAre(1, 21, 41, 61, 81));
}

}  // namespace
}  // namespace softswitch
