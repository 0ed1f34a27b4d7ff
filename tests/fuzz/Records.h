// The two fuzz targets: every record that is converted, each under a number of its own.
//
// Thread-safe: pure functions.
#pragma once

#include <cstdint>
#include <span>

namespace fuzz {

// Runs the record that the first byte names on the other bytes. Ends the process when anything but a
// documented exception is thrown, or when a value does not come back as it must.
int fromWire(std::span<const std::uint8_t> bytes);
int fromSdk(std::span<const std::uint8_t> bytes);

}  // namespace fuzz
