#pragma once

// The state of programming a forwarding equivalence class (FEC) into hardware.

#include <cstdint>

namespace Routing::Hardware {

enum class FecHwProgrammingState : std::uint8_t {
   pending = 0,
   success = 1,
   failure = 2,
};

}  // namespace Routing::Hardware
