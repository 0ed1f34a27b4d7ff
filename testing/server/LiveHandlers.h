// How many request handlers exist.
//
// Thread-safe.
#pragma once

#include <cstdint>
#include <string_view>

namespace orvtest {

// RETURNS: the number of living objects of all types whose name contains `part`.
std::uint64_t liveHandlers(std::string_view part = "Handler");

}  // namespace orvtest
