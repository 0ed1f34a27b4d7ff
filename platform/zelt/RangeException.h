#pragma once

// The exception of the state framework for a number outside the range of its type.
// Thread-safety: a plain value.

#include <stdexcept>

namespace Zelt {

// Not an orv::error: a state value outside the range of its type is a fault of the switch, not of a caller.
// The text names the type and its limits.
class RangeException : public std::range_error {
public:
   using std::range_error::range_error;
};

}  // namespace Zelt
