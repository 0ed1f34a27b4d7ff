// orv_bench: the daemon against the floor, in alternating rounds in one run.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <thread>

#include "Conversions.h"
#include "Cores.h"
#include "LabelMeasurements.h"
#include "Measurements.h"
#include "Report.h"
#include "RouteMeasurements.h"
#include "SbfdMeasurements.h"
#include "Streams.h"
#include "testing/process/Daemon.h"

namespace {

struct Measurement {
   std::string name;
   std::function<void(const bench::Setup&, bench::Report&)> run;
};

const std::vector<Measurement>& measurements() {
   static const std::vector<Measurement> list = {
        {"unary_ip_route_64",
         [](const auto& setup, auto& report) {
            bench::measureUnary(setup, report, "unary_ip_route_64", 64, 0.80);
         }},
        {"unary_ip_route_1",
         [](const auto& setup, auto& report) {
            bench::measureUnary(setup, report, "unary_ip_route_1", 1, 0.90);
         }},
        {"bulk_ip_route_1000", bench::measureBulkRoutes},
        {"bulk_nexthop_group_1000", bench::measureBulkGroups},
        {"bulk_mpls_route_1000", bench::measureBulkLabels},
        {"bulk_redirect_1000", bench::measureRedirects},
        {"resync_1m_routes_s", bench::measureResync},
        {"ping_under_load_ms", bench::measurePing},
        {"restart_1m_routes_s", bench::measureRestart},
        {"convert", bench::measureConversions},
        {"list_nexthop_groups", bench::measureLists},
        {"watch_fanout_1", [](const auto& setup, auto& report) { bench::measureFanOut(setup, report, 1); }},
        {"watch_fanout_100",
         [](const auto& setup, auto& report) { bench::measureFanOut(setup, report, 100); }},
        {"publish_ns_per_watcher", bench::measurePublish},
        {"event_latency_us", bench::measureEventLatency},
        {"dump_intf_all_fields", bench::measureDump},
        {"bulk_stream_entries", bench::measureBulkStream},
        {"policy_counters_entries", bench::measurePolicyCounters},
        {"list_ip_routes", bench::measureRouteList},
        {"list_ip_routes_embedded", bench::measureRouteListEmbedded},
        {"list_filtered_skip_ns", bench::measureFilteredList},
        {"bulk_mirror_ip_route_set_1000", bench::measureMirrorRoutes},
        {"bulk_mirror_mpls_route_set_1000", bench::measureMirrorLabels},
        {"watch_mpls_routes_fanout_1", bench::measureLabelWatch},
        {"mpls_ack_latency_ms", bench::measureAckLatency},
        {"mpls_acks_per_s", bench::measureAckRate},
        {"fib_watch_1m", bench::measureFibWatch},
        {"sbfd_sessions", bench::measureSbfdSessions},
        {"sbfd_alive_latency_ms", bench::measureSbfdAliveLatency},
   };
   return list;
}

std::vector<std::string> names() {
   std::vector<std::string> list;
   for (const auto& measurement : measurements())
      list.push_back(measurement.name);
   return list;
}

}  // namespace

int main(int argc, char** argv) {
   CLI::App app(
        "Measures the daemon and a server that does nothing behind the same messages.\n"
        "Each figure is a median over rounds that alternate between the two.");
   bench::Setup setup;
   std::string jsonFile;
   std::vector<std::string> only;
   bool quick = false;
   bool check = false;
   bool anyCore = false;
   app.add_option("--json", jsonFile, "Write the figures to this file, one JSON object");
   app.add_option("--rounds", setup.rounds, "Rounds per figure and server")->check(CLI::PositiveNumber);
   app.add_option("--seconds", setup.seconds, "Length of a timed round")->check(CLI::PositiveNumber);
   app.add_option("--routes", setup.routes,
                  "Distinct routes of the bulk, list, watch, restart and memory figures");
   app.add_option("--only", only,
                  "Measure these alone (scale_flatness comes with bulk_ip_route_1000, "
                  "rss_1m_routes_mib with restart_1m_routes_s, list_flatness with list_nexthop_groups, "
                  "queue_bytes_per_message with publish_ns_per_watcher, "
                  "list_filtered_ping_ms with list_filtered_skip_ns)")
        ->check(CLI::IsMember(names()));
   app.add_flag("--quick", quick,
                "One short round with few routes: shows that everything runs, measures nothing");
   app.add_flag("--any-core", anyCore, "Leave it to the scheduler where client and servers run");
   app.add_flag("--check", check, "End with 1 when a target is missed");
   bool arenaFloor = false;
   app.add_flag("--arena-floor", arenaFloor,
                "Let the floor keep the messages of a bulk on an arena, as the daemon does");
   CLI11_PARSE(app, argc, argv);
   if (quick) {
      setup.rounds = 1;
      setup.seconds = 0.2;
      setup.routes = 50'000;
   }
   if (setup.routes == 0 || setup.routes % setup.perBulk != 0 || setup.routes < 20 * setup.perBulk) {
      std::fprintf(stderr, "--routes %llu: expected a multiple of %zu, at least %zu\n",
                   static_cast<unsigned long long>(setup.routes), setup.perBulk, 20 * setup.perBulk);
      return 2;
   }
   try {
      setup.daemonProgram = orvtest::programPath("orvsdkrpcd");
      setup.floorProgram = orvtest::programPath("floor_server");
      if (arenaFloor) setup.floorFlags = {"--arena"};
      setup.loadProgram = orvtest::programPath("bench_load");
      setup.convertProgram = orvtest::programPath("bench_convert");
      setup.streamProgram = orvtest::programPath("bench_stream");
      setup.streamHostProgram = orvtest::programPath("bench_stream_host");
      if (quick) std::printf("A quick run: the figures below are no measurement.\n");
      bench::OnCoresOf::enabledIs(!anyCore);
      std::printf(
           "%u cores, %s; unix sockets; client, daemon and floor in processes of their own; %d rounds\n",
           std::thread::hardware_concurrency(),
           anyCore ? "no core assignment" : "one for the client, the others for the server under test",
           setup.rounds);
      bench::Report report;
      for (const auto& measurement : measurements()) {
         if (only.empty() || std::find(only.begin(), only.end(), measurement.name) != only.end()) {
            measurement.run(setup, report);
         }
      }
      if (!jsonFile.empty()) {
         std::ofstream file(jsonFile);
         file << report.json().dump(2) << '\n';
         file.close();
         if (!file) throw std::runtime_error("cannot write " + jsonFile);
      }
      const auto missed = report.missed();
      for (const auto& key : missed)
         std::printf("%s misses its target\n", key.c_str());
      return check && !missed.empty() ? 1 : 0;
   } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      return 2;
   }
}
