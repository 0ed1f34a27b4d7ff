// The one list of commands, and how a line finds its command. Help, the words that a refusal expects, and the
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

// What a command works with.
struct Call {
   SoftSwitch& target;
   Args& args;
   Output& out;
   Form form;
};

struct Command {
   std::string_view name;          // its words, one blank between
   std::string_view usage;         // what follows the name
   std::string_view help;          // what it does, in one line
   std::string_view details = {};  // sentences that say what usage and help leave open
   void (*run)(Call& call);
   bool hasJson = false;
};

std::span<const Command> showCommands();
std::span<const Command> configureCommands();
std::span<const Command> setCommands();
// All of them and help, in the order in which they are listed.
std::vector<const Command*> allCommands();

// The command as it is typed: "show ip route [PREFIX] [vrf NAME]".
std::string syntax(const Command& command);

struct Found {
   const Command* command;
   std::size_t words;  // of the line, that the name took
};

// The command with the longest name that the words begin with. Throws CommandError that says where the words
// leave the table and which words go on from there.
Found findCommand(std::span<const std::string> words);

// Syntax and help of the commands that begin with the words that are left, of all where there is none. With
// words, and in JSON, the details too.
void help(Call& call);

}  // namespace softswitch::console
