// bench_load: runs one workload against one address and prints the result as one JSON object.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <nlohmann/json.hpp>

#include "LoadClient.h"

namespace {

struct Options {
   std::string target;
   std::string workload;
   std::size_t inFlight = 1;
   double seconds = 0;
   std::uint64_t requests = 0;
   std::uint64_t first = 0;
   std::uint64_t total = 1'000'000;
   std::size_t perBulk = 1000;
   std::uint64_t groups = 1000;
   std::size_t nexthops = 4;
   bool random = false;
   bool programGroups = false;
   bool resync = false;
   std::string policyMap;
   bool progress = false;
};

std::unique_ptr<bench::Workload> workloadOf(const Options& options) {
   const auto order = options.random ? bench::Order::random : bench::Order::sequential;
   if (options.workload == "route") return bench::unaryRoutes(options.first, options.groups, order);
   if (options.workload == "route-bulk") {
      return bench::bulkRoutes(options.first, options.total, options.perBulk, options.groups, order);
   }
   if (options.workload == "group-bulk") {
      return bench::bulkGroups(options.total, options.perBulk, options.nexthops);
   }
   if (options.workload == "label-bulk") {
      return bench::bulkLabels(options.total, options.perBulk, options.groups);
   }
   if (options.workload == "mirror-route-bulk") {
      return bench::bulkMirrorRoutes(options.total, options.perBulk, options.groups);
   }
   if (options.workload == "mirror-label-bulk") {
      return bench::bulkMirrorLabels(options.total, options.perBulk, options.groups);
   }
   if (options.workload == "redirect") return bench::singleRedirects(options.total);
   if (options.workload == "redirect-bulk") return bench::bulkRedirects(options.total, options.perBulk);
   return bench::emptyCalls();
}

nlohmann::json run(const Options& options) {
   const auto workload = workloadOf(options);
   bench::LoadClient client(options.target);
   client.init(options.policyMap);
   const auto groupsPerBulk = std::min<std::uint64_t>(options.groups, 1000);
   const auto groups = bench::bulkGroups(options.groups, groupsPerBulk, options.nexthops);
   const auto programGroups = [&] { client.run(*groups, 1, {.requests = options.groups / groupsPerBulk}); };
   if (options.programGroups && !options.resync) programGroups();
   // Not measured: the first calls pay for the connection's set-up.
   const auto warmUp = bench::emptyCalls();
   client.run(*warmUp, options.inFlight, {.requests = 2 * options.inFlight + 50});

   using Clock = std::chrono::steady_clock;
   const auto secondsSince = [](Clock::time_point from) {
      return std::chrono::duration<double>(Clock::now() - from).count();
   };
   const auto resyncStarted = Clock::now();
   double startSeconds = 0;
   if (options.resync) {
      client.resyncStart();
      startSeconds = secondsSince(resyncStarted);
      // Within the resync, because its end would remove them otherwise.
      if (options.programGroups) programGroups();
   }
   const auto seconds = std::chrono::duration<double>(options.seconds);
   const auto result =
        client.run(*workload, options.inFlight,
                   {.requests = options.requests,
                    .duration = std::chrono::duration_cast<std::chrono::nanoseconds>(seconds)});
   const auto endStarted = Clock::now();
   if (options.resync) client.resyncEnd();
   const double endSeconds = secondsSince(endStarted);
   const double resyncSeconds = secondsSince(resyncStarted);
   const auto microseconds = [&](double fraction) {
      return static_cast<double>(result.latency.quantile(fraction)) / 1e3;
   };
   nlohmann::json report = {
        {"items", result.items},
        {"seconds", result.seconds},
        // On the machine's monotonic clock, which every process shares.
        {"started_ns", result.started.time_since_epoch().count()},
        {"items_per_second", result.itemsPerSecond()},
        {"client_cpu_seconds", result.clientCpuSeconds},
        {"p50_us", microseconds(0.5)},
        {"p99_us", microseconds(0.99)},
        {"p999_us", microseconds(0.999)},
   };
   if (options.resync) {
      report["resync"] = {
           {"seconds", resyncSeconds}, {"start_seconds", startSeconds}, {"end_seconds", endSeconds}};
   }
   if (options.progress) report["replies_at_ns"] = result.repliesAt;
   return report;
}

}  // namespace

int main(int argc, char** argv) {
   CLI::App app("Puts load on a programming service and prints what it saw as JSON");
   Options options;
   app.add_option("--target", options.target, "Server's address, as gRPC writes it")->required();
   app.add_option("--workload", options.workload, "What to send")
        ->required()
        ->check(CLI::IsMember({"route", "route-bulk", "group-bulk", "label-bulk", "mirror-route-bulk",
                               "mirror-label-bulk", "redirect", "redirect-bulk", "empty"}));
   app.add_option("--in-flight", options.inFlight, "Requests outstanding at any moment")
        ->check(CLI::PositiveNumber);
   auto* seconds =
        app.add_option("--seconds", options.seconds, "End after this time")->check(CLI::PositiveNumber);
   auto* requests = app.add_option("--requests", options.requests, "End after this many requests")
                         ->check(CLI::PositiveNumber);
   app.add_option("--first", options.first, "Number of the first route");
   app.add_option("--total", options.total, "Distinct items in the bulks; single redirects")
        ->check(CLI::PositiveNumber);
   app.add_option("--per-bulk", options.perBulk, "Items in a bulk")->check(CLI::PositiveNumber);
   app.add_option("--groups", options.groups, "Groups that the routes point at")->check(CLI::PositiveNumber);
   app.add_option("--nexthops", options.nexthops, "Nexthops of a group")->check(CLI::PositiveNumber);
   app.add_flag("--random", options.random, "Spread the prefixes instead of counting up");
   app.add_flag("--program-groups", options.programGroups, "Program the groups before the clock starts");
   app.add_flag("--resync", options.resync, "Resync around it, the groups within");
   app.add_option("--policy-map", options.policyMap, "Policy map of the redirects");
   app.add_flag("--progress", options.progress, "Report when each reply arrived (needs --requests)")
        ->needs(requests);
   CLI11_PARSE(app, argc, argv);
   if (seconds->count() + requests->count() == 0) {
      std::fprintf(stderr, "one of --seconds and --requests is needed\n");
      return 2;
   }
   try {
      std::printf("%s\n", run(options).dump().c_str());
      return 0;
   } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      return 1;
   }
}
