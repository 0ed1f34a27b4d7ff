// Everything that a switch keeps over a restart, as text to compare.
//
// Thread-safety: free functions.
#pragma once

#include <string>

#include "testing/process/Console.h"

namespace orvtest {

// One line per object, table by table, with its configuration and nothing of what
// hardware, links and counters make of it.
std::string durableState(Console& console);

}  // namespace orvtest
