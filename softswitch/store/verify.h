// Checks the integrity of a data file without opening it for writing.
//
// Thread-safety: a function without state.
#pragma once

#include <cstdint>
#include <filesystem>

namespace softswitch::store {

// Facts about the newest committed state of the file.
struct DataFileFacts {
   std::uint64_t bytes = 0;  // of the file, 0 when it is missing or empty
   std::uint64_t pages = 0;  // of pageBytes each, from the start of the file; free ones included
   std::uint32_t pageBytes = 0;
   std::uint64_t rows = 0;
};

// Visits every page of every table. Each must lie in the file, be of the kind that its parent expects and be
// reached once. Keys must ascend, each row's checksum must match, and the free list must name no page in use.
// THROWS: StoreError (damaged) with the first fault, StoreError (unusable) if the file cannot be read.
DataFileFacts verifyDataFile(const std::filesystem::path& file);

}  // namespace softswitch::store
