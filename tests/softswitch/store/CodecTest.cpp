#include "softswitch/store/codec.h"

#include <gtest/gtest.h>

#include <limits>

namespace softswitch::store {
namespace {

TEST(Codec, everythingComesBack) {
   std::string bytes;
   Writer out(bytes);
   out.u8(200);
   out.boolean(true);
   out.u16(0x1234);
   out.u32(0x12345678);
   out.u64(0x123456789abcdef0);
   out.text("a name");
   out.raw("raw");
   Reader in(bytes);
   EXPECT_EQ(in.u8(), 200);
   EXPECT_TRUE(in.boolean());
   EXPECT_EQ(in.u16(), 0x1234);
   EXPECT_EQ(in.u32(), 0x12345678u);
   EXPECT_EQ(in.u64(), 0x123456789abcdef0u);
   EXPECT_EQ(in.text(), "a name");
   EXPECT_EQ(in.raw(3), "raw");
   in.end();
}

TEST(Codec, varintsComeBackAtTheirLimits) {
   for (const std::uint64_t v :
        {std::uint64_t{0}, std::uint64_t{127}, std::uint64_t{128}, std::uint64_t{16383}, std::uint64_t{16384},
         std::numeric_limits<std::uint64_t>::max()}) {
      std::string bytes;
      Writer(bytes).varint(v);
      Reader in(bytes);
      EXPECT_EQ(in.varint(), v);
      in.end();
   }
}

TEST(Codec, aVarintThatDoesNotFitItsTypeIsRefused) {
   std::string bytes;
   Writer(bytes).varint(65536);
   EXPECT_THROW(Reader(bytes).number<std::uint16_t>(), StoreError);
   EXPECT_EQ(Reader(bytes).number<std::uint32_t>(), 65536u);
}

TEST(Codec, everyPrefixOfARowIsRefused) {
   std::string bytes;
   Writer out(bytes);
   out.u32(7);
   out.text("hello");
   for (std::size_t n = 0; n < bytes.size(); ++n) {
      Reader in(std::string_view(bytes).substr(0, n));
      EXPECT_THROW(
           {
              in.u32();
              in.text();
           },
           StoreError)
           << n;
   }
}

TEST(Codec, whatIsLeftOverIsRefused) {
   Reader in("xy");
   in.u8();
   EXPECT_FALSE(in.atEnd());
   EXPECT_THROW(in.end(), StoreError);
}

TEST(Codec, aLengthBeyondTheEndIsRefused) {
   // A varint of ten bytes with all bits set: no text is that long.
   EXPECT_THROW(Reader("\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01").text(), StoreError);
   EXPECT_THROW(Reader("\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff").varint(), StoreError);
}

TEST(Codec, numbersOfKeysSortAsBytes) {
   std::string small, large;
   Writer(small).u32(255);
   Writer(large).u32(256);
   EXPECT_LT(small, large);
}

TEST(Codec, theSumTellsEveryOverwrittenByte) {
   const std::string key = "some key";
   const std::string row = "a row of twenty-odd bytes";
   const auto sum = rowSum(key, row);
   EXPECT_EQ(rowSum(key, row), sum);
   for (std::size_t i = 0; i < row.size(); ++i) {
      auto changed = row;
      changed[i] = static_cast<char>(changed[i] ^ 1);
      EXPECT_NE(rowSum(key, changed), sum) << i;
   }
   EXPECT_NE(rowSum("other key", row), sum);
   // The boundary between key and row is part of the sum.
   EXPECT_NE(rowSum(key + row.substr(0, 1), row.substr(1)), sum);
}

}  // namespace
}  // namespace softswitch::store
