#include "softswitch/tables/names.h"

#include <gtest/gtest.h>

#include <string>

namespace softswitch {
namespace {

TEST(Names, aNameHasOneNumberAsLongAsItIsHeld) {
   Names names;
   const auto a = names.hold("a");
   const auto b = names.hold("b");
   EXPECT_NE(a, b);
   EXPECT_EQ(names.hold("a"), a);
   EXPECT_EQ(names.text(a), "a");
   EXPECT_EQ(names.references(a), 2u);
   names.drop(a);
   EXPECT_EQ(names.find("a"), a);
   names.drop(a);
   EXPECT_EQ(names.find("a"), Names::none);
   EXPECT_EQ(names.find("b"), b);
}

TEST(Names, aNumberIsGivenAgain) {
   Names names;
   for (int i = 0; i < 1000; ++i)
      names.drop(names.hold("name " + std::to_string(i)));
   EXPECT_LE(names.bound(), 2u);
}

TEST(Names, theEmptyNameIsNone) {
   Names names;
   EXPECT_EQ(names.hold(""), Names::none);
   EXPECT_EQ(names.text(Names::none), "");
   names.drop(Names::none);
   EXPECT_EQ(names.find(""), Names::none);
}

TEST(Names, textsStayWhereTheyAre) {
   Names names;
   const auto a = names.hold("a short one");
   const auto* text = &names.text(a);
   for (int i = 0; i < 10000; ++i)
      names.hold(std::to_string(i));
   EXPECT_EQ(text, &names.text(a));
   EXPECT_EQ(names.find("a short one"), a);
   EXPECT_EQ(names.text(names.find("9999")), "9999");
}

TEST(HeldName, givesItsReferenceBack) {
   Names names;
   {
      HeldName held(names, "a");
      EXPECT_EQ(names.references(held.id()), 1u);
      HeldName moved = std::move(held);
      EXPECT_EQ(held.id(), Names::none);  // NOLINT(bugprone-use-after-move): it is what is tested
      EXPECT_EQ(names.references(moved.id()), 1u);
      moved = HeldName(names, "b");
      EXPECT_EQ(names.text(moved.id()), "b");
      EXPECT_EQ(names.find("a"), Names::none);
   }
   EXPECT_EQ(names.find("b"), Names::none);
}

}  // namespace
}  // namespace softswitch
