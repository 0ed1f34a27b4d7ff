// Everything that a switch keeps across a restart, as text to compare.
//
// Thread-safety: free functions.
#pragma once

#include <string>

#include "testing/process/Console.h"

namespace orvtest {

// One line per object, table by table. It shows the configuration and omits the state that hardware, links
// and counters add.
std::string durableState(Console& console);

}  // namespace orvtest
