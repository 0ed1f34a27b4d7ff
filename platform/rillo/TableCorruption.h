#pragma once

// What reading a damaged row of a table throws. Thread-safety: a plain value.

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Rillo {

/// To be handed to doCorruptionDetected of the table that threw it; after that the row reads again, repaired
/// or gone.
class TableCorruption : public std::runtime_error {
public:
   TableCorruption(std::uint32_t slot, const std::string& what) : std::runtime_error(what), slot_(slot) {}

   /// The table's own name of the row.
   [[nodiscard]] std::uint32_t slot() const noexcept { return slot_; }

private:
   std::uint32_t slot_;
};

}  // namespace Rillo
