#include "Measurements.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>

#include "RouteLoad.h"
#include "Samples.h"
#include "Servers.h"
#include "testing/process/Pings.h"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

// RETURNS: the cost of a bulk into a full table over the cost after the first 10,000 routes. The cost is the
// median gap between replies, so that interruptions by other work on the machine do not count.
double flatness(const std::vector<std::uint64_t>& repliesAt) {
   constexpr std::size_t early = 10;
   const std::size_t window = std::min<std::size_t>(50, repliesAt.size() / 4);
   if (repliesAt.size() < 2 * early) throw std::runtime_error("too few bulks for the flatness of the cost");
   const auto cost = [&](std::size_t from) {
      std::vector<double> gaps;
      for (std::size_t i = from; i < from + window; ++i) {
         gaps.push_back(static_cast<double>(repliesAt[i] - repliesAt[i - 1]));
      }
      return median(std::move(gaps));
   };
   return cost(repliesAt.size() - window) / cost(early);
}

}  // namespace

void measureUnary(const Setup& setup, Report& report, const std::string& key, std::size_t inFlight,
                  double target) {
   const FloorServer floorServer(setup.floorProgram, setup.floorFlags);
   FreshDaemon daemon(setup.daemonProgram);
   Samples ours;
   Samples floor;
   for (int round = 0; round < setup.rounds; ++round) {
      // Each round uses routes that no earlier round has used.
      const Arguments arguments = {"--workload",      "route",
                                   "--groups",        std::to_string(setup.groups),
                                   "--in-flight",     std::to_string(inFlight),
                                   "--seconds",       std::to_string(setup.seconds),
                                   "--first",         std::to_string(round * 2'000'000),
                                   "--program-groups"};
      sample(setup.loadProgram, daemon.address(), daemon.pid(), arguments, ours);
      sample(setup.loadProgram, floorServer.address(), floorServer.pid(), arguments, floor);
   }
   report.add(figureOf(key, "calls/s", ours, floor, target,
                       "distinct sequential /32, " + std::to_string(inFlight) + " in flight"));
}

void measureBulkRoutes(const Setup& setup, Report& report) {
   const FloorServer floorServer(setup.floorProgram, setup.floorFlags);
   Samples ours, again, random, floor, floorRandom;
   std::vector<double> flat;
   for (int round = 0; round < setup.rounds; ++round) {
      const auto first = with(bulkArguments(setup), {"--program-groups", "--progress"});
      const auto spread = with(bulkArguments(setup), {"--program-groups", "--random"});
      {
         FreshDaemon daemon(setup.daemonProgram);
         sample(setup.loadProgram, daemon.address(), daemon.pid(), first, ours);
         flat.push_back(flatness(ours.last["replies_at_ns"].get<std::vector<std::uint64_t>>()));
         sample(setup.loadProgram, floorServer.address(), floorServer.pid(), first, floor);
         sample(setup.loadProgram, daemon.address(), daemon.pid(), bulkArguments(setup), again);
      }
      FreshDaemon daemon(setup.daemonProgram);
      sample(setup.loadProgram, daemon.address(), daemon.pid(), spread, random);
      sample(setup.loadProgram, floorServer.address(), floorServer.pid(), spread, floorRandom);
   }
   const auto count = std::to_string(setup.routes);
   const auto inFlight = ", " + std::to_string(setup.bulksInFlight) + " bulks in flight";
   report.add(figureOf("bulk_ip_route_1000", "routes/s", ours, floor, 0.20,
                       count + " distinct sequential /32 into an empty switch" + inFlight));
   report.add(figureOf("bulk_ip_route_1000_again", "routes/s", again, floor, std::nullopt,
                       "the same routes a second time" + inFlight));
   report.add(figureOf("bulk_ip_route_1000_random", "routes/s", random, floorRandom, std::nullopt,
                       count + " distinct spread /32 into an empty switch" + inFlight));
   report.add(Figure{.key = "scale_flatness",
                     .ours = median(flat),
                     .floor = std::nullopt,
                     .unit = "ratio",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 1.3},
                     .note = "cost per route at " + count + " over cost at 10000, same runs"});
}

void measureBulkGroups(const Setup& setup, Report& report) {
   const FloorServer floorServer(setup.floorProgram, setup.floorFlags);
   FreshDaemon daemon(setup.daemonProgram);
   const std::uint64_t total = 10 * setup.perBulk;
   const Arguments arguments = {"--workload",  "group-bulk",
                                "--total",     std::to_string(total),
                                "--per-bulk",  std::to_string(setup.perBulk),
                                "--nexthops",  "4",
                                "--in-flight", std::to_string(setup.bulksInFlight),
                                "--seconds",   std::to_string(setup.seconds)};
   Samples ours;
   Samples floor;
   for (int round = 0; round < setup.rounds; ++round) {
      sample(setup.loadProgram, daemon.address(), daemon.pid(), arguments, ours);
      sample(setup.loadProgram, floorServer.address(), floorServer.pid(), arguments, floor);
   }
   report.add(figureOf("bulk_nexthop_group_1000", "groups/s", ours, floor, 0.15,
                       std::to_string(total) + " groups of 4 nexthops, changed on every pass, " +
                            std::to_string(setup.bulksInFlight) + " bulks in flight"));
}

void measureBulkLabels(const Setup& setup, Report& report) {
   const FloorServer floorServer(setup.floorProgram, setup.floorFlags);
   // There are not many more labels than that.
   const auto labels = std::min<std::uint64_t>(setup.routes, 1'000'000);
   const auto arguments = with(onePass(setup, "label-bulk", labels), {"--program-groups"});
   Samples ours, again, floor;
   for (int round = 0; round < setup.rounds; ++round) {
      FreshDaemon daemon(setup.daemonProgram);
      sample(setup.loadProgram, daemon.address(), daemon.pid(), arguments, ours);
      sample(setup.loadProgram, floorServer.address(), floorServer.pid(), arguments, floor);
      sample(setup.loadProgram, daemon.address(), daemon.pid(), arguments, again);
   }
   const auto inFlight = ", " + std::to_string(setup.bulksInFlight) + " bulks in flight";
   report.add(
        figureOf("bulk_mpls_route_1000", "labels/s", ours, floor, 0.15,
                 std::to_string(labels) + " distinct labels over groups into an empty switch" + inFlight));
   report.add(figureOf("bulk_mpls_route_1000_again", "labels/s", again, floor, std::nullopt,
                       "the same labels a second time" + inFlight));
}

void measureRedirects(const Setup& setup, Report& report) {
   constexpr std::uint64_t total = 1000;
   const auto arguments = [&](const std::string& workload, std::uint64_t perBulk) {
      return Arguments{"--workload",   workload,
                       "--total",      std::to_string(total),
                       "--per-bulk",   std::to_string(perBulk),
                       "--requests",   std::to_string(total / perBulk),
                       "--policy-map", "bench"};
   };
   Samples bulk, single;
   for (int round = 0; round < setup.rounds; ++round) {
      // New redirects each time: a switch that has them already changes nothing.
      FreshDaemon forBulk(setup.daemonProgram);
      sample(setup.loadProgram, forBulk.address(), forBulk.pid(), arguments("redirect-bulk", total), bulk);
      FreshDaemon forSingle(setup.daemonProgram);
      sample(setup.loadProgram, forSingle.address(), forSingle.pid(), arguments("redirect", 1), single);
   }
   char note[160];
   std::snprintf(note, sizeof note,
                 "one bulk of %llu new redirects of 3 + 3 DSCPs; the floor is as many single calls, %.1f ms "
                 "against %.1f ms",
                 static_cast<unsigned long long>(total), 1e3 * total / median(bulk.rates),
                 1e3 * total / median(single.rates));
   report.add(Figure{.key = "bulk_redirect_1000",
                     .ours = median(bulk.rates),
                     .floor = median(single.rates),
                     .unit = "redirects/s",
                     .target = Target{.kind = Target::Kind::ratioAtLeast, .value = 10},
                     .note = note});
}

void measureResync(const Setup& setup, Report& report) {
   FreshDaemon daemon(setup.daemonProgram);
   fill(setup, daemon.address());
   settledResident(daemon.pid());
   const auto arguments = with(bulkArguments(setup), {"--program-groups"});
   std::vector<double> whole, starts, ends, bulksAlone;
   for (int round = 0; round < setup.rounds; ++round) {
      const auto alone = runLoad(setup.loadProgram, daemon.address(), arguments);
      bulksAlone.push_back(alone["seconds"]);
      const auto resync =
           runLoad(setup.loadProgram, daemon.address(), with(arguments, {"--resync"}))["resync"];
      whole.push_back(resync["seconds"]);
      starts.push_back(resync["start_seconds"]);
      ends.push_back(resync["end_seconds"]);
   }
   char note[200];
   std::snprintf(note, sizeof note,
                 "%llu routes over %llu groups replayed, all in all; the floor is the same bulks without a "
                 "resync; start %.1f ms, end %.1f ms",
                 static_cast<unsigned long long>(setup.routes), static_cast<unsigned long long>(setup.groups),
                 1e3 * median(starts), 1e3 * median(ends));
   report.add(Figure{.key = "resync_1m_routes_s",
                     .ours = median(whole),
                     .floor = median(bulksAlone),
                     .unit = "s",
                     .target = Target{.kind = Target::Kind::ratioAtMost, .value = 1.5},
                     .note = note});
}

void measurePing(const Setup& setup, Report& report) {
   std::vector<double> p99;
   std::vector<double> worst;
   std::size_t count = 0;
   for (int round = 0; round < setup.rounds; ++round) {
      FreshDaemon daemon(setup.daemonProgram);
      orvtest::Pings pings(daemon.address());
      const auto load = runLoad(
           setup.loadProgram, daemon.address(),
           {"--workload", "route-bulk", "--total", std::to_string(setup.routes), "--per-bulk",
            std::to_string(setup.perBulk), "--groups", std::to_string(setup.groups), "--program-groups",
            "--in-flight", std::to_string(setup.bulksInFlight), "--seconds", std::to_string(setup.seconds)});
      const auto from = load["started_ns"].get<std::int64_t>();
      const auto until = from + static_cast<std::int64_t>(load["seconds"].get<double>() * 1e9);
      std::vector<double> milliseconds;
      for (const auto& ping : pings.stop()) {
         if (ping.startedNs >= from && ping.startedNs < until) {
            milliseconds.push_back(static_cast<double>(ping.tookNs) / 1e6);
         }
      }
      if (milliseconds.empty()) throw std::runtime_error("no ping was answered under load");
      std::sort(milliseconds.begin(), milliseconds.end());
      count += milliseconds.size();
      p99.push_back(milliseconds[(milliseconds.size() - 1) * 99 / 100]);
      worst.push_back(milliseconds.back());
   }
   char note[160];
   std::snprintf(note, sizeof note,
                 "agent ping while route bulks saturate the pump, %zu pings, worst %.2f ms", count,
                 *std::max_element(worst.begin(), worst.end()));
   report.add(Figure{.key = "ping_under_load_ms",
                     .ours = median(p99),
                     .floor = std::nullopt,
                     .unit = "ms",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 10},
                     .note = note});
}

void measureRestart(const Setup& setup, Report& report) {
   FreshDaemon server(setup.daemonProgram);
   fill(setup, server.address());
   const auto filled = settledResident(server.pid());
   auto& daemon = server.daemon();

   const auto restart = [&server] {
      const auto start = Clock::now();
      server.start();
      return std::chrono::duration<double>(Clock::now() - start).count();
   };
   std::vector<double> afterKill;
   std::vector<double> afterStop;
   const int rounds = std::min(setup.rounds, 3);
   Resident reloaded;
   for (int round = 0; round < rounds; ++round) {
      daemon.kill();
      afterKill.push_back(restart());
      if (daemon.terminate() != orvtest::Ending{.exitCode = 0}) {
         throw std::runtime_error("the daemon did not end in order: " + daemon.child().log());
      }
      afterStop.push_back(restart());
      if (round == 0) reloaded = settledResident(server.pid());
   }
   const auto count = std::to_string(setup.routes);
   char note[200];
   std::snprintf(note, sizeof note,
                 "%s routes, exec until an RPC is answered, after kill -9; after a clean stop %.2f s",
                 count.c_str(), median(afterStop));
   report.add(Figure{.key = "restart_1m_routes_s",
                     .ours = median(afterKill),
                     .floor = std::nullopt,
                     .unit = "s",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 3},
                     .note = note});
   const auto& larger = filled.total > reloaded.total ? filled : reloaded;
   std::snprintf(
        note, sizeof note,
        "%s routes, %s groups: programmed %.0f MiB, reloaded %.0f MiB; %.0f MiB without mapped files",
        count.c_str(), std::to_string(setup.groups).c_str(), filled.total, reloaded.total, larger.anonymous);
   report.add(Figure{.key = "rss_1m_routes_mib",
                     .ours = larger.total,
                     .floor = std::nullopt,
                     .unit = "MiB",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 800},
                     .note = note});
}

}  // namespace bench
