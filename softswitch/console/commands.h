// The console's commands: one interpreter over the switch's managers for all callers (the console's sockets,
// the SDK's command manager).
//
// Thread-safety: any thread may call run(), several at a time, without the SDK's lock; it takes the lock for
// short spans. A caller may hold the lock only if its Output never waits.
//
// Form. Every show command prints tables or "name: value" lines; with "| json" (or a bare json as the last
// word) it prints one JSON object instead. words.h defines words. Commands cannot be abbreviated.
//
// command_table.h alone lists the commands, with their words and what they do; "help" prints the list.
//
// A refusal is one line with the word at fault and what was expected: an unknown, missing or extra word, a
// malformed number, address or prefix, or a manager's refusal in its own words. A refused command changes
// nothing: "configure ip route" sets a route and its via in one span of the lock and restores the route if
// the via is refused.
#pragma once

#include <string_view>

#include "softswitch/console/output.h"

namespace softswitch {
class SoftSwitch;
}

namespace softswitch::console {

class Commands {
public:
   // REQUIRES: `target` outlives the commands.
   explicit Commands(SoftSwitch& target) : switch_(target) {}

   // Runs one line. A blank line does nothing. Output written before an error stays written.
   // THROWS: CommandError, orv::error (a manager's refusal) or what `out` throws.
   void run(std::string_view line, Output& out);

private:
   SoftSwitch& switch_;
};

}  // namespace softswitch::console
