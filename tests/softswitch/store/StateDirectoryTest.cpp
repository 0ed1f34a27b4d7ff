#include "softswitch/store/state_directory.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "softswitch/store/error.h"
#include "testing/base/TempDir.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch::store {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

class StateDirectoryTest : public testing::Test {
protected:
   StateDirectory open(std::string_view boot = "boot-1") {
      return StateDirectory(state(), boot, [this](std::string_view line) { log_.emplace_back(line); });
   }
   fs::path state() const { return directory_ / "state"; }
   void write(std::string_view name, std::string_view text) {
      fs::create_directories(state());
      std::ofstream(state() / name) << text;
   }
   std::string read(std::string_view name) const {
      std::ifstream in(state() / name);
      std::stringstream text;
      text << in.rdbuf();
      return text.str();
   }
   std::vector<std::string> files() const {
      std::vector<std::string> names;
      for (const auto& e : fs::directory_iterator(state()))
         names.push_back(e.path().filename().string());
      std::sort(names.begin(), names.end());
      return names;
   }
   // The kind and the text of the refusal.
   std::pair<Trouble, std::string> refused(std::string_view boot = "boot-1") {
      try {
         open(boot);
      } catch (const StoreError& e) {
         return {e.trouble(), e.what()};
      }
      ADD_FAILURE() << "was not refused";
      return {Trouble::unusable, ""};
   }

   orvtest::TempDir directory_;
   std::vector<std::string> log_;
};

TEST_F(StateDirectoryTest, createsWhatIsMissing) {
   { const auto d = open(); }
   EXPECT_THAT(files(), testing::ElementsAre("FORMAT"));
   { const auto d = open(); }
   EXPECT_TRUE(log_.empty());
}

TEST_F(StateDirectoryTest, aSecondOneIsRefusedAndNamesTheFirst) {
   auto first = open();
   first.markInUse(Durability::process);
   const auto before = files();
   const auto [trouble, words] = refused();
   EXPECT_EQ(trouble, Trouble::busy);
   EXPECT_THAT(words, HasSubstr(state().string()));
   EXPECT_THAT(words, HasSubstr(fmt::format("in use by process {}", ::getpid())));
   EXPECT_EQ(files(), before);
}

TEST_F(StateDirectoryTest, aForeignDirectoryIsRefusedAndLeft) {
   write("photo.jpg", "not a table");
   const auto [trouble, words] = refused();
   EXPECT_EQ(trouble, Trouble::foreign);
   EXPECT_THAT(words, HasSubstr("photo.jpg"));
   EXPECT_THAT(files(), testing::ElementsAre("photo.jpg"));
}

TEST_F(StateDirectoryTest, aForeignFormatFileIsRefused) {
   write("FORMAT", "PostgreSQL 15\n");
   EXPECT_EQ(refused().first, Trouble::foreign);
   EXPECT_EQ(read("FORMAT"), "PostgreSQL 15\n");
}

TEST_F(StateDirectoryTest, aNewerFormatIsRefusedAndLeft) {
   const std::string text = "orvsdkrpc software switch state, format 2\n";
   write("FORMAT", text);
   write("data.mdb", "whatever");
   const auto [trouble, words] = refused();
   EXPECT_EQ(trouble, Trouble::newerFormat);
   EXPECT_THAT(words, HasSubstr("format 2"));
   EXPECT_EQ(read("FORMAT"), text);
   EXPECT_EQ(read("data.mdb"), "whatever");
}

TEST_F(StateDirectoryTest, aFormatWithoutAVersionIsDamage) {
   for (const char* tail : {"", "x\n", "0\n", "1", "-1\n", "99999999999999999999\n"}) {
      write("FORMAT", fmt::format("orvsdkrpc software switch state, format {}", tail));
      EXPECT_EQ(refused().first, Trouble::damaged) << tail;
   }
}

TEST_F(StateDirectoryTest, aStartThatDiedBeforeItsFormatWasThereDoesNotMatter) {
   write("FORMAT.new", "orvsdkrpc soft");
   { const auto d = open(); }
   EXPECT_THAT(read("FORMAT"), HasSubstr("format 1"));
}

TEST_F(StateDirectoryTest, aFileInItsPlaceIsRefused) {
   std::ofstream(state()) << "a file";
   const auto [trouble, words] = refused();
   EXPECT_EQ(trouble, Trouble::unusable);
   EXPECT_THAT(words, HasSubstr("is not a directory"));
}

TEST_F(StateDirectoryTest, anUncleanStopInTheSameBootKeepsTheTables) {
   {
      auto d = open();
      d.markInUse(Durability::process);
      write("data.mdb", "rows");
   }
   const auto again = open();
   EXPECT_TRUE(again.mustSync());
   EXPECT_EQ(read("data.mdb"), "rows");
   EXPECT_TRUE(log_.empty());
}

TEST_F(StateDirectoryTest, anUncleanStopInAnEarlierBootSetsTheTablesAside) {
   for (int round = 0; round < 2; ++round) {
      {
         auto d = open("boot-1");
         d.markInUse(Durability::process);
         write("data.mdb", "rows");
      }
      const auto again = open("boot-2");
      EXPECT_FALSE(fs::exists(state() / "data.mdb"));
      ASSERT_EQ(log_.size(), std::size_t(round) + 1);
      EXPECT_THAT(log_.back(), HasSubstr("set aside as 'data.mdb.unclean-"));
   }
   // Both are kept, each under a name of its own.
   int aside = 0;
   for (const auto& name : files()) {
      if (!name.starts_with("data.mdb.unclean-")) continue;
      ++aside;
      EXPECT_EQ(read(name), "rows");
   }
   EXPECT_EQ(aside, 2);
}

TEST_F(StateDirectoryTest, syncedCommitsAreTrustedAfterANewBoot) {
   {
      auto d = open("boot-1");
      d.markInUse(Durability::sync);
      write("data.mdb", "rows");
   }
   const auto again = open("boot-2");
   EXPECT_EQ(read("data.mdb"), "rows");
}

TEST_F(StateDirectoryTest, aCleanStopIsTrustedAfterANewBoot) {
   {
      auto d = open("boot-1");
      d.markInUse(Durability::process);
      write("data.mdb", "rows");
      d.markClean();
   }
   const auto again = open("boot-2");
   EXPECT_FALSE(again.mustSync());
   EXPECT_EQ(read("data.mdb"), "rows");
   EXPECT_TRUE(log_.empty());
}

TEST_F(StateDirectoryTest, theMachineHasABootId) {
   EXPECT_EQ(StateDirectory::machineBootId().size(), 36u);
}

}  // namespace
}  // namespace softswitch::store
