// Times the acknowledgements of MPLS routes: sets labels one at a time and waits until the switch reports
// each in hardware.
//
// Thread-safety: one thread at a time.
#pragma once

#include <cstdint>
#include <string>

#include "Histogram.h"

namespace bench {

// Sets `untimed` labels from `first` on, then `count` more.
// REQUIRES: the switch has none of the labels.
// RETURNS: of the last `count` labels, the times from the reply of a set to its acknowledgement. A route that
// was acknowledged before the reply counts as soon as the reply has been read. THROWS: std::runtime_error if
// the server is not reachable or a call fails.
Histogram ackLatencies(const std::string& target, std::uint32_t first, std::uint32_t untimed,
                       std::uint32_t count);

}  // namespace bench
