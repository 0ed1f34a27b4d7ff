// The bulks of routes and labels that load a server.
//
// Thread-safety: plain values; one thread at a time for fill.
#pragma once

#include <initializer_list>
#include <string>

#include "Measurements.h"
#include "Servers.h"

namespace bench {

// RETURNS: the load client's arguments for one pass over `total` distinct items of a workload of bulks, each
// over one of the setup's groups.
// REQUIRES: `total` is a multiple of the setup's bulk size.
Arguments onePass(const Setup& setup, const std::string& workload, std::uint64_t total);
// One pass over the setup's routes with the programming service.
Arguments bulkArguments(const Setup& setup);

Arguments with(Arguments arguments, std::initializer_list<std::string> more);

// Programs the setup's groups and routes.
void fill(const Setup& setup, const std::string& address);

}  // namespace bench
