#include "platform/rillo/Table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "testing/platform/Loop.h"

namespace Rillo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

struct Number {
   std::uint64_t value = 0;
   bool operator==(const Number&) const = default;
   std::uint64_t check() const { return ~value; }
};

class Numbers final : public Table<std::string, Number> {
public:
   using Table::Table;
};

class TableTest : public ::testing::Test {
protected:
   void runLoop() {
      const Zelt::ActivityLockAnchor lock;
      while (scheduler->hasReady())
         scheduler->runReady();
   }
   std::string text(const std::string& key) {
      const auto row = table->row(key);
      return row ? std::to_string(row->value) : "none";
   }
   Numbers::Reaction listen() {
      return table->reactorIs([this](const std::string& key) { told.push_back(key + "=" + text(key)); },
                              scheduler);
   }
   Numbers::Reaction listenToChanges() {
      return table->changeReactorIs(
           [this](const std::string& key, const std::optional<Number>& before) {
              told.push_back(key + ": " + (before ? std::to_string(before->value) : "none") + " to " +
                             text(key));
           },
           scheduler);
   }
   std::vector<std::string> take() {
      runLoop();
      return std::exchange(told, {});
   }

   const Pavo::Ptr<Gorm::TaskScheduler> scheduler = Pavo::makePtr<Gorm::TaskScheduler>("test");
   Pavo::Ptr<Numbers> table = Pavo::makePtr<Numbers>("numbers");
   std::vector<std::string> told;
};

TEST_F(TableTest, aRowIsFoundInPlace) {
   EXPECT_EQ(table->find("a"), nullptr);
   table->rowIs("a", {1});
   const Number* const row = table->find("a");
   ASSERT_NE(row, nullptr);
   EXPECT_EQ(row->value, 1U);
   EXPECT_EQ(table->find("a"), row);
   table->damageRow("a");
   EXPECT_THROW((void)table->find("a"), TableCorruption);
   table->rowIs("a", {2});
   EXPECT_EQ(table->find("a")->value, 2U);
   table->rowDel("a");
   EXPECT_EQ(table->find("a"), nullptr);
}

TEST_F(TableTest, holdsRowsByKey) {
   EXPECT_TRUE(table->rowIs("a", {1}));
   EXPECT_TRUE(table->rowIs("b", {2}));
   EXPECT_FALSE(table->rowIs("b", {2}));
   EXPECT_TRUE(table->rowIs("b", {3}));
   EXPECT_EQ(table->size(), 2U);
   EXPECT_EQ(table->row("b"), Number{3});
   EXPECT_EQ(table->row("c"), std::nullopt);
   EXPECT_TRUE(table->rowDel("a"));
   EXPECT_FALSE(table->rowDel("a"));
   EXPECT_FALSE(table->contains("a"));
   EXPECT_THAT(table->keys(), ElementsAre("b"));
   table->clear();
   EXPECT_EQ(table->size(), 0U);
}

TEST_F(TableTest, aReaderIsToldOfWhatIsThereAndOfChangesFromTheLoopOnly) {
   table->rowIs("a", {1});
   table->rowIs("b", {2});
   const auto reaction = listen();
   EXPECT_THAT(told, IsEmpty());
   EXPECT_THAT(take(), UnorderedElementsAre("a=1", "b=2"));
   table->rowIs("a", {5});
   table->rowIs("c", {3});
   table->rowDel("b");
   table->rowIs("c", {3});
   EXPECT_THAT(told, IsEmpty());
   EXPECT_THAT(take(), ElementsAre("a=5", "c=3", "b=none"));
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(TableTest, aRowThatChangesAgainIsToldOnceAsItIs) {
   const auto reaction = listen();
   for (std::uint64_t v = 1; v <= 100; ++v)
      table->rowIs("a", {v});
   EXPECT_THAT(take(), ElementsAre("a=100"));
}

TEST_F(TableTest, aChangeReactorSeesTheRowAsItWasToldLast) {
   table->rowIs("a", {1});
   const auto reaction = listenToChanges();
   EXPECT_THAT(take(), ElementsAre("a: none to 1"));
   table->rowIs("a", {2});
   table->rowIs("a", {3});
   table->rowIs("b", {1});
   table->rowDel("b");
   EXPECT_THAT(take(), ElementsAre("a: 1 to 3", "b: none to none"));
   table->rowDel("a");
   table->rowIs("a", {9});
   EXPECT_THAT(take(), ElementsAre("a: 3 to 9"));
   table->rowDel("a");
   EXPECT_THAT(take(), ElementsAre("a: 9 to none"));
}

TEST_F(TableTest, everyReaderIsToldForItself) {
   const auto first = listen();
   table->rowIs("a", {1});
   take();
   const auto second = listenToChanges();
   table->rowIs("a", {2});
   EXPECT_THAT(take(), UnorderedElementsAre("a=2", "a: none to 2"));
}

TEST_F(TableTest, aDroppedReactionIsNotTold) {
   {
      const auto reaction = listen();
      table->rowIs("a", {1});
   }
   table->rowIs("a", {2});
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(TableTest, aReactionMayGoInsideItsReactorAndTakeTheTableAlong) {
   Numbers::Reaction reaction;
   reaction = table->reactorIs(
        [&](const std::string& key) {
           told.push_back(key);
           reaction = {};
           told.push_back("still here");
        },
        scheduler);
   table->rowIs("a", {1});
   table->rowIs("b", {1});
   table = nullptr;
   EXPECT_THAT(take(), ElementsAre("a", "still here"));
}

TEST_F(TableTest, aReactorMayChangeTheTable) {
   const auto reaction = table->reactorIs(
        [&](const std::string& key) {
           told.push_back(key);
           if (key == "a") {
              table->rowDel("a");
              table->rowIs("b", {1});
           }
        },
        scheduler);
   table->rowIs("a", {1});
   EXPECT_THAT(take(), ElementsAre("a", "a", "b"));
   EXPECT_THAT(table->keys(), ElementsAre("b"));
}

TEST_F(TableTest, aPlaceIsNotGivenAwayWhileAReaderIsStillToBeToldOfItsRow) {
   table->rowIs("a", {1});
   const auto reaction = listen();
   take();
   table->rowDel("a");
   table->rowIs("b", {2});
   EXPECT_THAT(take(), ElementsAre("a=none", "b=2"));
   table->rowIs("c", {3});  // reuses the slot of a
   EXPECT_THAT(take(), ElementsAre("c=3"));
}

TEST_F(TableTest, aDamagedRowThrowsUntilItIsRepaired) {
   table->rowIs("a", {1});
   table->rowIs("b", {2});
   table->repairIs([this](const std::string& key) { table->rowIs(key, {7}); });
   EXPECT_FALSE(table->damageRow("none"));
   ASSERT_TRUE(table->damageRow("a"));
   EXPECT_EQ(table->row("b"), Number{2});
   try {
      (void)table->row("a");
      FAIL() << "a damaged row was read";
   } catch (const TableCorruption& corruption) {
      EXPECT_THAT(corruption.what(), HasSubstr("table 'numbers'"));
      table->doCorruptionDetected(corruption);
      EXPECT_EQ(table->row("a"), Number{7});
      table->doCorruptionDetected(corruption);
   }
   EXPECT_EQ(table->corruptions(), 1U) << "the second report is out of date";
}

TEST_F(TableTest, aRowThatNobodyRepairsIsRemoved) {
   table->rowIs("a", {1});
   table->damageRow("a");
   try {
      (void)table->row("a");
      FAIL() << "a damaged row was read";
   } catch (const TableCorruption& corruption) {
      table->doCorruptionDetected(corruption);
   }
   EXPECT_EQ(table->row("a"), std::nullopt);
   table->doCorruptionDetected(TableCorruption(99, "of another table"));
   EXPECT_EQ(table->corruptions(), 1U);
}

TEST_F(TableTest, damageIsToldAndADamagedRowIsNoEarlierValue) {
   table->rowIs("a", {1});
   const auto reaction = table->changeReactorIs(
        [this](const std::string& key, const std::optional<Number>& before) {
           told.push_back(key + (before ? " had a value" : " had none"));
        },
        scheduler);
   take();
   table->damageRow("a");
   EXPECT_THAT(take(), ElementsAre("a had a value"));
   table->rowIs("a", {2});
   EXPECT_THAT(take(), ElementsAre("a had none"));
}

}  // namespace
}  // namespace Rillo
