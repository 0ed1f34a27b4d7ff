#include "LabelMeasurements.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "Listener.h"
#include "RouteLoad.h"
#include "Samples.h"
#include "Servers.h"
#include "StreamServers.h"

namespace bench {

void measureMirrorLabels(const Setup& setup, Report& report) {
   const FloorServer floorServer(setup.floorProgram, with(setup.floorFlags, {"--mirror-bulks"}));
   // There are not many more labels than that.
   const auto labels = std::min<std::uint64_t>(setup.routes, 1'000'000);
   const auto arguments = with(onePass(setup, "mirror-label-bulk", labels), {"--program-groups"});
   Samples ours;
   Samples floor;
   for (int round = 0; round < setup.rounds; ++round) {
      FreshDaemon daemon(setup.daemonProgram);
      sample(setup.loadProgram, daemon.address(), daemon.pid(), arguments, ours);
      sample(setup.loadProgram, floorServer.address(), floorServer.pid(), arguments, floor);
   }
   report.add(figureOf("bulk_mirror_mpls_route_set_1000", "labels/s", ours, floor, 0.15,
                       std::to_string(labels) +
                            " distinct labels with one via over a group into an empty switch, " +
                            std::to_string(setup.bulksInFlight) + " bulks in flight"));
}

void measureLabelWatch(const Setup& setup, Report& report) {
   const StreamHost host(setup, {"--source", "labels", "--groups", std::to_string(setup.groups)});
   const auto arguments = with(reading("watch", setup.seconds), {"--of", "labels"});
   const SampleMessage message(setup, host.address(), with(reading("watch", 0.2), {"--of", "labels"}));
   const FloorServer floorServer(setup.floorProgram, floorFlags(setup, "labels", message, 0));
   Samples ours;
   Samples floor;
   for (int round = 0; round < setup.rounds; ++round) {
      sample(setup.streamProgram, host.address(), host.pid(), arguments, ours);
      sample(setup.streamProgram, floorServer.address(), floorServer.pid(), arguments, floor);
   }
   report.add(figureOf("watch_mpls_routes_fanout_1", "events/s", ours, floor, 0.50,
                       "1 stream, " + std::to_string(message.bytes()) +
                            " bytes an event, from the set of a route with the SDK to the reader"));
}

void measureAckLatency(const Setup& setup, Report& report) {
   constexpr std::uint64_t untimed = 100;
   const auto labels = static_cast<std::uint64_t>(std::max(200.0, setup.seconds * 500));
   FreshDaemon daemon(setup.daemonProgram);
   std::vector<double> p50, p99, worst;
   for (int round = 0; round < setup.rounds; ++round) {
      // Each round uses labels that no earlier round has used.
      const auto first = 16 + static_cast<std::uint64_t>(round) * (labels + untimed);
      const auto acks = runLoad(setup.streamProgram, daemon.address(),
                                {"--workload", "ack-latency", "--first", std::to_string(first), "--untimed",
                                 std::to_string(untimed), "--events", std::to_string(labels)});
      p50.push_back(acks["p50_ms"]);
      p99.push_back(acks["p99_ms"]);
      worst.push_back(acks["max_ms"]);
   }
   char note[200];
   std::snprintf(note, sizeof note,
                 "99th percentile from the reply of a set to the acknowledgement, %llu labels one at a time; "
                 "median %.2f ms, worst %.2f ms",
                 static_cast<unsigned long long>(labels), median(p50),
                 *std::max_element(worst.begin(), worst.end()));
   report.add(Figure{.key = "mpls_ack_latency_ms",
                     .ours = median(p99),
                     .floor = std::nullopt,
                     .unit = "ms",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 5},
                     .note = note});
}

void measureAckRate(const Setup& setup, Report& report) {
   // Fewer than a stream's queue holds.
   const auto labels = std::min<std::uint64_t>(setup.routes, 200 * setup.perBulk);
   const auto bulks = [&](std::uint64_t count) {
      return with(onePass(setup, "mirror-label-bulk", count), {"--program-groups"});
   };
   const auto message = [&] {
      FreshDaemon daemon(setup.daemonProgram);
      runLoad(setup.loadProgram, daemon.address(), bulks(setup.perBulk));
      return SampleMessage(setup, daemon.address(),
                           {"--workload", "hear", "--of", "acks", "--events", std::to_string(setup.perBulk)});
   }();
   const FloorServer floorServer(setup.floorProgram, floorFlags(setup, "acks", message, 0));
   std::vector<double> rates, setRates;
   Samples floor;
   for (int round = 0; round < setup.rounds; ++round) {
      {
         FreshDaemon daemon(setup.daemonProgram);
         Listener listener(setup, daemon.address(), "acks", labels);
         const auto load = runLoad(setup.loadProgram, daemon.address(), bulks(labels));
         const auto heard = listener.result();
         if (!heard.ended.empty()) throw std::runtime_error(heard.ended);
         const auto nanos = heard.lastNs - load["started_ns"].get<std::int64_t>();
         rates.push_back(static_cast<double>(labels) * 1e9 / static_cast<double>(nanos));
         setRates.push_back(load["items_per_second"]);
      }
      sample(setup.streamProgram, floorServer.address(), floorServer.pid(),
             with(reading("watch", setup.seconds), {"--of", "acks"}), floor);
   }
   char note[200];
   std::snprintf(
        note, sizeof note,
        "%llu labels in bulks, from the first bulk to the last acknowledgement, labels set at %.0f/s; "
        "the floor streams the same message, %llu bytes",
        static_cast<unsigned long long>(labels), median(setRates),
        static_cast<unsigned long long>(message.bytes()));
   report.add(Figure{.key = "mpls_acks_per_s",
                     .ours = median(rates),
                     .floor = median(floor.rates),
                     .unit = "acks/s",
                     .target = Target{.kind = Target::Kind::ratioAtLeast, .value = 0.15},
                     .note = note});
}

}  // namespace bench
