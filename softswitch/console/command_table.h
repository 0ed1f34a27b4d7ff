// The one list of commands, and how a line finds its command. Help, the expected words in a refusal, and the
// list in docs/software-switch.md come from it.
//
// Thread-safety: the table is constant.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "softswitch/console/output.h"
#include "softswitch/console/words.h"

namespace softswitch {
class SoftSwitch;
}

namespace softswitch::console {

// What a command works on.
struct Call {
   SoftSwitch& target;
   Args& args;
   Output& out;
   Form form;
};

struct Command {
   std::string_view name;          // its words, separated by one space
   std::string_view usage;         // what follows the name
   std::string_view help;          // what it does, in one line
   std::string_view details = {};  // sentences on what usage and help leave open
   void (*run)(Call& call);
   bool hasJson = false;
};

std::span<const Command> showCommands();
std::span<const Command> configureCommands();
std::span<const Command> setCommands();
// All of them and help, in listing order.
std::vector<const Command*> allCommands();

// The command as typed: "show ip route [PREFIX] [vrf NAME]".
std::string syntax(const Command& command);

struct Found {
   const Command* command;
   std::size_t words;  // how many words of the line the name took
};

// RETURNS: the command with the longest name that the words begin with.
// THROWS: CommandError with the first word that does not fit and the words that do.
Found findCommand(std::span<const std::string> words);

// Prints syntax and help of the commands that begin with the remaining words, or of all commands. With words,
// and in JSON, prints the details too.
void help(Call& call);

}  // namespace softswitch::console
