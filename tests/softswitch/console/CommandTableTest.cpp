#include "softswitch/console/command_table.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "CommandsFixture.h"

namespace softswitch::console {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

using CommandTable = CommandsFixture;

// The list as the documentation shows it, one row per command.
std::string documented(const std::vector<const Command*>& commands) {
   std::string rows = "| command | what |\n|---|---|\n";
   for (const Command* const command : commands) {
      std::string words;
      for (const char c : syntax(*command)) {
         if (c == '|') words += '\\';
         words += c;
      }
      rows += fmt::format("| `{}` | {}{}{} |\n", words, command->help, command->details.empty() ? "" : ". ",
                          command->details);
   }
   return rows;
}

TEST_F(CommandTable, everyCommandHasANameOfItsOwnAndHelp) {
   std::set<std::string_view> names;
   for (const Command* const command : allCommands()) {
      EXPECT_TRUE(names.insert(command->name).second) << command->name;
      EXPECT_NE(command->help, "") << command->name;
      EXPECT_NE(command->help.back(), '.') << command->name;
      EXPECT_TRUE(command->details.empty() || command->details.back() == '.') << command->name;
      EXPECT_EQ(command->hasJson, command->name.starts_with("show ") || command->name == "help");
   }
}

TEST_F(CommandTable, theListInTheDocumentationIsThisOne) {
   std::ifstream file(ORV_DOCS "/software-switch.md");
   const std::string text{std::istreambuf_iterator<char>(file), {}};
   ASSERT_NE(text, "");
   EXPECT_THAT(text, HasSubstr("\n\n" + documented(allCommands()) + "\n"));
}

TEST_F(CommandTable, helpNamesEveryCommandOfTheTable) {
   const std::string text = run("help");
   const auto commands = json("help")["commands"];
   ASSERT_EQ(commands.size(), allCommands().size());
   for (std::size_t at = 0; at < commands.size(); ++at) {
      const Command& command = *allCommands()[at];
      EXPECT_THAT(text, HasSubstr(syntax(command)));
      EXPECT_EQ(commands[at]["command"], syntax(command));
      EXPECT_EQ(commands[at]["help"], command.help);
      EXPECT_EQ(commands[at].value("details", ""), command.details);
   }
}

TEST_F(CommandTable, helpOfWordsSaysEverythingOfTheCommandsThatBeginWithThem) {
   EXPECT_THAT(run("help show ip"),
               AllOf(HasSubstr("command: show ip route [PREFIX] [vrf NAME]\nhelp: IP routes"),
                     HasSubstr("\ndetails: PREFIX is"), Not(HasSubstr("show version"))));
   EXPECT_EQ(json("help show")["commands"].size(), showCommands().size());
   EXPECT_EQ(json("help set link")["commands"].size(), 1u);
   EXPECT_EQ(refusal("help show rooms"), refusal("show rooms"));
   EXPECT_EQ(refusal("help show vrf red"), "'red' after 'show vrf', expected the end of the command's name");
}

TEST_F(CommandTable, everyNameIsFound) {
   for (const Command* const command : allCommands()) {
      const auto line = parseLine(command->name);
      EXPECT_EQ(findCommand(line.words).command, command) << command->name;
      EXPECT_EQ(findCommand(line.words).words, line.words.size()) << command->name;
   }
}

}  // namespace
}  // namespace softswitch::console
