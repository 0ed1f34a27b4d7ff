#include "softswitch/console/commands.h"

#include "softswitch/console/command_table.h"

namespace softswitch::console {

void Commands::run(std::string_view text, Output& out) {
   const auto line = parseLine(text);
   if (line.words.empty()) return;
   const auto found = findCommand(line.words);
   if (line.form == Form::json && !found.command->hasJson) {
      CommandError::raise("'| json' after '{}', expected only after show commands and help",
                          found.command->name);
   }
   Args args(line.words, found.words);
   Call call{.target = switch_, .args = args, .out = out, .form = line.form};
   found.command->run(call);
}

}  // namespace softswitch::console
