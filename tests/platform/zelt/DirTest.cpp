#include "platform/zelt/Dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zelt {
namespace {

using ::testing::ElementsAre;

struct Entry : Pavo::RefCounted {
   explicit Entry(int v) : value(v) {}
   int value;
};
struct OtherEntry : Pavo::RefCounted {};

class DirTest : public ::testing::Test {
protected:
   Dir::Reactor recorder() {
      return [this](const std::string& name) { changes.push_back(name); };
   }

   const Pavo::Ptr<Dir> dir = Pavo::makePtr<Dir>();
   std::vector<std::string> changes;
};

TEST_F(DirTest, givesBackWhatWasPutUnderItsType) {
   dir->entityIs("one", Pavo::makePtr<Entry>(1));
   ASSERT_TRUE(dir->entityAs<Entry>("one"));
   EXPECT_EQ(dir->entityAs<Entry>("one")->value, 1);
   EXPECT_FALSE(dir->entityAs<OtherEntry>("one")) << "another type";
   EXPECT_FALSE(dir->entity("two")) << "missing";
}

TEST_F(DirTest, namesAreInOrder) {
   dir->entityIs("b", Pavo::makePtr<OtherEntry>());
   dir->entityIs("a", Pavo::makePtr<OtherEntry>());
   EXPECT_THAT(dir->names(), ElementsAre("a", "b"));
   EXPECT_EQ(dir->size(), 2U);
}

TEST_F(DirTest, tellsOfEveryChangeAndOnlyOfChanges) {
   const Dir::Reaction reaction = dir->reactorIs(recorder());
   const auto number = Pavo::makePtr<Entry>(1);
   dir->entityIs("a", number);
   dir->entityIs("a", number);
   dir->entityIs("a", Pavo::makePtr<Entry>(2));
   dir->entityDel("a");
   dir->entityDel("a");
   dir->entityIs("b", nullptr);
   EXPECT_THAT(changes, ElementsAre("a", "a", "a"));
   EXPECT_EQ(dir->size(), 0U);
}

TEST_F(DirTest, aDroppedReactionIsNotCalled) {
   {
      const Dir::Reaction reaction = dir->reactorIs(recorder());
      dir->entityIs("a", Pavo::makePtr<OtherEntry>());
   }
   dir->entityIs("b", Pavo::makePtr<OtherEntry>());
   EXPECT_THAT(changes, ElementsAre("a"));
}

TEST_F(DirTest, aReactorMayDropAnotherAndItself) {
   Dir::Reaction second;
   Dir::Reaction first = dir->reactorIs([&](const std::string& name) {
      changes.push_back("first " + name);
      second = {};
      first = {};
   });
   second = dir->reactorIs(recorder());
   dir->entityIs("a", Pavo::makePtr<OtherEntry>());
   dir->entityIs("b", Pavo::makePtr<OtherEntry>());
   EXPECT_THAT(changes, ElementsAre("first a"));
}

TEST_F(DirTest, aReactorMayChangeTheDirectory) {
   const Dir::Reaction reaction = dir->reactorIs([&](const std::string& name) {
      changes.push_back(name);
      if (name == "a") dir->entityDel("a");
      if (changes.size() == 2) dir->entityIs("b", Pavo::makePtr<OtherEntry>());
   });
   dir->entityIs("a", Pavo::makePtr<OtherEntry>());
   EXPECT_THAT(changes, ElementsAre("a", "a", "b"));
   EXPECT_THAT(dir->names(), ElementsAre("b"));
}

}  // namespace
}  // namespace Zelt
