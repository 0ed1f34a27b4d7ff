// The samples of one server over the rounds of one figure, and the figure that daemon and floor make.
//
// Thread-safety: one thread at a time.
#pragma once

#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Report.h"
#include "Servers.h"

namespace bench {

struct Samples {
   std::vector<double> rates;
   // 99th percentiles of the round-trip times; empty for streams.
   std::vector<double> p99Us;
   // CPU use of the server and of its client, as shares of one core.
   std::vector<double> cpu;
   std::vector<double> clientCpu;
   // Durations of the lists and dumps that were read completely.
   std::vector<double> passSeconds;
   // What the client printed in the last round.
   nlohmann::json last;
};

// Runs one round: client `program` against the server at `address`, whose process is `server`.
// THROWS: as runLoad.
void sample(const std::string& program, const std::string& address, pid_t server, const Arguments& arguments,
            Samples& into);

// RETURNS: the medians of the rates. The note begins with `how`. `target` is the smallest ratio to the floor.
// REQUIRES: both sides have a sample.
Figure figureOf(const std::string& key, const std::string& unit, const Samples& ours, const Samples& floor,
                std::optional<double> target, const std::string& how);

}  // namespace bench
