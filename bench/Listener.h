// A client that hears the events of one watch while other clients work, in a process of its own.
//
// Thread-safety: one thread at a time.
#pragma once

#include <cstdint>
#include <string>

#include "Measurements.h"
#include "testing/base/TempDir.h"
#include "testing/process/Child.h"

namespace bench {

struct Heard {
   std::uint64_t events = 0;
   // Time of the last event, on the machine's monotonic clock.
   std::int64_t lastNs = 0;
   // Why the server ended the stream; empty if all events have come.
   std::string ended;
};

class Listener {
public:
   // Opens a watch, `of` "acks" or "fib", and returns once the server has acknowledged it.
   // THROWS: std::runtime_error with the client's output if it has ended.
   Listener(const Setup& setup, const std::string& address, const std::string& of, std::uint64_t events);

   // Waits until all events have come or the server has ended the stream.
   // THROWS: std::runtime_error with the client's output if it fails, or if neither happens.
   Heard result();

private:
   orvtest::TempDir directory_{"orv-bench-listener-"};
   orvtest::Child child_;
};

}  // namespace bench
