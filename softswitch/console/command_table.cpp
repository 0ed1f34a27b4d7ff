#include "softswitch/console/command_table.h"

#include <algorithm>
#include <array>
#include <set>
#include <vector>

namespace softswitch::console {
namespace {

constexpr std::array helpCommands{Command{
     .name = "help", .usage = "", .help = "all commands with a line on each", .run = help, .hasJson = true}};

std::array<std::span<const Command>, 4> allCommands() {
   return {showCommands(), configureCommands(), setCommands(), helpCommands};
}

std::vector<std::string_view> splitName(std::string_view name) {
   std::vector<std::string_view> words;
   for (auto blank = name.find(' '); blank != std::string_view::npos; blank = name.find(' ')) {
      words.push_back(name.substr(0, blank));
      name.remove_prefix(blank + 1);
   }
   words.push_back(name);
   return words;
}

}  // namespace

Found findCommand(std::span<const std::string> words) {
   Found found{.command = nullptr, .words = 0};
   std::size_t deepest = 0;
   std::set<std::string_view> goingOn;  // words that could stand at `deepest`
   for (const auto commands : allCommands()) {
      for (const auto& command : commands) {
         const auto name = splitName(command.name);
         std::size_t same = 0;
         while (same < name.size() && same < words.size() && name[same] == words[same])
            ++same;
         if (same == name.size()) {
            if (same > found.words) found = {.command = &command, .words = same};
            continue;
         }
         if (same > deepest) goingOn.clear();
         deepest = std::max(deepest, same);
         if (same == deepest) goingOn.insert(name[same]);
      }
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
   call.args.end();
   Document document(call.out, call.form);
   document.listing("commands", {{"Command", "command", 60}, {"", "help"}});
   for (const auto commands : allCommands()) {
      for (const auto& command : commands) {
         document.row({{"command",
                        fmt::format("{}{}{}", command.name, command.usage.empty() ? "" : " ", command.usage)},
                       {"help", command.help}});
      }
   }
   document.finish();
}

}  // namespace softswitch::console
