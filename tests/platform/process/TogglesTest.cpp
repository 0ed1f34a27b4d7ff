#include "platform/process/Toggles.h"
#include "testing/base/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <stdexcept>
#include <string>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::ThrowsMessage;

class TogglesTest : public ::testing::Test {
protected:
   ~TogglesTest() override { toggleDirectoryDel(); }

   void write(const std::string& file, const std::string& content) const {
      std::ofstream(directory / file) << content;
   }

   void expectRefused(const std::string& content, const std::string& found) const {
      write("Bad.json", content);
      EXPECT_THAT([&] { toggleDirectoryIs(directory.path()); },
                  ThrowsMessage<std::runtime_error>(
                       AllOf(HasSubstr(directory / "Bad.json"), HasSubstr(found),
                             HasSubstr(R"(expected one JSON object of the form {"NAME": true|false})"),
                             Not(HasSubstr("\n")))))
           << content;
   }

   const orvtest::TempDir directory;
};

TEST_F(TogglesTest, withoutADirectoryEveryToggleHasItsDefault) {
   EXPECT_TRUE(getToggleState("Feature", "File.json", true));
   EXPECT_FALSE(getToggleState("Feature", "File.json", false));
}

TEST_F(TogglesTest, filesSayWhatIsOnAndOff) {
   write("One.json", R"({"Off": false, "On": true})");
   write("Two.json", R"({"Off": true})");
   toggleDirectoryIs(directory.path());
   EXPECT_FALSE(getToggleState("Off", "One.json", true));
   EXPECT_TRUE(getToggleState("On", "One.json", false));
   EXPECT_TRUE(getToggleState("Off", "Two.json", false));
}

TEST_F(TogglesTest, missingFilesAndNamesGiveTheDefault) {
   write("One.json", R"({"Off": false})");
   write("Empty.json", "{}");
   toggleDirectoryIs(directory.path());
   EXPECT_TRUE(getToggleState("Other", "One.json", true));
   EXPECT_FALSE(getToggleState("Other", "One.json", false));
   EXPECT_TRUE(getToggleState("Off", "Empty.json", true));
   EXPECT_TRUE(getToggleState("Off", "Missing.json", true));
}

TEST_F(TogglesTest, otherFilesAreNotLookedAt) {
   write("README", "not JSON");
   write("One.json.bak", "not JSON");
   EXPECT_NO_THROW(toggleDirectoryIs(directory.path()));
}

TEST_F(TogglesTest, malformedFilesAreRefusedInWords) {
   expectRefused("", "is not JSON");
   expectRefused("{\"A\": true", "is not JSON");
   expectRefused("{\"A\": true} x", "is not JSON");
   expectRefused("[true]", "holds JSON of type array");
   expectRefused("true", "holds JSON of type boolean");
   expectRefused(R"({"A": 1})", R"(gives "A" the value 1)");
   expectRefused(R"({"A": "true"})", R"(gives "A" the value "true")");
   expectRefused(R"({"A": {"B": true}})", R"(gives "A" the value {"B":true})");
   expectRefused(R"({"A": true, "A": false})", R"(names "A" twice)");
}

TEST_F(TogglesTest, anUnreadableFileIsRefused) {
   std::filesystem::create_directory(directory / "Bad.json");
   EXPECT_THAT([&] { toggleDirectoryIs(directory.path()); },
               ThrowsMessage<std::runtime_error>(
                    AllOf(HasSubstr(directory / "Bad.json"), HasSubstr("is not a regular file"))));
}

TEST_F(TogglesTest, aMissingDirectoryIsRefused) {
   EXPECT_THAT([&] { toggleDirectoryIs(directory / "none"); },
               ThrowsMessage<std::runtime_error>(AllOf(HasSubstr(directory / "none"),
                                                       HasSubstr("expected a directory that can be read"))));
   write("file", "");
   EXPECT_THROW(toggleDirectoryIs(directory / "file"), std::runtime_error);
}

TEST_F(TogglesTest, aRefusalChangesNothing) {
   write("One.json", R"({"Off": false})");
   toggleDirectoryIs(directory.path());
   write("One.json", R"({"Off": true})");
   write("Bad.json", "nonsense");
   EXPECT_THROW(toggleDirectoryIs(directory.path()), std::runtime_error);
   EXPECT_FALSE(getToggleState("Off", "One.json", true));
}

TEST_F(TogglesTest, changesOfAFileHaveNoEffectUntilItIsReadAgain) {
   write("One.json", R"({"Off": false})");
   toggleDirectoryIs(directory.path());
   write("One.json", R"({"Off": true})");
   EXPECT_FALSE(getToggleState("Off", "One.json", true));
   toggleDirectoryIs(directory.path());
   EXPECT_TRUE(getToggleState("Off", "One.json", false));
}

}  // namespace
