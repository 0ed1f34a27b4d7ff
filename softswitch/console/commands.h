// The console's commands: one interpreter over the switch's managers, whoever asks (the console's sockets,
// the SDK's command manager).
//
// Thread-safety: run() may be called by any thread, by several at a time, without the SDK's lock; it takes
// the lock for short spans. Only with an Output that never waits may the caller hold the lock.
//
// Form. Every show command prints tables or "name: value" lines; with "| json" (or a bare json as the last
// word) it prints one JSON object instead. Words are as told in words.h. Commands are written out in full.
//
// Which commands there are, with their words and what they do, stands in command_table.h alone; "help" prints
// it.
//
// Refusals are one line with the word at fault and what was expected: an unknown or missing word, a word too
// many, a number, address or prefix that does not read, and whatever a manager refuses, in the manager's
// words. A refused command has changed nothing, except as told with "configure ip route", which sets a route
// and its via in one span of the lock and takes a new route back when the via is refused.
#pragma once

#include <string_view>

#include "softswitch/console/output.h"

namespace softswitch {
class SoftSwitch;
}

namespace softswitch::console {

class Commands {
public:
   // The switch must outlive its commands.
   explicit Commands(SoftSwitch& target) : switch_(target) {}

   // Carries out one line. A blank line does nothing. Throws CommandError, orv::error (what a manager
   // refused) or what `out` throws; what was written before stays written.
   void run(std::string_view line, Output& out);

private:
   SoftSwitch& switch_;
};

}  // namespace softswitch::console
