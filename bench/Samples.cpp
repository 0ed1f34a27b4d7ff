#include "Samples.h"

#include <cstdio>

namespace bench {

void sample(const std::string& program, const std::string& address, pid_t server, const Arguments& arguments,
            Samples& into) {
   const double before = cpuSecondsOf(server);
   into.last = runLoad(program, address, arguments);
   const double seconds = into.last["seconds"];
   into.rates.push_back(into.last["items_per_second"]);
   into.cpu.push_back((cpuSecondsOf(server) - before) / seconds);
   into.clientCpu.push_back(into.last["client_cpu_seconds"].get<double>() / seconds);
   if (into.last.contains("p99_us")) into.p99Us.push_back(into.last["p99_us"]);
   if (into.last.contains("pass_seconds")) {
      for (const double pass : into.last["pass_seconds"])
         into.passSeconds.push_back(pass);
   }
}

Figure figureOf(const std::string& key, const std::string& unit, const Samples& ours, const Samples& floor,
                std::optional<double> target, const std::string& how) {
   std::string note = how;
   char text[160];
   if (!ours.p99Us.empty()) {
      std::snprintf(text, sizeof text, "; p99 %.0f us (floor %.0f)", median(ours.p99Us), median(floor.p99Us));
      note += text;
   }
   std::snprintf(text, sizeof text, "; cpu %.1f (floor %.1f), client cpu %.1f (floor %.1f)", median(ours.cpu),
                 median(floor.cpu), median(ours.clientCpu), median(floor.clientCpu));
   note += text;
   Figure figure{.key = key,
                 .ours = median(ours.rates),
                 .floor = median(floor.rates),
                 .unit = unit,
                 .target = std::nullopt,
                 .note = std::move(note)};
   if (target) figure.target = Target{.kind = Target::Kind::ratioAtLeast, .value = *target};
   return figure;
}

}  // namespace bench
