// The two fuzz targets: every record that is converted, each under a number of its own.
//
// Thread-safe: pure functions.
#pragma once

#include <cstdint>
#include <span>

namespace fuzz {

// Runs the record that the first byte names on the others. Ends the process where anything but a documented
// exception comes out, or where a value does not come back as it must.
int fromWire(std::span<const std::uint8_t> bytes);
int fromSdk(std::span<const std::uint8_t> bytes);

}  // namespace fuzz
