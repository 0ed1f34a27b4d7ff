// The two servers of a stream's figure: the library's services with a source of events, and the floor that
// repeats one of their messages.
//
// Thread-safety: one thread at a time.
#pragma once

#include <cstdint>
#include <string>

#include "Measurements.h"
#include "Servers.h"
#include "testing/base/TempDir.h"
#include "testing/process/Child.h"

namespace bench {

// The mirror services with a source of events, in a child process that ends with this object.
class StreamHost {
public:
   StreamHost(const Setup& setup, const Arguments& arguments);
   std::string address() const { return "unix://" + (directory_ / "rpc.sock"); }
   pid_t pid() const { return child_.pid(); }
   orvtest::Child& child() { return child_; }

private:
   orvtest::TempDir directory_{"orv-bench-streams-"};
   orvtest::Child child_;
};

// RETURNS: the stream client's arguments for reading `workload`.
Arguments reading(const std::string& workload, double seconds);

// A message as the server under test sends it, in a file for the floor.
class SampleMessage {
public:
   // Reads it with the stream client.
   // THROWS: std::runtime_error if the stream has too few messages.
   SampleMessage(const Setup& setup, const std::string& address, Arguments arguments);
   std::string path() const { return directory_ / "message"; }
   std::uintmax_t bytes() const;

private:
   orvtest::TempDir directory_{"orv-bench-sample-"};
};

// RETURNS: the flags of a floor that serves `stream`, `count` messages of it; 0 for no limit.
Arguments floorFlags(const Setup& setup, const std::string& stream, const SampleMessage& message,
                     std::uint64_t count);

}  // namespace bench
