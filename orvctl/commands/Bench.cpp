#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "orvctl/Load.h"
#include "orvctl/Progress.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;

namespace BenchCommands {

struct Flags {
   std::string what = "read";
   uint64_t count = 10000;
   uint64_t inFlight = 1;
   uint64_t batch = 1000;
   std::string group;
   uint32_t tag = 0;
   std::string first = "198.18.0.0";
   bool keep = false;
};

// Consecutive host routes, starting at the first address.
class RouteSource {
public:
   RouteSource(const Flags& flags) : flags_(flags) {
      const std::string bytes = parseAddressBytes("--first", flags.first);
      if (bytes.size() != 4)
         throw UsageError(fmt::format("--first is '{}', expected an IPv4 address", flags.first));
      for (const char byte : bytes)
         first_ = first_ << 8 | static_cast<unsigned char>(byte);
      if (flags.count - 1 > UINT32_MAX - first_) {
         throw UsageError(fmt::format("--count is '{}', expected at most {} from {} on", flags.count,
                                      uint64_t{UINT32_MAX} - first_ + 1, flags.first));
      }
   }

   void fill(uint64_t index, bool deletes, pb::ip_route_msg& route) const {
      const auto address = static_cast<uint32_t>(first_ + index);
      std::string bytes(4, '\0');
      for (unsigned i = 0; i < 4; ++i)
         bytes[i] = static_cast<char>(address >> (24 - 8 * i));
      route.mutable_prefix()->mutable_network()->set_address(std::move(bytes));
      route.mutable_prefix()->set_prefix_length(32);
      if (deletes) return;
      route.set_tag(flags_.tag);
      route.set_nexthop_group_name(flags_.group);
   }

private:
   const Flags& flags_;
   uint64_t first_ = 0;
};

void print(Context& context, std::string_view name, const Flags& flags, uint64_t items,
           const LoadResult& result) {
   const double rate = static_cast<double>(items) / result.seconds;
   if (context.json) {
      context.out << nlohmann::ordered_json{{"what", name},
                                            {"items", items},
                                            {"calls", result.calls},
                                            {"in_flight", flags.inFlight},
                                            {"seconds", result.seconds},
                                            {"items_per_second", rate},
                                            {"p50_us", result.p50},
                                            {"p99_us", result.p99},
                                            {"failed_items", result.failedItems},
                                            {"first_failure", result.firstFailure}}
                          .dump()
                  << '\n';
      return;
   }
   context.out << fmt::format(
        "{}: {} items in {} calls, {} in flight: {:.0f} items/s, {:.0f} calls/s; per call p50 {:.0f} µs, p99 "
        "{:.0f} µs\n",
        name, items, result.calls, flags.inFlight, rate, static_cast<double>(result.calls) / result.seconds,
        result.p50, result.p99);
   if (result.failedItems) {
      context.err << fmt::format("{}: {} items failed, the first with {}\n", name, result.failedItems,
                                 result.firstFailure);
   }
}

LoadResult runReads(Context& context, Connection& connection, const Flags& flags) {
   Progress bar(context.err, context.interactive && !context.json, flags.count);
   const pb::rpc_server_state_status_msg nothing;
   return runLoad<pb::rpc_server_state_status_msg>(
        connection, flags.count, flags.inFlight,
        [&](grpc::ClientContext* call, uint64_t, grpc::CompletionQueue* queue) {
           return connection.programming().Asyncget_rpc_server_state(call, nothing, queue);
        },
        [&](size_t done) { bar.doneIs(done); });
}

LoadResult runRoutes(Context& context, Connection& connection, const Flags& flags, const RouteSource& source,
                     bool deletes) {
   Progress bar(context.err, context.interactive && !context.json, flags.count);
   return runLoad<pb::rpc_status_msg>(
        connection, flags.count, flags.inFlight,
        [&](grpc::ClientContext* call, uint64_t index, grpc::CompletionQueue* queue) {
           pb::ip_route_msg route;
           source.fill(index, deletes, route);
           return connection.programming().Asyncip_route(call, route, queue);
        },
        [&](size_t done) { bar.doneIs(done); });
}

LoadResult runBulks(Context& context, Connection& connection, const Flags& flags, const RouteSource& source,
                    bool deletes) {
   const uint64_t calls = (flags.count + flags.batch - 1) / flags.batch;
   Progress bar(context.err, context.interactive && !context.json, flags.count);
   return runLoad<pb::rpc_status_bulk_msg>(
        connection, calls, flags.inFlight,
        [&](grpc::ClientContext* call, uint64_t number, grpc::CompletionQueue* queue) {
           pb::ip_route_bulk_msg bulk;
           const uint64_t end = std::min(flags.count, (number + 1) * flags.batch);
           for (uint64_t i = number * flags.batch; i < end; ++i)
              source.fill(i, deletes, *bulk.add_bulk());
           return connection.programming().Asyncip_route_bulk(call, bulk, queue);
        },
        [&](size_t done) { bar.doneIs(std::min(flags.count, done * flags.batch)); });
}

int bench(Context& context, const Flags& flags) {
   auto connection = context.connect();
   if (flags.what == "read") {
      const auto result = runReads(context, connection, flags);
      print(context, "read", flags, flags.count, result);
      return kOk;
   }
   if (flags.group.empty())
      throw UsageError("--nhg is missing, expected the nexthop group that the routes point at");
   const RouteSource source(flags);
   auto round = [&](bool deletes) {
      return flags.what == "route" ? runRoutes(context, connection, flags, source, deletes)
                                   : runBulks(context, connection, flags, source, deletes);
   };
   const auto added = round(false);
   print(context, flags.what + " add", flags, flags.count, added);
   if (flags.keep) return added.failedItems ? kRefused : kOk;
   const auto deleted = round(true);
   print(context, flags.what + " del", flags, flags.count, deleted);
   return added.failedItems || deleted.failedItems ? kRefused : kOk;
}

}  // namespace BenchCommands

void addBenchCommand(CLI::App& app, Context& context) {
   using namespace BenchCommands;
   auto* command = app.add_subcommand("bench", "Load the server and print rates");
   command->footer(
        "read requests no key and changes nothing. route and bulk program host routes from --first "
        "on (the "
        "default range is set aside for benchmarks, RFC 2544) and delete them again; they need an init "
        "first.");
   auto flags = std::make_shared<Flags>();
   command->add_option("what", flags->what, "read, route (one per call) or bulk")
        ->capture_default_str()
        ->check(CLI::IsMember({"read", "route", "bulk"}))
        ->type_name("WHAT");
   addNumber(*command, "-n,--count", flags->count, 1, UINT32_MAX, "Items [10000]");
   addNumber(*command, "--in-flight", flags->inFlight, 1, 100000,
             "Calls that wait for their answer at a time [1]");
   addNumber(*command, "--batch", flags->batch, 1, 100000, "Items per call of bulk [1000]");
   command->add_option("--nhg", flags->group, "Nexthop group of the routes")->type_name("NAME");
   addNumber(*command, "--tag", flags->tag, 0, UINT32_MAX, "Tag of the routes [0]");
   command->add_option("--first", flags->first, "First address")->capture_default_str()->type_name("IPV4");
   command->add_flag("--keep", flags->keep, "Leave the routes where they are");
   onChosen(context, *command, [&context, flags] { return bench(context, *flags); });
}

}  // namespace orvctl
