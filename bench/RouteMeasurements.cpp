#include "RouteMeasurements.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <stdexcept>

#include "Listener.h"
#include "RouteLoad.h"
#include "Samples.h"
#include "Servers.h"
#include "StreamServers.h"
#include "testing/process/Pings.h"

namespace bench {

namespace {

// A daemon that has the setup's routes, in hardware too.
class RoutedDaemon {
public:
   explicit RoutedDaemon(const Setup& setup) : daemon_(setup.daemonProgram) {
      fill(setup, daemon_.address());
      settledResident(daemon_.pid());
   }
   FreshDaemon* operator->() { return &daemon_; }

private:
   FreshDaemon daemon_;
};

Arguments listing(const std::string& what, double seconds) {
   return with(reading("list", seconds), {"--of", what});
}

void measureList(const Setup& setup, Report& report, const std::string& key, const std::string& what,
                 double target, const std::string& how) {
   RoutedDaemon daemon(setup);
   const SampleMessage message(setup, daemon->address(), listing(what, 0.1));
   const FloorServer floorServer(setup.floorProgram, floorFlags(setup, "routes", message, setup.routes));
   const auto arguments = listing(what, setup.seconds);
   Samples ours;
   Samples floor;
   for (int round = 0; round < setup.rounds; ++round) {
      sample(setup.streamProgram, daemon->address(), daemon->pid(), arguments, ours);
      sample(setup.streamProgram, floorServer.address(), floorServer.pid(), arguments, floor);
   }
   if (ours.last["elements"] != setup.routes) throw std::runtime_error(key + ": the list lacks routes");
   report.add(figureOf(key, "routes/s", ours, floor, target,
                       std::to_string(setup.routes) + how + std::to_string(message.bytes()) + " bytes each"));
}

// One watcher that hears of routes, against the bulks that set them.
struct FibRound {
   // Of the bulks, and from their start to the watcher's last event.
   double bulkSeconds = 0;
   double watchSeconds = 0;
   Heard heard;
};

Arguments newRoutes(const Setup& setup) {
   return with(bulkArguments(setup), {"--program-groups"});
}

double bulksAlone(const Setup& setup) {
   FreshDaemon daemon(setup.daemonProgram, {"--fib"});
   return runLoad(setup.loadProgram, daemon.address(), newRoutes(setup))["seconds"];
}

FibRound bulksWatched(const Setup& setup) {
   FreshDaemon daemon(setup.daemonProgram, {"--fib"});
   Listener listener(setup, daemon.address(), "fib", setup.routes);
   const auto load = runLoad(setup.loadProgram, daemon.address(), newRoutes(setup));
   FibRound round{.bulkSeconds = load["seconds"], .heard = listener.result()};
   round.watchSeconds =
        static_cast<double>(round.heard.lastNs - load["started_ns"].get<std::int64_t>()) / 1e9;
   return round;
}

}  // namespace

void measureRouteList(const Setup& setup, Report& report) {
   measureList(setup, report, "list_ip_routes", "routes", 0.75, " routes, ");
}

void measureRouteListEmbedded(const Setup& setup, Report& report) {
   measureList(setup, report, "list_ip_routes_embedded", "routes-embedded", 0.60, " routes with one via, ");
}

void measureFilteredList(const Setup& setup, Report& report) {
   RoutedDaemon daemon(setup);
   const auto arguments = listing("routes-skipped", setup.seconds);
   const auto count = static_cast<double>(setup.routes);
   std::vector<double> nanos, worst, p99, listSeconds;
   std::size_t pinged = 0;
   for (int round = 0; round < setup.rounds; ++round) {
      const double before = runSecondsOf(daemon->pid());
      const auto list = runLoad(setup.streamProgram, daemon->address(), arguments);
      const double ran = runSecondsOf(daemon->pid()) - before;
      if (list["elements"] != 0) throw std::runtime_error("the filter has let routes through");
      const auto passes = list["pass_seconds"].get<std::vector<double>>();
      nanos.push_back(ran * 1e9 / (static_cast<double>(passes.size()) * count));
      listSeconds.push_back(median(passes));

      orvtest::Pings pings(daemon->address());
      runLoad(setup.streamProgram, daemon->address(), arguments);
      std::vector<double> milliseconds;
      for (const auto& ping : pings.stop())
         milliseconds.push_back(static_cast<double>(ping.tookNs) / 1e6);
      if (milliseconds.empty()) throw std::runtime_error("no ping was answered during the list");
      std::sort(milliseconds.begin(), milliseconds.end());
      pinged += milliseconds.size();
      worst.push_back(milliseconds.back());
      p99.push_back(milliseconds[(milliseconds.size() - 1) * 99 / 100]);
   }
   char note[200];
   std::snprintf(note, sizeof note,
                 "the server's CPU time per route that a filter leaves out, list of %llu routes with none in "
                 "it; a list takes %.2f s",
                 static_cast<unsigned long long>(setup.routes), median(listSeconds));
   report.add(Figure{.key = "list_filtered_skip_ns",
                     .ours = median(nanos),
                     .floor = std::nullopt,
                     .unit = "ns",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 400},
                     .note = note});
   std::snprintf(note, sizeof note,
                 "the slowest agent ping of a round meanwhile, %zu pings, p99 %.2f ms, worst of all rounds "
                 "%.2f ms",
                 pinged, median(p99), *std::max_element(worst.begin(), worst.end()));
   report.add(Figure{.key = "list_filtered_ping_ms",
                     .ours = median(worst),
                     .floor = std::nullopt,
                     .unit = "ms",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 10},
                     .note = note});
}

void measureMirrorRoutes(const Setup& setup, Report& report) {
   const FloorServer floorServer(setup.floorProgram, with(setup.floorFlags, {"--mirror-bulks"}));
   const auto arguments = with(onePass(setup, "mirror-route-bulk", setup.routes), {"--program-groups"});
   Samples ours;
   Samples floor;
   for (int round = 0; round < setup.rounds; ++round) {
      FreshDaemon daemon(setup.daemonProgram);
      sample(setup.loadProgram, daemon.address(), daemon.pid(), arguments, ours);
      sample(setup.loadProgram, floorServer.address(), floorServer.pid(), arguments, floor);
   }
   report.add(figureOf("bulk_mirror_ip_route_set_1000", "routes/s", ours, floor, 0.15,
                       std::to_string(setup.routes) +
                            " distinct /32 with one via over a group into an empty switch, " +
                            std::to_string(setup.bulksInFlight) + " bulks in flight"));
}

void measureFibWatch(const Setup& setup, Report& report) {
   std::vector<double> ratios, alone, watched;
   std::string cutOff;
   int cuts = 0;
   for (int round = 0; round < setup.rounds; ++round) {
      alone.push_back(bulksAlone(setup));
      const auto fib = bulksWatched(setup);
      watched.push_back(fib.bulkSeconds);
      if (fib.heard.ended.empty()) {
         ratios.push_back(fib.watchSeconds / alone.back());
         continue;
      }
      // The watcher never hears of all routes.
      ratios.push_back(std::numeric_limits<double>::infinity());
      ++cuts;
      char text[160];
      std::snprintf(text, sizeof text, "%llu events at %.0f events/s while routes came at %.0f routes/s",
                    static_cast<unsigned long long>(fib.heard.events),
                    static_cast<double>(fib.heard.events) / fib.watchSeconds,
                    static_cast<double>(setup.routes) / fib.bulkSeconds);
      cutOff = std::string(text) + " (" + fib.heard.ended + ")";
   }
   char note[256];
   std::snprintf(note, sizeof note,
                 "seconds until one watcher has heard of %llu routes over the seconds of the bulks alone, "
                 "%.2f s; %.2f s with the watcher",
                 static_cast<unsigned long long>(setup.routes), median(alone), median(watched));
   std::string how = note;
   if (cuts != 0) {
      how += "; CUT OFF in " + std::to_string(cuts) + " of " + std::to_string(setup.rounds) +
             " rounds, the last "
             "time after " +
             cutOff;
   }
   report.add(Figure{.key = "fib_watch_1m",
                     .ours = median(ratios),
                     .floor = std::nullopt,
                     .unit = "ratio",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 1.5},
                     .note = how});
}

}  // namespace bench
