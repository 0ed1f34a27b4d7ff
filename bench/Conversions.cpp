#include "Conversions.h"

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "Cores.h"
#include "testing/base/TempDir.h"
#include "testing/process/Child.h"

namespace bench {

namespace {

// Nanoseconds of every repetition, by the benchmark's name.
std::map<std::string, std::vector<double>> runConvert(const Setup& setup) {
   const orvtest::TempDir directory("orv-bench-convert-");
   const std::string file = directory / "figures.json";
   auto child = [&] {
      const OnCoresOf client(Side::client);
      return orvtest::Child({setup.convertProgram, "--benchmark_out=" + file, "--benchmark_out_format=json",
                             "--benchmark_repetitions=" + std::to_string(setup.rounds),
                             "--benchmark_min_time=" + std::to_string(setup.seconds / 20),
                             // Interleaves the repetitions of all benchmarks.
                             "--benchmark_enable_random_interleaving=true"},
                            directory / "output");
   }();
   const auto ending = child.wait();
   if (ending != orvtest::Ending{.exitCode = 0}) {
      throw std::runtime_error("bench_convert ended with " + to_string(ending) + ": " + child.log());
   }
   std::ifstream stream(file);
   const auto figures = nlohmann::json::parse(stream);
   std::map<std::string, std::vector<double>> times;
   for (const auto& run : figures.at("benchmarks")) {
      if (run.at("run_type") != "iteration") continue;
      if (run.contains("error_occurred")) throw std::runtime_error("bench_convert: " + run.dump());
      if (run.at("time_unit") != "ns")
         throw std::runtime_error("bench_convert: no nanoseconds: " + run.dump());
      times[run.at("run_name")].push_back(run.at("cpu_time"));
   }
   return times;
}

}  // namespace

void measureConversions(const Setup& setup, Report& report) {
   const auto times = runConvert(setup);
   for (const std::string record :
        {"ip_acl_rule", "ip_route_via", "nexthop_group_16", "mpls_route_via", "policy_map_100"}) {
      for (const std::string direction : {"from_wire", "to_wire"}) {
         report.add({.key = "convert_" + direction + "_" + record,
                     .ours = median(times.at(direction + "/" + record)),
                     .floor = median(times.at("parse/" + record)),
                     .unit = "ns",
                     .target = Target{.kind = Target::Kind::ratioAtMost, .value = 1},
                     .note = "one conversion; the floor is protobuf parsing the same bytes"});
      }
   }
}

}  // namespace bench
