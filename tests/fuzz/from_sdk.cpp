// Fuzz target: values of the SDK, made from arbitrary bytes, to the wire and back.
#include <cstddef>

#include "Records.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   return fuzz::fromSdk({data, size});
}
