// The figures of the conversions, which need no server: each direction against the time in which protobuf
// parses the same bytes.
#pragma once

#include "Measurements.h"

namespace bench {

// convert_from_wire_RECORD and convert_to_wire_RECORD, nanoseconds.
void measureConversions(const Setup& setup, Report& report);

}  // namespace bench
