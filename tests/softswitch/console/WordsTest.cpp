#include "softswitch/console/words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace softswitch::console {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string refusalOf(std::string_view line) {
   try {
      parseLine(line);
   } catch (const CommandError& e) {
      return e.what();
   }
   return "(accepted)";
}

TEST(ParseLine, splitsAtBlanks) {
   EXPECT_THAT(parseLine("show  ip\troute ").words, ElementsAre("show", "ip", "route"));
   EXPECT_THAT(parseLine("").words, IsEmpty());
   EXPECT_THAT(parseLine("  \t ").words, IsEmpty());
}

TEST(ParseLine, readsQuotedWords) {
   EXPECT_THAT(parseLine(R"(a "b c" "" "d\"e\\f|" g"h i"j)").words,
               ElementsAre("a", "b c", "", "d\"e\\f|", "gh ij"));
   EXPECT_THAT(parseLine("description K\xc3\xb6ln").words, ElementsAre("description", "K\xc3\xb6ln"));
}

TEST(ParseLine, takesTheJsonFormInBothSpellings) {
   for (const auto* line : {"show vrf | json", "show vrf|json", "show vrf json"}) {
      const auto command = parseLine(line);
      EXPECT_EQ(command.form, Form::json) << line;
      EXPECT_THAT(command.words, ElementsAre("show", "vrf")) << line;
   }
   EXPECT_EQ(parseLine("show vrf").form, Form::table);
}

TEST(ParseLine, leavesJsonAsAWordWhereItIsOne) {
   EXPECT_THAT(parseLine(R"(show vrf "json")").words, ElementsAre("show", "vrf", "json"));
   const auto description = parseLine("configure interface Ethernet1 description json");
   EXPECT_EQ(description.form, Form::table);
   EXPECT_EQ(description.words.back(), "json");
}

TEST(ParseLine, refusesWithTheWordAndWhatWasExpected) {
   EXPECT_EQ(refusalOf("show vrf |"), "missing word after '|', expected json");
   EXPECT_EQ(refusalOf("show vrf | xml"), "'xml' after '|', expected json");
   EXPECT_EQ(refusalOf("show vrf | json now"), "'now' after '| json', expected the end of the line");
   EXPECT_EQ(refusalOf("| json"), "'| json' without a command, expected one before it");
   EXPECT_EQ(refusalOf("a \"b"), "'\"' at column 3 is not closed, expected a second '\"'");
   EXPECT_EQ(refusalOf(R"(a "b\n")"), R"('\' at column 5, expected \" or \\ within quotes)");
   EXPECT_EQ(refusalOf(std::string_view("a\0b", 3)),
             "control character 0x00 at column 2, expected printable text");
   EXPECT_EQ(refusalOf("a\x1b[2J"), "control character 0x1b at column 2, expected printable text");
}

TEST(ParseLine, refusesWhatIsNotUtf8) {
   for (const std::string_view bytes : {"\xff", "\xc3", "\xc0\xaf", "\xe0\x80\x80", "\xed\xa0\x80",
                                        "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80", "\x80"}) {
      EXPECT_NE(refusalOf(bytes).find("expected UTF-8 text"), std::string::npos);
   }
   EXPECT_EQ(parseLine("\xf0\x9f\x98\x80 \xe2\x82\xac").words.size(), 2u);
}

TEST(Quoted, isReadBackTheSame) {
   for (const char* word : {"plain", "", "two words", "qu\"ote", "back\\slash", "pi|pe", "json"}) {
      EXPECT_THAT(parseLine("show x " + quoted(word)).words, ElementsAre("show", "x", word));
      EXPECT_EQ(parseLine("show x " + quoted(word)).form, Form::table);
   }
}

class ArgsTest : public testing::Test {
protected:
   template <typename Read>
   std::string refusal(Read read) {
      try {
         read();
      } catch (const CommandError& e) {
         return e.what();
      }
      return "(accepted)";
   }

   const std::vector<std::string> words_{"set", "x", "12", "more", "and more"};
};

TEST_F(ArgsTest, readsInOrder) {
   Args args(words_, 2);
   EXPECT_FALSE(args.take("13"));
   EXPECT_EQ(args.number("a number", 1, 20), 12u);
   EXPECT_TRUE(args.take("more"));
   EXPECT_EQ(args.peek(), "and more");
   EXPECT_EQ(args.next("words"), "and more");
   EXPECT_TRUE(args.atEnd());
   EXPECT_NO_THROW(args.end());
}

TEST_F(ArgsTest, saysWhatWasExpected) {
   EXPECT_EQ(refusal([&] { Args(words_, 2).number("a number", 1, 11); }),
             "'12' after 'set x', expected a number (1 to 11)");
   EXPECT_EQ(refusal([&] { Args(words_, 3).number("a number", 0, 11); }),
             "'more' after 'set x 12', expected a number (0 to 11)");
   EXPECT_EQ(refusal([&] { Args(words_, 5).next("a name"); }),
             "missing word after 'set x 12 more \"and more\"', expected a name");
   EXPECT_EQ(refusal([&] { Args(words_, 4).end(); }),
             "'and more' after 'set x 12 more', expected the end of the line");
}

TEST_F(ArgsTest, numbersAreDecimalAndWhole) {
   for (const char* word : {"", "-1", "+1", "1x", "0x1", "99999999999999999999", "1.0", " 1"}) {
      const std::vector<std::string> words{"n", word};
      EXPECT_NE(refusal([&] { Args(words, 1).number("a number", 0, 100); }), "(accepted)") << word;
   }
}

TEST_F(ArgsTest, restJoinsWords) {
   EXPECT_EQ(Args(words_, 3).rest("text"), "more and more");
   EXPECT_EQ(refusal([&] { Args(words_, 5).rest("text"); }),
             "missing word after 'set x 12 more \"and more\"', expected text");
}

}  // namespace
}  // namespace softswitch::console
