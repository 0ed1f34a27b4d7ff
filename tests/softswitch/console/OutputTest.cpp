#include "softswitch/console/output.h"

#include <gtest/gtest.h>

namespace softswitch::console {
namespace {

const std::vector<Column> columns{{"Name", "name", 6}, {"Up", "up", 3}, {"Hops", "hops"}};

std::string twoSections(Form form, bool headings) {
   StringOutput out;
   Document document(out, form, headings);
   document.listing("things", columns);
   document.row({{"name", "a"}, {"up", true}, {"hops", {"10.0.0.1", "10.0.0.2"}}, {"extra", 7}});
   document.row({{"name", "longer than six"}, {"up", false}, {"hops", Json::array()}});
   document.fields("summary", {{"count", 2}, {"vrf", "default"}, {"none", nullptr}});
   document.finish();
   return out.text();
}

TEST(Document, asTable) {
   EXPECT_EQ(twoSections(Form::table, false),
             "Name    Up   Hops\n"
             "a       yes  10.0.0.1, 10.0.0.2\n"
             "longer than six  no   -\n"
             "count: 2\n"
             "vrf: default\n"
             "none: -\n");
}

TEST(Document, asTableWithHeadings) {
   const auto text = twoSections(Form::table, true);
   EXPECT_TRUE(text.starts_with("---- things ----\nName")) << text;
   EXPECT_NE(text.find("\n\n---- summary ----\ncount: 2\n"), std::string::npos) << text;
}

TEST(Document, asJsonIsOneObjectWithTheGivenOrder) {
   const auto text = twoSections(Form::json, true);
   EXPECT_EQ(text,
             "{\"things\": [\n"
             "{\"name\":\"a\",\"up\":true,\"hops\":[\"10.0.0.1\",\"10.0.0.2\"],\"extra\":7},\n"
             "{\"name\":\"longer than six\",\"up\":false,\"hops\":[]}\n"
             "],\n"
             "\"summary\": {\"count\":2,\"vrf\":\"default\",\"none\":null}}\n");
   EXPECT_EQ(nlohmann::json::parse(text)["things"].size(), 2u);
}

TEST(Document, emptyListingIsAnEmptyArray) {
   StringOutput out;
   Document document(out, Form::json);
   document.listing("things", columns);
   document.finish();
   EXPECT_EQ(out.text(), "{\"things\": []}\n");
}

TEST(Document, withoutSections) {
   StringOutput json, table;
   Document(json, Form::json).finish();
   Document(table, Form::table).finish();
   EXPECT_EQ(json.text(), "{}\n");
   EXPECT_EQ(table.text(), "");
}

TEST(Document, textThatIsNotUtf8DoesNotStopIt) {
   StringOutput out;
   Document document(out, Form::json);
   document.fields("x", {{"name", "a\xff"}});
   document.finish();
   EXPECT_TRUE(nlohmann::json::accept(out.text())) << out.text();
}

TEST(Document, widthCountsCharacters) {
   StringOutput out;
   Document document(out, Form::table);
   document.listing("x", {{"Town", "town", 5}, {"N", "n"}});
   document.row({{"town", "K\xc3\xb6ln"}, {"n", 1}});
   document.finish();
   EXPECT_EQ(out.text(), "Town   N\nK\xc3\xb6ln   1\n");
}

// Records the longest piece that it was given.
class LongestPiece final : public Output {
public:
   void write(std::string_view text) override {
      longest = std::max(longest, text.size());
      total += text.size();
      ++pieces;
   }
   std::size_t longest = 0, total = 0, pieces = 0;
};

TEST(Document, longListingsArePassedOnInPieces) {
   LongestPiece out;
   Document document(out, Form::table);
   document.listing("x", {{"Name", "name"}});
   for (int i = 0; i < 100'000; ++i)
      document.row({{"name", "0123456789"}});
   document.finish();
   EXPECT_EQ(out.total, 5u + 11u * 100'000u);
   EXPECT_LT(out.longest, 64u * 1024u);
   EXPECT_GT(out.pieces, 10u);
}

}  // namespace
}  // namespace softswitch::console
