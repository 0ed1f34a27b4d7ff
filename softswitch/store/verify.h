// Looks whether a data file holds together, without opening it for writing.
//
// Thread-safety: none needed.
#pragma once

#include <cstdint>
#include <filesystem>

namespace softswitch::store {

// What the newest committed state of the file consists of.
struct DataFileFacts {
   std::uint64_t bytes = 0;  // of the file, 0 when it is missing or empty
   std::uint64_t pages = 0;  // of pageBytes each, from the start of the file; free ones included
   std::uint32_t pageBytes = 0;
   std::uint64_t rows = 0;
};

// Walks every page of every table: each must lie in the file, be what its parent takes it for and be
// reached once; keys must rise; each row's sum must be right; the free list must name no page in use.
// Throws StoreError: damaged, with the first thing found, or unusable when the file cannot be read.
DataFileFacts verifyDataFile(const std::filesystem::path& file);

}  // namespace softswitch::store
