#pragma once

// How far hardware is with a forwarding equivalence class.

#include <cstdint>

namespace Routing::Hardware {

enum class FecHwProgrammingState : std::uint8_t {
   pending = 0,
   success = 1,
   failure = 2,
};

}  // namespace Routing::Hardware
