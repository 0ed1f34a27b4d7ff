#include "softswitch/console/command_table.h"

#include <algorithm>
#include <set>
#include <vector>

namespace softswitch::console {
namespace {

constexpr Command helpCommand{.name = "help",
                              .usage = "[WORDS…]",
                              .help = "all commands, or those that begin with the given words",
                              .details = "With words, all details of each command.",
                              .run = help,
                              .hasJson = true};

std::vector<std::string_view> splitName(std::string_view name) {
   std::vector<std::string_view> words;
   for (auto blank = name.find(' '); blank != std::string_view::npos; blank = name.find(' ')) {
      words.push_back(name.substr(0, blank));
      name.remove_prefix(blank + 1);
   }
   words.push_back(name);
   return words;
}

bool beginsWith(const Command& command, std::span<const std::string> words) {
   const auto name = splitName(command.name);
   return words.size() <= name.size() && std::equal(words.begin(), words.end(), name.begin());
}

}  // namespace

std::vector<const Command*> allCommands() {
   std::vector<const Command*> all;
   for (const auto commands : {showCommands(), configureCommands(), setCommands()}) {
      for (const auto& command : commands)
         all.push_back(&command);
   }
   all.push_back(&helpCommand);
   return all;
}

std::string syntax(const Command& command) {
   return fmt::format("{}{}{}", command.name, command.usage.empty() ? "" : " ", command.usage);
}

Found findCommand(std::span<const std::string> words) {
   Found found{.command = nullptr, .words = 0};
   std::size_t deepest = 0;
   std::set<std::string_view> goingOn;  // words that may follow at `deepest`
   for (const Command* const command : allCommands()) {
      const auto name = splitName(command->name);
      std::size_t same = 0;
      while (same < name.size() && same < words.size() && name[same] == words[same])
         ++same;
      if (same == name.size()) {
         if (same > found.words) found = {.command = command, .words = same};
         continue;
      }
      if (same > deepest) goingOn.clear();
      deepest = std::max(deepest, same);
      if (same == deepest) goingOn.insert(name[same]);
   }
   if (found.command != nullptr) return found;
   const auto expected = fmt::format("{}{}", goingOn.size() > 1 ? "one of " : "", fmt::join(goingOn, ", "));
   if (deepest == words.size()) {
      CommandError::raise("missing word after '{}', expected {}", fmt::join(words, " "), expected);
   }
   if (deepest == 0) CommandError::raise("unknown command '{}', expected {}", words[0], expected);
   CommandError::raise("'{}' after '{}', expected {}", words[deepest], fmt::join(words.first(deepest), " "),
                       expected);
}

void help(Call& call) {
   std::vector<std::string> words;
   while (!call.args.atEnd())
      words.push_back(call.args.next("a command's word"));
   auto commands = allCommands();
   std::erase_if(commands, [&](const Command* command) { return !beginsWith(*command, words); });
   if (commands.empty()) {
      const auto found = findCommand(words);
      CommandError::raise("'{}' after '{}', expected the end of the command's name", words[found.words],
                          found.command->name);
   }
   Document document(call.out, call.form);
   const bool spread = !words.empty() && call.form == Form::table;
   if (!spread) document.listing("commands", {{"Command", "command", 60}, {"", "help"}});
   for (const Command* const command : commands) {
      Json row{{"command", syntax(*command)}, {"help", command->help}};
      if (!command->details.empty()) row["details"] = command->details;
      spread ? document.fields("command", row) : document.row(row);
   }
   document.finish();
}

}  // namespace softswitch::console
