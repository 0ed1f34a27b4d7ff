// bench_stream: reads the streams of a server and prints the result as one JSON object.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fstream>
#include <nlohmann/json.hpp>

#include "AckLatency.h"
#include "Histogram.h"
#include "OrvSdkRpcProtos/agent.pb.h"
#include "OrvSdkRpcProtos/fib.pb.h"
#include "OrvSdkRpcProtos/intf.pb.h"
#include "OrvSdkRpcProtos/intf_counter.pb.h"
#include "OrvSdkRpcProtos/ip_route.pb.h"
#include "OrvSdkRpcProtos/mpls_route.pb.h"
#include "OrvSdkRpcProtos/policy_map_counters.pb.h"
#include "StreamClient.h"

namespace {

namespace rpc = orv::remote;

struct Options {
   std::string target;
   std::string workload;
   std::string of;
   std::size_t streams = 1;
   double seconds = 1;
   std::uint64_t events = 1000;
   std::uint32_t firstLabel = 16;
   std::uint32_t untimed = 0;
   std::string sampleFile;
   std::string readyFile;
};

// An RPC with a stream of responses.
struct Rpc {
   std::string path;
   std::string request;
   // The response that acknowledges a watch; empty if the request does not ask for one.
   std::string ack = {};
};

template <class Request, class Response>
Rpc acknowledged(const char* path) {
   Request request;
   request.set_ack(true);
   Response response;
   response.set_ack(true);
   return {path, request.SerializeAsString(), response.SerializeAsString()};
}

Rpc listOf(const std::string& what) {
   if (what.empty() || what == "groups") return {"/orv.remote.NexthopGroupMgrService/nexthop_groups", ""};
   rpc::IpRoutesRequest request;
   request.set_embed_vias(what == "routes-embedded");
   // No route has this VNI.
   if (what == "routes-skipped") request.set_vni(1);
   return {"/orv.remote.IpRouteMgrService/ip_routes", request.SerializeAsString()};
}

Rpc watchOf(const std::string& what) {
   if (what == "fib") {
      return acknowledged<rpc::FibWatchRequest, rpc::FibWatchResponse>("/orv.remote.FibMgrService/watch");
   }
   if (what == "acks") {
      return acknowledged<rpc::MplsIntegratedAckRequest, rpc::MplsIntegratedAckResponse>(
           "/orv.remote.MplsRouteMgrService/watch_mpls_integrated");
   }
   if (what == "labels") {
      rpc::MplsRouteWatchRequest request;
      request.set_all(true);
      return {"/orv.remote.MplsRouteMgrService/watch", request.SerializeAsString()};
   }
   return {"/orv.remote.AgentService/watch", rpc::WatchAgentRequest().SerializeAsString()};
}

void writeFile(const std::string& path, const std::string& bytes) {
   std::ofstream file(path, std::ios::binary);
   file << bytes;
   file.close();
   if (!file) throw std::runtime_error("cannot write " + path);
}

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
   const auto watch = watchOf("agent");
   client.read(watch.path, watch.request, [&](const std::string& bytes) {
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

// Whether the batch is no longer of the snapshot, which introduces every counter with its long key.
bool afterSnapshot(const std::string& bytes) {
   rpc::PolicyMapCountersWatchResponse batch;
   if (!batch.ParseFromString(bytes)) throw std::runtime_error("a batch that does not parse");
   return batch.data_size() != 0 && !batch.data(0).has_key_name();
}

// Counts events until there are enough or the server ends the stream. An event of the FIB's routes, and an
// acknowledgement of a label, is a response with field 1.
nlohmann::json hear(bench::StreamClient& client, const Options& options) {
   constexpr char fieldOne = 0x0a;
   const auto watch = watchOf(options.of);
   std::uint64_t events = 0;
   std::chrono::steady_clock::time_point last;
   std::string lastEvent;
   std::string ended;
   try {
      client.read(watch.path, watch.request, [&](const std::string& bytes) {
         if (bytes == watch.ack && !options.readyFile.empty()) writeFile(options.readyFile, "");
         if (bytes.empty() || bytes.front() != fieldOne) return true;
         last = std::chrono::steady_clock::now();
         if (++events < options.events) return true;
         lastEvent = bytes;
         return false;
      });
   } catch (const std::runtime_error& error) {
      ended = error.what();
   }
   if (!options.sampleFile.empty()) writeFile(options.sampleFile, lastEvent);
   // The time is that of the machine's monotonic clock, which every process shares.
   return {{"events", events}, {"last_ns", last.time_since_epoch().count()}, {"ended", ended}};
}

nlohmann::json ackLatency(const Options& options) {
   const auto latencies = bench::ackLatencies(options.target, options.firstLabel, options.untimed,
                                              static_cast<std::uint32_t>(options.events));
   const auto milliseconds = [&](double fraction) {
      return static_cast<double>(latencies.quantile(fraction)) / 1e6;
   };
   return {{"events", latencies.count()},
           {"p50_ms", milliseconds(0.5)},
           {"p99_ms", milliseconds(0.99)},
           {"max_ms", milliseconds(1)}};
}

nlohmann::json run(const Options& options) {
   if (options.workload == "ack-latency") return ackLatency(options);
   bench::StreamClient client(options.target, std::chrono::minutes(3));
   const std::chrono::duration<double> duration(options.seconds);
   const auto watch = watchOf(options.of);
   if (options.workload == "stall") client.stall(watch.path, watch.request, options.streams);
   if (options.workload == "latency") return latency(client, options);
   if (options.workload == "hear") return hear(client, options);
   bench::StreamResult result;
   if (options.workload == "list") {
      const auto list = listOf(options.of);
      result = client.readPasses(list.path, list.request, "", duration);
   } else if (options.workload == "dump") {
      result = dump(client, options);
   } else if (options.workload == "watch") {
      result = client.readFor(watch.path, watch.request, options.streams, duration, nullptr);
   } else if (options.workload == "policies") {
      result = client.readFor("/orv.remote.PolicyMapCountersService/watch_policy_map_counters",
                              rpc::PolicyMapCountersWatchRequest().SerializeAsString(), 1, duration,
                              bench::entriesOf, afterSnapshot);
   } else {
      result = client.readFor("/orv.remote.IntfCounterMgrService/intf_traffic_rates_stream",
                              rpc::IntfTrafficRatesStreamRequest().SerializeAsString(), 1, duration,
                              bench::entriesOf);
   }
   if (!options.sampleFile.empty()) writeFile(options.sampleFile, result.sample);
   return report(result);
}

}  // namespace

int main(int argc, char** argv) {
   CLI::App app("Reads streams and prints what it saw as JSON");
   Options options;
   app.add_option("--target", options.target, "Server's address, as gRPC writes it")->required();
   app.add_option("--workload", options.workload,
                  "What to do: read a list, a dump, a watch, rates or policies; time the events of a watch; "
                  "open a watch "
                  "and never read it; hear --events of a watch; time the acknowledgements of labels")
        ->required()
        ->check(CLI::IsMember(
             {"list", "dump", "watch", "rates", "policies", "latency", "stall", "hear", "ack-latency"}));
   app.add_option("--of", options.of, "What is listed [groups] or watched [agent]")
        ->check(CLI::IsMember(
             {"groups", "routes", "routes-embedded", "routes-skipped", "agent", "labels", "acks", "fib"}));
   app.add_option("--streams", options.streams, "Streams of a watch")->check(CLI::PositiveNumber);
   app.add_option("--seconds", options.seconds, "How long to read")->check(CLI::PositiveNumber);
   app.add_option("--events", options.events, "How many events to time or to hear")
        ->check(CLI::PositiveNumber);
   app.add_option("--first", options.firstLabel, "The first label of ack-latency");
   app.add_option("--untimed", options.untimed,
                  "Labels that ack-latency does not time: the first ones pay for the connection's set-up");
   app.add_option("--ready", options.readyFile,
                  "Create this file when the server has acknowledged the watch");
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
