// The list of commands and how a line finds its command.
//
// Thread-safety: the table is constant.
#pragma once

#include <span>
#include <string>
#include <string_view>

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
   std::string_view name;   // its words, one blank between
   std::string_view usage;  // what follows the name
   std::string_view help;
   void (*run)(Call& call);
   bool hasJson = false;
};

std::span<const Command> showCommands();
std::span<const Command> configureCommands();
std::span<const Command> setCommands();

struct Found {
   const Command* command;
   std::size_t words;  // of the line, that the name took
};

// The command with the longest name that the words begin with. Throws CommandError that says where the words
// leave the table and which words go on from there.
Found findCommand(std::span<const std::string> words);

// For help: "show ip route [PREFIX] [vrf NAME]" and what it does, for all commands.
void help(Call& call);

}  // namespace softswitch::console
