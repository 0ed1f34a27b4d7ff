#include "platform/zelt/Utf8.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace Zelt {
namespace {

// RFC 3629, 3: every number's own form, and no other.
std::string encoded(char32_t c) {
   const auto tail = [](char32_t bits) { return static_cast<char>(0x80 | (bits & 0x3f)); };
   if (c < 0x80) return {static_cast<char>(c)};
   if (c < 0x800) return {static_cast<char>(0xc0 | c >> 6), tail(c)};
   if (c < 0x10000) return {static_cast<char>(0xe0 | c >> 12), tail(c >> 6), tail(c)};
   return {static_cast<char>(0xf0 | c >> 18), tail(c >> 12), tail(c >> 6), tail(c)};
}

TEST(Utf8, everyCharacterIsTakenWholeAndNotCut) {
   for (char32_t c = 0; c < 0x120000; ++c) {
      const bool character = c <= 0x10ffff && (c < 0xd800 || c > 0xdfff);
      const std::string text = encoded(c) + "x";
      ASSERT_EQ(utf8CharacterBytes(text), character ? text.size() - 1 : 0) << std::hex << std::uint32_t{c};
      const std::string_view whole(text.data(), text.size() - 1);
      if (character && whole.size() > 1) {
         ASSERT_EQ(utf8CharacterBytes(whole.substr(0, whole.size() - 1)), 0U) << std::hex << std::uint32_t{c};
      }
   }
}

TEST(Utf8, whatIsNoCharacterIsRefused) {
   EXPECT_EQ(utf8CharacterBytes(""), 0U);
   // Overlong forms, continuation bytes alone, bytes that no character has.
   for (const char* text : {"\xc0\x80", "\xc1\xbf", "\xe0\x9f\xbf", "\xf0\x8f\xbf\xbf", "\x80", "\xbf",
                            "\xf5\x80\x80\x80", "\xff", "\xc3(", "\xe2\x82(", "\xf0\x9f\x98("}) {
      EXPECT_EQ(utf8CharacterBytes(text), 0U);
      EXPECT_FALSE(isUtf8(std::string("good ") + text));
   }
}

TEST(Utf8, aTextIsUtf8WhenAllOfItIs) {
   EXPECT_TRUE(isUtf8(""));
   // ASCII of every length, with and without a byte at its end that is none.
   for (std::size_t length = 0; length < 40; ++length) {
      const std::string ascii(length, 'a');
      EXPECT_TRUE(isUtf8(ascii)) << length;
      EXPECT_FALSE(isUtf8(ascii + "\xff")) << length;
      EXPECT_FALSE(isUtf8("\xff" + ascii)) << length;
   }
   EXPECT_TRUE(isUtf8("Z\xc3\xbcrich \xe2\x82\xac \xf0\x9f\x98\x80"));
   EXPECT_FALSE(isUtf8("Z\xfcrich"));
   EXPECT_FALSE(isUtf8("cut \xe2\x82"));
}

}  // namespace
}  // namespace Zelt
