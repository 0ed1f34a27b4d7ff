#include "orvctl/YamlText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

using testing::StartsWith;

std::string yamlAsJson(const std::string& text) {
   std::string json;
   for (const auto& item : readYaml("maps.yaml", text))
      json += std::to_string(item.line) + " " + item.tree.dump() + "\n";
   return json;
}

std::string yamlProblem(const std::string& text) {
   try {
      readYaml("maps.yaml", text);
   } catch (const UsageError& error) {
      return error.what();
   }
   return "";
}

TEST(YamlText, aDocument) {
   EXPECT_EQ(yamlAsJson("# maps\n"
                        "key:\n"
                        "  name: web\n"
                        "rules:\n"
                        "  20: {log: true, text: 'true', none: ~, number: 010}\n"
                        "  10:\n"
                        "  - a b\n"
                        "  - False\n"),
             R"(2 {"key":{"name":"web"},"rules":{"20":{"log":true,"text":"true","none":null,"number":"010"},)"
             R"("10":["a b",false]}})"
             "\n");
}

TEST(YamlText, listsAndDocumentsAreItems) {
   EXPECT_EQ(yamlAsJson("---\n- a: 1\n- a: 2\n---\na: 3\n"), R"(2 {"a":"1"})"
                                                             "\n"
                                                             R"(3 {"a":"2"})"
                                                             "\n"
                                                             R"(5 {"a":"3"})"
                                                             "\n");
   EXPECT_EQ(yamlAsJson(""), "");
   EXPECT_EQ(yamlAsJson("# nothing\n"), "");
}

TEST(YamlText, anAliasIsWhatItNames) {
   EXPECT_EQ(yamlAsJson("a: &same {b: 1}\nc: *same\n"), R"(1 {"a":{"b":"1"},"c":{"b":"1"}})"
                                                        "\n");
}

TEST(YamlText, whatIsNoYamlIsRefusedWithItsLine) {
   EXPECT_THAT(yamlProblem("a: 1\nb: c: d\n"), StartsWith("maps.yaml line 2: expected YAML: "));
   EXPECT_THAT(yamlProblem("a: *unknown\n"), StartsWith("maps.yaml line 1: expected YAML: "));
}

TEST(YamlText, aKeyMayNotComeTwice) {
   EXPECT_EQ(yamlProblem("a: 1\nb: 2\na: 3\n"), "maps.yaml line 3: the key 'a' is given twice");
   EXPECT_EQ(yamlProblem("rules:\n  10: x\n  10: y\n"), "maps.yaml line 3: the key '10' is given twice");
}

TEST(YamlText, aKeyIsAScalar) {
   EXPECT_EQ(yamlProblem("? [x]\n: 1\n"), "maps.yaml line 1: expected a scalar as key");
}

TEST(YamlText, aNodeInItselfIsRefused) {
   EXPECT_EQ(yamlProblem("a: &a [*a]\n"), "maps.yaml line 1: expected at most 100 levels of nesting");
   EXPECT_EQ(yamlProblem(std::string(100, '[') + std::string(100, ']')), "");
   EXPECT_THAT(yamlProblem(std::string(102, '[') + std::string(102, ']')),
               StartsWith("maps.yaml line 1: expected at most 100 levels"));
}

}  // namespace
}  // namespace orvctl
