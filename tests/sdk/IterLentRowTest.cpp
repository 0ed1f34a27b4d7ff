// Iterators over tables that lend their rows in place of copying them.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "orv/iter.h"

namespace {

struct lending_iter_impl : orv::iter_impl<std::string> {};
using lending_iter = orv::iter_base<std::string, lending_iter_impl>;
using Rows = std::vector<std::shared_ptr<const std::string>>;

// Lends every row, or every other one.
class LendingIter final : public lending_iter_impl {
public:
   LendingIter(const Rows& rows, std::size_t lent) : rows_(rows), lent_(lent) {}

   bool next(std::string& row) override {
      const std::string* const at = next_row(row);
      if (at == nullptr) return false;
      row = *at;
      return true;
   }
   const std::string* next_row(std::string& row) override {
      if (at_ == rows_.size()) return nullptr;
      row_ = rows_[at_++];
      if (at_ % lent_ == 0) return row_.get();
      row = *row_;
      return &row;
   }
   std::unique_ptr<orv::iter_impl<std::string>> clone() const override {
      return std::make_unique<LendingIter>(*this);
   }

private:
   const Rows& rows_;
   const std::size_t lent_;
   std::size_t at_ = 0;
   std::shared_ptr<const std::string> row_;
};

Rows rows() {
   Rows rows;
   for (const char* text : {"a", "b", "c", "d"})
      rows.push_back(std::make_shared<const std::string>(text));
   return rows;
}
lending_iter lend(const Rows& rows, std::size_t lent = 1) {
   return lending_iter(std::make_unique<LendingIter>(rows, lent));
}
std::vector<std::string> restOf(lending_iter it) {
   std::vector<std::string> out;
   for (; it; ++it)
      out.push_back(*it);
   return out;
}

TEST(IterLentRowTest, aRowThatIsLentIsNotCopied) {
   const Rows table = rows();
   lending_iter it = lend(table);
   for (const auto& row : table) {
      ASSERT_TRUE(it);
      EXPECT_EQ(&*it, row.get());
      EXPECT_EQ(it->size(), 1U);
      ++it;
   }
   EXPECT_FALSE(it);
   ++it;
   EXPECT_FALSE(it);
}

TEST(IterLentRowTest, lentRowsAndCopiesMayAlternate) {
   const Rows table = rows();
   EXPECT_EQ(restOf(lend(table, 2)), (std::vector<std::string>{"a", "b", "c", "d"}));
}

TEST(IterLentRowTest, theRowStaysWhenItsTableLosesIt) {
   Rows table = rows();
   const lending_iter it = lend(table);
   const std::weak_ptr<const std::string> row = table[0];
   table[0] = std::make_shared<const std::string>("changed");
   EXPECT_FALSE(row.expired());
   EXPECT_EQ(*it, "a");
}

TEST(IterLentRowTest, copiesAndMovesStandOnTheirOwnRow) {
   for (const std::size_t lent : {1U, 2U}) {
      Rows table = rows();
      lending_iter first = lend(table, lent);
      for (const char* here : {"a", "b", "c"}) {
         lending_iter copy = first;
         lending_iter assigned;
         assigned = first;
         ++first;
         EXPECT_EQ(*copy, here);
         EXPECT_EQ(*assigned, here);
         const lending_iter moved = std::move(copy);
         EXPECT_EQ(*moved, here);
         ++assigned;
         EXPECT_EQ(*assigned, *first);
      }
   }
}

}  // namespace
