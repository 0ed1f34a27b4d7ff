#pragma once

// The exception for reading a damaged row of a table.
// Thread-safety: a plain value.

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Rillo {

// Pass it to doCorruptionDetected of the table that threw it. Afterwards the row is repaired or removed.
class TableCorruption : public std::runtime_error {
public:
   TableCorruption(std::uint32_t slot, const std::string& what) : std::runtime_error(what), slot_(slot) {}

   // The table's internal index of the row.
   [[nodiscard]] std::uint32_t slot() const noexcept { return slot_; }

private:
   std::uint32_t slot_;
};

}  // namespace Rillo
