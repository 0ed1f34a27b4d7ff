#include "softswitch/store/verify.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sstream>

#include "softswitch/store/store.h"
#include "testing/base/TempDir.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch::store {
namespace {

namespace fs = std::filesystem;

class VerifyTest : public testing::Test {
protected:
   void SetUp() override {
      Store store(options());
      const auto db = store.open("t");
      const auto other = store.open("u");
      for (int i = 0; i < 3000; ++i) {
         store.put(db, std::to_string(i), std::string(40 + i % 100, 'r'));
         if (i % 100 == 0) store.commit();
      }
      store.put(db, "large", std::string(20000, 'l'));
      store.put(other, "one", "row");
      for (int i = 0; i < 3000; i += 3)
         store.del(db, std::to_string(i));
      store.closeClean();
      std::ifstream in(file(), std::ios::binary);
      std::stringstream text;
      text << in.rdbuf();
      good_ = text.str();
   }

   StoreOptions options() const { return {.directory = directory_ / "state", .bootId = "boot", .log = {}}; }
   fs::path file() const { return directory_ / "state/data.mdb"; }
   void write(const std::string& bytes) const { std::ofstream(file(), std::ios::binary) << bytes; }
   std::string bytesNow() const {
      std::ifstream in(file(), std::ios::binary);
      std::stringstream text;
      text << in.rdbuf();
      return text.str();
   }
   bool damaged() const {
      try {
         verifyDataFile(file());
      } catch (const StoreError& e) {
         EXPECT_EQ(e.trouble(), Trouble::damaged) << e.what();
         return true;
      }
      return false;
   }

   orvtest::TempDir directory_;
   std::string good_;
};

TEST_F(VerifyTest, tellsWhatIsInAGoodFile) {
   const auto facts = verifyDataFile(file());
   EXPECT_EQ(facts.bytes, good_.size());
   EXPECT_EQ(facts.rows, 3000u - 1000 + 1 + 1);
   EXPECT_EQ(facts.pages * facts.pageBytes, good_.size());
}

TEST_F(VerifyTest, aMissingOrEmptyFileIsNoDamage) {
   write("");
   EXPECT_EQ(verifyDataFile(file()).bytes, 0u);
   fs::remove(file());
   EXPECT_EQ(verifyDataFile(file()).bytes, 0u);
}

TEST_F(VerifyTest, aFileThatIsCutShortIsDamage) {
   for (const std::size_t size : {std::size_t{1}, std::size_t{100}, std::size_t{4096}, std::size_t{8191},
                                  good_.size() / 2, good_.size() - 1}) {
      write(good_.substr(0, size));
      EXPECT_TRUE(damaged()) << size;
   }
}

TEST_F(VerifyTest, anotherKindOfFileIsDamage) {
   write(std::string(100000, 'x'));
   EXPECT_TRUE(damaged());
   write(std::string(100000, '\0'));
   EXPECT_TRUE(damaged());
}

TEST_F(VerifyTest, anOverwrittenPageIsDamageWhereverRowsAre) {
   std::mt19937 random(2);
   int found = 0, tried = 0;
   for (std::size_t page = 0; page < good_.size() / 4096; ++page) {
      auto bad = good_;
      for (std::size_t i = 0; i < 4096; ++i)
         bad[page * 4096 + i] = static_cast<char>(random());
      write(bad);
      ++tried;
      // Damage to a page of the free list does no harm, so it may go unnoticed.
      if (damaged()) ++found;
   }
   EXPECT_GT(found, tried / 2);
}

TEST_F(VerifyTest, everyFlippedByteIsFoundOrHarmless) {
   // Whichever byte changes, the file is refused, or its rows read as before.
   std::mt19937 random(3);
   const auto read = [&] {
      std::map<std::string, std::string> rows;
      Store store(options());
      store.scan(store.open("t"), [&](std::string_view k, std::string_view v) { rows.emplace(k, v); });
      return rows;
   };
   const auto expected = read();
   int found = 0;
   for (int round = 0; round < 600; ++round) {
      auto bad = good_;
      const auto at = random() % bad.size();
      bad[at] = static_cast<char>(bad[at] ^ (1 + random() % 255));
      write(bad);
      if (damaged()) {
         ++found;
         // A start refuses the file too, and leaves it as it is.
         if (round % 50 == 0) {
            EXPECT_THROW(Store{options()}, StoreError);
            EXPECT_EQ(bytesNow(), bad);
         }
         continue;
      }
      EXPECT_EQ(read(), expected) << "byte " << at;
   }
   EXPECT_GT(found, 50);
}

}  // namespace
}  // namespace softswitch::store
