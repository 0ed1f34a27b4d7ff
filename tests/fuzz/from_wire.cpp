// Fuzz target: arbitrary bytes, parsed as a record of the wire, to the SDK and back.
#include <cstddef>

#include "Records.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   return fuzz::fromWire({data, size});
}
