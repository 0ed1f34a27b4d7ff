#include "RouteLoad.h"

namespace bench {

Arguments onePass(const Setup& setup, const std::string& workload, std::uint64_t total) {
   return {"--workload",  workload,
           "--total",     std::to_string(total),
           "--per-bulk",  std::to_string(setup.perBulk),
           "--groups",    std::to_string(setup.groups),
           "--in-flight", std::to_string(setup.bulksInFlight),
           "--requests",  std::to_string(total / setup.perBulk)};
}

Arguments bulkArguments(const Setup& setup) {
   return onePass(setup, "route-bulk", setup.routes);
}

Arguments with(Arguments arguments, std::initializer_list<std::string> more) {
   arguments.insert(arguments.end(), more);
   return arguments;
}

void fill(const Setup& setup, const std::string& address) {
   runLoad(setup.loadProgram, address, with(bulkArguments(setup), {"--program-groups"}));
}

}  // namespace bench
