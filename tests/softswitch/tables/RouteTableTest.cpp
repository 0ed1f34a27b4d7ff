#include "softswitch/tables/route_table.h"

#include <gmock/gmock.h>

#include <map>
#include <optional>

#include "softswitch/tables/deferred_row.h"
#include "testing/base/TempDir.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The smallest kind of route: a number for a key, and vias with a hop, a metric and a colour, of which a row
// keeps the colour.
struct Via {
   std::string name = {};
   int hop = 0;
   int metric = 0;
   int colour = 0;
   int key = 0;

   const std::string& nexthop_group() const { return name; }
   void nexthop_group_is(std::string v) { name = std::move(v); }
   void route_key_is(int v) { key = v; }
   bool operator==(const Via&) const = default;
};

struct Row : RowVias<Via> {
   int key = 0;
   int colour = 0;
   std::uint32_t mark = 0;
};

struct Kind {
   using Row = softswitch::Row;
   using Via = softswitch::Via;
   static constexpr std::string_view table = "numbers";
   static constexpr std::uint8_t version = 3;
   static constexpr std::size_t viaBytes = 8;
   static bool plain(const Via& via) { return via.hop == 0 && via.metric == 0; }
   static bool bare(const Via& via) { return via.name.empty() && via.colour == 0 && plain(via); }
   static bool sameHop(const Via& a, const Via& b) { return a.hop == b.hop; }
   static bool sameFields(const Via& a, const Via& b) {
      return a.name == b.name && a.hop == b.hop && a.metric == b.metric && a.colour == b.colour;
   }
   static bool keeps(const Row& row, const Via& via) { return row.colour == via.colour; }
   static void keep(Row& row, const Via& via) { row.colour = via.colour; }
   static void keepNothing(Row& row) { row.colour = 0; }
   static Via kept(const Row& row) { return {.colour = row.colour, .key = row.key}; }
   static int routeKey(const Row& row) { return row.key; }
   static Via readVia(store::Reader& in) {
      Via via;
      via.name = in.text();
      via.hop = static_cast<int>(in.varint());
      return via;
   }
};

class NumberedRoutes : public RouteTable<Kind> {
public:
   NumberedRoutes(store::Store& store, Names& groups)
        : RouteTable(store, groups, 2, unwritten_),
          unwritten_(
               store, [](Row&) {}, [](const Row&) { return std::size_t{0}; }) {}
   void checkCapacity() const { RouteTable::checkCapacity(rows.size()); }
   Row& insert(int key) {
      auto& row = rows[key];
      row.key = key;
      row.mark = marks().epoch();
      return row;
   }
   // Reads a row as the store has it: a version, the number of vias, the vias.
   void read(std::string_view bytes, Row& row) {
      store::Reader in(bytes);
      checkVersion(in);
      readVias(in, in.varint(), row);
      in.end();
   }
   template <class Visit>
   void visitAll(Visit&& visit) {
      for (auto it = rows.begin(); it != rows.end();)
         visit((it++)->second);
   }

   std::map<int, Row> rows;

private:
   DeferredRow<Row> unwritten_;
};

class RouteTableTest : public testing::Test {
protected:
   static Via hop(int number, int metric = 0) { return {.hop = number, .metric = metric, .key = 1}; }
   static Via over(const char* group, int colour = 0) { return {.name = group, .colour = colour, .key = 1}; }
   std::vector<Via> vias() const { return table_.viasOf(row_); }

   orvtest::TempDir directory_;
   store::Store store_{store::StoreOptions{.directory = directory_ / "state", .bootId = "boot", .log = {}}};
   Names groups_;
   NumberedRoutes table_{store_, groups_};
   Row& row_ = table_.insert(1);
};

TEST_F(RouteTableTest, aPlainGroupIsToldByItsNumberAndWhatTheRowKeeps) {
   EXPECT_FALSE(table_.keepGroup(row_, over("g", 4)));
   table_.setGroup(row_, over("g", 4));
   EXPECT_EQ(row_.vias, nullptr);
   EXPECT_EQ(table_.group(row_), "g");
   EXPECT_THAT(vias(), ElementsAre(over("g", 4)));
   EXPECT_TRUE(table_.keepGroup(row_, over("g", 4)));
   EXPECT_FALSE(table_.keepGroup(row_, over("g", 5)));
   EXPECT_FALSE(table_.keepGroup(row_, over("h", 4)));
   table_.setGroup(row_, over("g", 5));
   EXPECT_EQ(groups_.references(row_.group), 1U);
   table_.clearVias(row_);
   EXPECT_EQ(row_.colour, 0);
   EXPECT_EQ(groups_.find("g"), Names::none);
   EXPECT_THAT(vias(), IsEmpty());
}

TEST_F(RouteTableTest, aGroupWithMoreStandsInFull) {
   auto more = over("g", 4);
   more.metric = 9;
   table_.setGroup(row_, more);
   EXPECT_THAT(vias(), ElementsAre(more));
   EXPECT_FALSE(row_.hasHops());
   EXPECT_EQ(table_.rowsWithHops(), 0U);
   EXPECT_TRUE(table_.keepGroup(row_, more));
   EXPECT_FALSE(table_.keepGroup(row_, over("g", 4)));
   EXPECT_FALSE(table_.hasVia(row_, over("g", 4)));
   EXPECT_FALSE(table_.eraseVias(row_, over("g", 4)));
   EXPECT_TRUE(table_.eraseVias(row_, more));
   EXPECT_FALSE(row_.hasVias());
}

TEST_F(RouteTableTest, aHopOfTheSameIdentityIsOverwritten) {
   EXPECT_TRUE(table_.setHop(row_, hop(1)));
   EXPECT_TRUE(table_.setHop(row_, hop(2)));
   EXPECT_FALSE(table_.setHop(row_, hop(2)));
   EXPECT_TRUE(table_.setHop(row_, hop(1, 5)));
   EXPECT_THAT(vias(), ElementsAre(hop(1, 5), hop(2)));
   EXPECT_EQ(row_.hops(), 2U);
   EXPECT_EQ(table_.rowsWithHops(), 1U);
   EXPECT_TRUE(table_.hasHop(row_, hop(1)));
   EXPECT_FALSE(table_.hasHop(row_, hop(3)));
   EXPECT_EQ(row_.vias->front().via.key, 0) << "kept without its key";
}

TEST_F(RouteTableTest, aViaIsErasedByAllItsFieldsOrBare) {
   const Via bare{.key = 1};
   EXPECT_FALSE(table_.hasVia(row_, bare));
   EXPECT_FALSE(table_.eraseVias(row_, bare));
   table_.setHop(row_, hop(1, 5));
   table_.setHop(row_, hop(2));
   EXPECT_FALSE(table_.hasVia(row_, hop(1)));
   EXPECT_FALSE(table_.eraseVias(row_, hop(1)));
   EXPECT_TRUE(table_.eraseVias(row_, hop(1, 5)));
   EXPECT_THAT(vias(), ElementsAre(hop(2)));
   EXPECT_TRUE(table_.hasVia(row_, bare));
   EXPECT_TRUE(table_.eraseVias(row_, hop(2)));
   EXPECT_EQ(row_.vias, nullptr);
   EXPECT_EQ(table_.rowsWithHops(), 0U);
   table_.setHop(row_, hop(1));
   table_.setHop(row_, hop(2));
   EXPECT_TRUE(table_.eraseVias(row_, bare));
   EXPECT_FALSE(row_.hasVias());
}

TEST_F(RouteTableTest, twoFormsOfAViaAreToldByHopOrByBeingTheGroups) {
   EXPECT_TRUE(NumberedRoutes::sameVia(hop(1), hop(1, 5)));
   EXPECT_FALSE(NumberedRoutes::sameVia(hop(1), hop(2)));
   EXPECT_TRUE(NumberedRoutes::sameVia(over("g"), over("h")));
   EXPECT_FALSE(NumberedRoutes::sameVia(over("g"), Via{}));
}

// The routes that a resync erased, and those that lost vias in it.
struct Completed {
   explicit Completed(NumberedRoutes& table) {
      completeResync(
           table,
           [&](Row& row) {
              erased.push_back(row.key);
              table.rows.erase(row.key);
           },
           [&](Row& row) { changed.push_back(row.key); });
   }
   std::vector<int> erased, changed;
};

TEST_F(RouteTableTest, aResyncErasesWhatWasNotSetAgain) {
   for (int key = 2; key <= 6; ++key)
      table_.setHop(table_.insert(key), hop(1));
   table_.setHop(table_.rows[4], hop(2));
   table_.clearVias(table_.rows[5]);
   table_.setGroup(table_.rows[5], over("g"));
   table_.marks().begin();
   table_.rows[2].mark = table_.marks().epoch();  // set again without its vias
   table_.setHop(table_.rows[4], hop(2));         // a via that is set keeps its route
   EXPECT_TRUE(table_.keepGroup(table_.rows[5], over("g")));
   table_.insert(7);
   // Erasing a via does not count as setting it.
   EXPECT_TRUE(table_.eraseVias(table_.rows[6], hop(1)));
   const Completed completed(table_);
   EXPECT_THAT(completed.erased, ElementsAre(1, 3, 6));
   EXPECT_THAT(completed.changed, ElementsAre(2, 4));
   EXPECT_FALSE(table_.rows[2].hasVias());
   EXPECT_EQ(table_.rowsWithHops(), 2U) << "of 3, which was erased by hand, and of 4";
   EXPECT_EQ(table_.rows[4].vias->front().via.hop, 2);
   EXPECT_EQ(table_.group(table_.rows[5]), "g");
   EXPECT_THAT(Completed(table_).erased, IsEmpty()) << "no resync runs";
}

TEST_F(RouteTableTest, aStaleGroupGoesFromARouteThatWasSetAgain) {
   table_.setGroup(row_, over("g"));
   table_.marks().begin();
   table_.marks().begin();
   row_.mark = table_.marks().epoch();
   EXPECT_THAT(Completed(table_).changed, ElementsAre(1));
   EXPECT_EQ(groups_.find("g"), Names::none);
}

TEST_F(RouteTableTest, aFullTableRefusesInWords) {
   table_.checkCapacity();
   table_.insert(2);
   EXPECT_EQ(refusal([&] { table_.checkCapacity(); }), "numbers table is full, it holds 2 rows");
}

TEST_F(RouteTableTest, readsItsVias) {
   table_.read(std::string("\3\2\0\1\0\2", 6), row_);
   EXPECT_THAT(vias(), ElementsAre(hop(1), hop(2)));
   EXPECT_EQ(table_.rowsWithHops(), 1U);
   auto& second = table_.insert(2);
   table_.read(std::string("\2\1\1g\0", 5), second);
   EXPECT_EQ(table_.group(second), "g");
}

TEST_F(RouteTableTest, aRowOfANewerVersionOrWithTwoGroupsIsRefused) {
   for (const auto& [bytes, trouble] : std::vector<std::pair<std::string, store::Trouble>>{
             {std::string("\4\0", 2), store::Trouble::newerFormat},
             {std::string("\0\0", 2), store::Trouble::newerFormat},
             {std::string("\3\2\1g\0\1h\0", 8), store::Trouble::damaged},
             {std::string("\3\2\0\1\1g\0", 7), store::Trouble::damaged}}) {
      Row row;
      try {
         table_.read(bytes, row);
         ADD_FAILURE() << "was read";
      } catch (const store::StoreError& e) {
         EXPECT_EQ(e.trouble(), trouble) << e.what();
      }
      table_.clearVias(row);
   }
}

}  // namespace
}  // namespace softswitch
