#include "Streams.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "Cores.h"
#include "Samples.h"
#include "Servers.h"
#include "StreamServers.h"
#include "testing/base/TempDir.h"

namespace bench {

namespace {

using namespace std::chrono_literals;

// RETURNS: the seconds per element of a complete list of `groups` groups.
double listCost(const Setup& setup, std::uint64_t groups, int rounds) {
   const StreamHost host(setup, {"--groups", std::to_string(groups)});
   Samples samples;
   for (int round = 0; round < rounds; ++round)
      sample(setup.streamProgram, host.address(), host.pid(), reading("list", setup.seconds), samples);
   return median(samples.passSeconds) / samples.last["elements"].get<double>();
}

}  // namespace

void measureLists(const Setup& setup, Report& report) {
   constexpr std::uint64_t groups = 100'000;
   {
      const StreamHost host(setup, {"--groups", std::to_string(groups)});
      const auto arguments = reading("list", setup.seconds);
      const SampleMessage message(setup, host.address(), reading("list", 0.1));
      const FloorServer floorServer(setup.floorProgram, floorFlags(setup, "list", message, groups));
      Samples ours;
      Samples floor;
      for (int round = 0; round < setup.rounds; ++round) {
         sample(setup.streamProgram, host.address(), host.pid(), arguments, ours);
         sample(setup.streamProgram, floorServer.address(), floorServer.pid(), arguments, floor);
      }
      report.add(figureOf("list_nexthop_groups", "groups/s", ours, floor, 0.75,
                          std::to_string(groups) + " groups of 4 nexthops, " +
                               std::to_string(message.bytes()) + " bytes each"));
   }
   // As many as the routes of the other figures: a million, fewer in a quick run.
   const std::uint64_t many = setup.routes;
   const double few = listCost(setup, 10'000, setup.rounds);
   const double all = listCost(setup, many, std::min(setup.rounds, 3));
   char note[128];
   std::snprintf(note, sizeof note, "cost per group of a list of %s over one of 10000: %.2f and %.2f us",
                 std::to_string(many).c_str(), all * 1e6, few * 1e6);
   report.add(Figure{.key = "list_flatness",
                     .ours = all / few,
                     .floor = std::nullopt,
                     .unit = "ratio",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 1.2},
                     .note = note});
}

void measureFanOut(const Setup& setup, Report& report, std::size_t streams) {
   const StreamHost host(setup, {"--source", "options"});
   auto arguments = reading("watch", setup.seconds);
   arguments.insert(arguments.end(), {"--streams", std::to_string(streams)});
   const SampleMessage message(setup, host.address(), reading("watch", 0.2));
   const FloorServer floorServer(setup.floorProgram, floorFlags(setup, "watch", message, 0));
   Samples ours;
   Samples floor;
   for (int round = 0; round < setup.rounds; ++round) {
      sample(setup.streamProgram, host.address(), host.pid(), arguments, ours);
      sample(setup.streamProgram, floorServer.address(), floorServer.pid(), arguments, floor);
   }
   report.add(figureOf("watch_fanout_" + std::to_string(streams), "messages/s", ours, floor, 0.70,
                       std::to_string(streams) + " streams, " + std::to_string(message.bytes()) +
                            " bytes a message, from the SDK's callback to the reader"));
}

namespace {

// Runs the meter with `watchers` streams, which `source` leaves unread or idle.
// RETURNS: the meter's result.
nlohmann::json meter(const Setup& setup, const std::string& source, std::size_t watchers) {
   const orvtest::TempDir directory("orv-bench-meter-");
   const std::string result = directory / "result.json";
   StreamHost host(setup, {"--source", source, "--watchers", std::to_string(watchers), "--result", result});
   auto reader = [&] {
      const OnCoresOf client(Side::client);
      return orvtest::Child(
           {setup.streamProgram, "--target", host.address(), "--workload",
            source == "meter" ? "stall" : "watch", "--streams", std::to_string(watchers), "--seconds", "600"},
           directory / "output");
   }();
   const auto ending = host.child().waitFor(2min);
   reader.kill();
   if (ending != orvtest::Ending{.exitCode = 0}) {
      throw std::runtime_error("the meter has not ended in order: " + host.child().log() + reader.log());
   }
   std::ifstream file(result);
   return nlohmann::json::parse(file);
}

}  // namespace

void measurePublish(const Setup& setup, Report& report) {
   std::vector<double> queued;
   std::vector<double> idle;
   std::vector<double> bytes;
   for (int round = 0; round < std::min(setup.rounds, 3); ++round) {
      const auto hundred = meter(setup, "meter", 100);
      queued.push_back(median(hundred.at("ns").get<std::vector<double>>()));
      // The difference cancels the memory of the message itself, which is the same for any number of streams.
      const auto ten = meter(setup, "meter", 10);
      bytes.push_back(
           (hundred.at("bytes_per_event").get<double>() - ten.at("bytes_per_event").get<double>()) / 90);
      idle.push_back(median(meter(setup, "meter-idle", 100).at("ns").get<std::vector<double>>()));
   }
   report.add(Figure{.key = "publish_ns_per_watcher",
                     .ours = median(queued),
                     .floor = std::nullopt,
                     .unit = "ns",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 400},
                     .note = "100 streams with messages waiting, the making of the message included"});
   report.add(Figure{.key = "publish_ns_per_idle_watcher",
                     .ours = median(idle),
                     .floor = std::nullopt,
                     .unit = "ns",
                     .target = std::nullopt,
                     .note = "100 idle streams, each of which is woken; processor time"});
   report.add(
        Figure{.key = "queue_bytes_per_message",
               .ours = median(bytes),
               .floor = std::nullopt,
               .unit = "bytes",
               .target = Target{.kind = Target::Kind::oursAtMost, .value = 24},
               .note = "what one waiting message adds per further stream, allocator's overhead included"});
}

void measureEventLatency(const Setup& setup, Report& report) {
   const StreamHost host(setup, {"--source", "clock"});
   const FloorServer floorServer(setup.floorProgram, setup.floorFlags);
   const auto events = static_cast<std::uint64_t>(std::max(200.0, setup.seconds * 500));
   std::vector<double> p50;
   std::vector<double> p99;
   std::vector<double> unary;
   for (int round = 0; round < setup.rounds; ++round) {
      const auto ours = runLoad(setup.streamProgram, host.address(),
                                {"--workload", "latency", "--events", std::to_string(events)});
      p50.push_back(ours["p50_us"]);
      p99.push_back(ours["p99_us"]);
      unary.push_back(runLoad(setup.loadProgram, floorServer.address(),
                              {"--workload", "empty", "--in-flight", "1", "--seconds",
                               std::to_string(setup.seconds)})["p50_us"]);
   }
   char note[160];
   std::snprintf(note, sizeof note,
                 "median from the SDK's callback to the reader, idle stream, one event per ms; p99 %.0f us; "
                 "the floor is its unary median",
                 median(p99));
   report.add(Figure{.key = "event_latency_us",
                     .ours = median(p50),
                     .floor = median(unary),
                     .unit = "us",
                     .target = Target{.kind = Target::Kind::ratioAtMost, .value = 1.5},
                     .note = note});
}

void measureDump(const Setup& setup, Report& report) {
   constexpr std::uint64_t interfaces = 10'000;
   const orvtest::TempDir directory("orv-bench-topology-");
   const std::string topology = directory / "topology.json";
   std::ofstream(topology) << R"({"interfaces": [{"name": "Ethernet1", "count": )" << interfaces << "}]}\n";
   FreshDaemon daemon(setup.daemonProgram, {"--topology", topology});
   const auto arguments = reading("dump", setup.seconds);
   const SampleMessage message(setup, daemon.address(), reading("dump", 0.1));
   const FloorServer floorServer(setup.floorProgram, floorFlags(setup, "dump", message, interfaces));
   Samples ours;
   Samples floor;
   for (int round = 0; round < setup.rounds; ++round) {
      sample(setup.streamProgram, daemon.address(), daemon.pid(), arguments, ours);
      sample(setup.streamProgram, floorServer.address(), floorServer.pid(), arguments, floor);
   }
   report.add(figureOf(
        "dump_intf_all_fields", "interfaces/s", ours, floor, 0.40,
        std::to_string(interfaces) + " interfaces, " + std::to_string(message.bytes()) + " bytes each"));
}

void measureBulkStream(const Setup& setup, Report& report) {
   constexpr std::uint64_t interfaces = 10'000;
   const StreamHost host(setup, {"--source", "rates", "--interfaces", std::to_string(interfaces)});
   const auto arguments = reading("rates", setup.seconds);
   const SampleMessage message(setup, host.address(), reading("rates", 0.5));
   auto flags = floorFlags(setup, "rates", message, 0);
   const FloorServer floorServer(setup.floorProgram, flags);
   flags.push_back("--fresh");
   const FloorServer freshFloor(setup.floorProgram, flags);
   Samples ours;
   Samples floor;
   Samples fresh;
   for (int round = 0; round < setup.rounds; ++round) {
      sample(setup.streamProgram, host.address(), host.pid(), arguments, ours);
      sample(setup.streamProgram, floorServer.address(), floorServer.pid(), arguments, floor);
      sample(setup.streamProgram, freshFloor.address(), freshFloor.pid(), arguments, fresh);
   }
   const std::string how = std::to_string(interfaces) + " interfaces, batches of up to " +
                           std::to_string(message.bytes()) + " bytes; the floor ";
   report.add(figureOf("bulk_stream_entries", "entries/s", ours, floor, 0.50,
                       how + "writes one batch over and over"));
   report.add(figureOf("bulk_stream_entries_fresh", "entries/s", ours, fresh, std::nullopt,
                       how + "makes each batch anew"));
}

void measurePolicyCounters(const Setup& setup, Report& report) {
   constexpr std::uint64_t rules = 10'000;
   const StreamHost host(setup, {"--source", "policies", "--rules", std::to_string(rules)});
   const auto arguments = reading("policies", setup.seconds);
   const SampleMessage message(setup, host.address(), reading("policies", 0.5));
   const FloorServer floorServer(setup.floorProgram, floorFlags(setup, "policies", message, 0));
   Samples ours;
   Samples floor;
   for (int round = 0; round < setup.rounds; ++round) {
      sample(setup.streamProgram, host.address(), host.pid(), arguments, ours);
      sample(setup.streamProgram, floorServer.address(), floorServer.pid(), arguments, floor);
   }
   report.add(figureOf("policy_counters_entries", "entries/s", ours, floor, 0.40,
                       std::to_string(rules) + " rules, batches of up to " + std::to_string(message.bytes()) +
                            " bytes, from the platform's table to the reader"));
}

}  // namespace bench
