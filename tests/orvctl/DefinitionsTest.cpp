#include "orvctl/Definitions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "testing/base/TempDir.h"

namespace orvctl {
namespace {

using testing::StartsWith;

class Definitions : public testing::Test {
protected:
   std::string fromInput(const std::string& text) {
      in_.clear();
      in_.str(text);
      std::string found;
      for (const auto& definition : readDefinitions(context_, "FILE", "-"))
         found += definition.where + ": " + definition.tree.dump() + "\n";
      return found;
   }
   std::string problemIn(const std::string& text) {
      try {
         fromInput(text);
      } catch (const UsageError& error) {
         return error.what();
      }
      return "";
   }

   std::istringstream in_;
   std::ostringstream out_, err_;
   Context context_{.in = in_, .out = out_, .err = err_, .consoleText = {}, .action = {}};
};

TEST_F(Definitions, oneOrAListInJson) {
   EXPECT_EQ(fromInput(" \n{\"a\":1}\n"), "-: {\"a\":1}\n");
   EXPECT_EQ(fromInput(R"([{"a":1},{"a":2}])"), "- element 1: {\"a\":1}\n- element 2: {\"a\":2}\n");
}

TEST_F(Definitions, oneOrAListInYaml) {
   EXPECT_EQ(fromInput("a: 1\n"), "- line 1: {\"a\":\"1\"}\n");
   EXPECT_EQ(fromInput("- a: 1\n- a: 2\n"), "- line 1: {\"a\":\"1\"}\n- line 2: {\"a\":\"2\"}\n");
}

TEST_F(Definitions, aFileIsReadWhole) {
   const orvtest::TempDir directory;
   const std::string path = directory / "maps.yaml";
   const std::string longText(100000, 'x');
   std::ofstream(path) << "# " << longText << "\na: " << longText << "\n";
   const auto found = readDefinitions(context_, "FILE", path);
   ASSERT_EQ(found.size(), 1U);
   EXPECT_EQ(found[0].where, path + " line 2");
   EXPECT_EQ(found[0].tree["a"], longText);
}

TEST_F(Definitions, whatIsNoJsonIsRefusedWithItsLine) {
   EXPECT_THAT(problemIn("{\n  \"a\": x\n}\n"), StartsWith("- line 2: expected JSON: syntax error"));
   EXPECT_THAT(problemIn("{\n  \"a\": \"b\n\"}\n"), StartsWith("- line 2: expected JSON: syntax error"));
   EXPECT_THAT(problemIn("{\n\n"), StartsWith("- line 3: expected JSON: syntax error"));
   EXPECT_THAT(problemIn("{} {}"), StartsWith("- line 1: expected JSON: syntax error"));
   EXPECT_THAT(problemIn("{\"a\":\"\xff\"}"), StartsWith("- line 1: expected JSON: syntax error"));
}

TEST_F(Definitions, whatIsNoYamlIsRefusedWithItsLine) {
   EXPECT_THAT(problemIn("a: 1\nb: c: d\n"), StartsWith("- line 2: expected YAML: "));
}

TEST_F(Definitions, aKeyMayNotComeTwice) {
   EXPECT_EQ(problemIn(R"({"rules":{"10":{"a":1},"20":{"a":1},"10":{}}})"), "-: the key '10' is given twice");
   EXPECT_EQ(problemIn("a: 1\na: 1\n"), "- line 2: the key 'a' is given twice");
}

TEST_F(Definitions, noDefinitionIsRefused) {
   for (const char* text : {"", "\n \n", "# nothing\n", "[]", "---\n"})
      EXPECT_EQ(problemIn(text), "FILE is '-', expected a definition in JSON or YAML") << text;
}

TEST_F(Definitions, aFileThatCannotBeReadIsRefused) {
   const orvtest::TempDir directory;
   for (const std::string& path : {directory / "none", directory.path()}) {
      try {
         readDefinitions(context_, "FILE", path);
         ADD_FAILURE() << path;
      } catch (const UsageError& error) {
         EXPECT_THAT(error.what(), StartsWith("FILE is '" + path + "', expected a readable file or '-': "));
      }
   }
}

}  // namespace
}  // namespace orvctl
