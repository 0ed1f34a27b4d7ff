#include "OrvSdkRpc/programming/DscpValues.h"

#include <gtest/gtest.h>

namespace OrvSdkRpc {
namespace {

DscpValues of(std::initializer_list<std::uint32_t> values) {
   return DscpValues(google::protobuf::RepeatedField<std::uint32_t>(values.begin(), values.end()));
}

TEST(DscpValues, areSortedNarrowedAndKeepDuplicates) {
   EXPECT_EQ(of({46, 10, 46, 256 + 3}).values(), (std::vector<std::uint8_t>{3, 10, 46, 46}));
   EXPECT_EQ(of({2, 1}), of({1, 2}));
   EXPECT_NE(of({1}), of({1, 1}));
}

TEST(DscpValues, ofBytesAreThoseOfTheWire) {
   EXPECT_TRUE(DscpValues().empty());
   EXPECT_EQ(DscpValues(std::vector<std::uint8_t>{9, 3, 9, 1}), of({1, 3, 9, 9}));
}

TEST(DscpValues, loseTheirDuplicatesWhereTheyAreMoreThanThereAreDscps) {
   google::protobuf::RepeatedField<std::uint32_t> values;
   values.Resize(63, 7);
   values.Add(5);
   EXPECT_EQ(DscpValues(values).values().size(), 64U);
   values.Add(5);
   EXPECT_EQ(DscpValues(values).values(), (std::vector<std::uint8_t>{5, 7}));
   values.Resize(1'000'000, 63);
   EXPECT_EQ(DscpValues(values), of({5, 7, 63}));
}

TEST(DscpValues, printInBracketsWithBlanks) {
   EXPECT_EQ(of({}).toStrep(), "[]");
   EXPECT_EQ(of({46}).toStrep(), "[ 46 ]");
   EXPECT_EQ(of({46, 10}).toStrep(), "[ 10, 46 ]");
   EXPECT_EQ(fmt::format("{}", of({46, 10})), "[ 10, 46 ]");
}

}  // namespace
}  // namespace OrvSdkRpc
