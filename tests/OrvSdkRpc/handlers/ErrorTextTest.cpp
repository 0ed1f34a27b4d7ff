#include "OrvSdkRpc/handlers/ErrorText.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/zelt/Utf8.h"

namespace OrvSdkRpc {
namespace {

TEST(ErrorText, wordsThatFitAreKept) {
   EXPECT_EQ(errorText(""), "");
   EXPECT_EQ(errorText("prefix 10.0.0.1/8 has bits set behind its length"),
             "prefix 10.0.0.1/8 has bits set behind its length");
   EXPECT_EQ(errorText("Z\xc3\xbcrich \xf0\x9f\x98\x80\n"), "Z\xc3\xbcrich \xf0\x9f\x98\x80\n");
   const std::string most(errorTextBytesMax, 'x');
   EXPECT_EQ(errorText(most), most);
}

TEST(ErrorText, ofALongTextTheMiddleIsLeftOut) {
   const std::string text = errorText("begin " + std::string(1'000'000, 'x') + " end");
   EXPECT_EQ(text.size(), errorTextBytesMax);
   EXPECT_EQ(text.substr(0, 8), "begin xx");
   EXPECT_EQ(text.substr(text.size() - 6), "xx end");
   EXPECT_NE(text.find("x...x"), std::string::npos);
}

TEST(ErrorText, noCharacterIsCut) {
   // A character of each of the four lengths, at each distance from the cuts.
   for (const std::string character : {"a", "\xc3\xbc", "\xe2\x82\xac", "\xf0\x9f\x98\x80"}) {
      for (std::size_t shift = 0; shift < 8; ++shift) {
         std::string words(shift, '.');
         while (words.size() < 2 * errorTextBytesMax)
            words += character;
         const std::string text = errorText(words);
         EXPECT_LE(text.size(), errorTextBytesMax);
         EXPECT_GT(text.size(), errorTextBytesMax - 8);
         EXPECT_TRUE(Zelt::isUtf8(text)) << character << " " << shift;
      }
   }
}

TEST(ErrorText, bytesThatAreNotUtf8AreNumbered) {
   EXPECT_EQ(errorText("Z\xfcrich"), "Z\\xfcrich");
   EXPECT_EQ(errorText("cut \xe2\x82"), "cut \\xe2\\x82");
   EXPECT_EQ(errorText("\xff\xfe"), "\\xff\\xfe");
   const std::string text = errorText(std::string(errorTextBytesMax, '\xff'));
   EXPECT_LE(text.size(), errorTextBytesMax);
   EXPECT_TRUE(Zelt::isUtf8(text));
}

}  // namespace
}  // namespace OrvSdkRpc
