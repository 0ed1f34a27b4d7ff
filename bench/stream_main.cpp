// bench_stream: reads the streams of a server and prints the result as one JSON object.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fstream>
#include <nlohmann/json.hpp>

#include "Histogram.h"
#include "OrvSdkRpcProtos/agent.pb.h"
#include "OrvSdkRpcProtos/intf.pb.h"
#include "OrvSdkRpcProtos/intf_counter.pb.h"
#include "StreamClient.h"

namespace {

namespace rpc = orv::remote;

struct Options {
   std::string target;
   std::string workload;
   std::size_t streams = 1;
   double seconds = 1;
   std::uint64_t events = 1000;
   std::string sampleFile;
};

constexpr const char* agentWatch = "/orv.remote.AgentService/watch";

nlohmann::json report(const bench::StreamResult& result) {
   nlohmann::json pass;
   for (const double seconds : result.passSeconds)
      pass.push_back(seconds);
   return {{"items", result.items},
           {"bytes", result.bytes},
           {"seconds", result.seconds},
           {"items_per_second", static_cast<double>(result.items) / result.seconds},
           {"client_cpu_seconds", result.clientCpuSeconds},
           {"pass_seconds", pass},
           {"elements", result.elements}};
}

bench::StreamResult dump(bench::StreamClient& client, const Options& options) {
   rpc::WatchIntfRequest request;
   request.set_all(true);
   request.mutable_fields_control()->add_fields(rpc::INTF_FIELD_ALL);
   rpc::WatchIntfResponse last;
   last.set_ack(true);
   return client.readPasses("/orv.remote.IntfMgrService/watch", request.SerializeAsString(),
                            last.SerializeAsString(), std::chrono::duration<double>(options.seconds));
}

// The value of each event is its creation time on the machine's monotonic clock.
nlohmann::json latency(bench::StreamClient& client, const Options& options) {
   bench::Histogram microseconds;
   std::uint64_t passed = 0;
   client.read(agentWatch, rpc::WatchAgentRequest().SerializeAsString(), [&](const std::string& bytes) {
      const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
      rpc::WatchAgentResponse event;
      if (!event.ParseFromString(bytes)) throw std::runtime_error("an event that does not parse");
      const auto made = std::stoll(event.agent_option().value());
      // The first events pay for the connection's set-up.
      if (++passed > 100) microseconds.add(static_cast<std::uint64_t>(now - made));
      return microseconds.count() < options.events;
   });
   return {{"events", microseconds.count()},
           {"p50_us", static_cast<double>(microseconds.quantile(0.5)) / 1e3},
           {"p99_us", static_cast<double>(microseconds.quantile(0.99)) / 1e3}};
}

nlohmann::json run(const Options& options) {
   bench::StreamClient client(options.target, std::chrono::minutes(3));
   const std::chrono::duration<double> duration(options.seconds);
   const std::string watch = rpc::WatchAgentRequest().SerializeAsString();
   if (options.workload == "stall") client.stall(agentWatch, watch, options.streams);
   if (options.workload == "latency") return latency(client, options);
   bench::StreamResult result;
   if (options.workload == "list") {
      result = client.readPasses("/orv.remote.NexthopGroupMgrService/nexthop_groups", "", "", duration);
   } else if (options.workload == "dump") {
      result = dump(client, options);
   } else if (options.workload == "watch") {
      result = client.readFor(agentWatch, watch, options.streams, duration, nullptr);
   } else {
      result = client.readFor("/orv.remote.IntfCounterMgrService/intf_traffic_rates_stream",
                              rpc::IntfTrafficRatesStreamRequest().SerializeAsString(), 1, duration,
                              bench::entriesOf);
   }
   if (!options.sampleFile.empty()) {
      std::ofstream file(options.sampleFile, std::ios::binary);
      file << result.sample;
      file.close();
      if (!file) throw std::runtime_error("cannot write " + options.sampleFile);
   }
   return report(result);
}

}  // namespace

int main(int argc, char** argv) {
   CLI::App app("Reads streams and prints what it saw as JSON");
   Options options;
   app.add_option("--target", options.target, "Server's address, as gRPC writes it")->required();
   app.add_option("--workload", options.workload, "What to read; stall opens streams and reads none of them")
        ->required()
        ->check(CLI::IsMember({"list", "dump", "watch", "rates", "latency", "stall"}));
   app.add_option("--streams", options.streams, "Streams of a watch")->check(CLI::PositiveNumber);
   app.add_option("--seconds", options.seconds, "How long to read")->check(CLI::PositiveNumber);
   app.add_option("--events", options.events, "How many events to time")->check(CLI::PositiveNumber);
   app.add_option("--sample", options.sampleFile, "Write a message of the stream to this file");
   CLI11_PARSE(app, argc, argv);
   try {
      std::printf("%s\n", run(options).dump().c_str());
      return 0;
   } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      return 1;
   }
}
