#include <memory>

#include "OrvSdkRpcProtos/intf.pb.h"
#include "OrvSdkRpcProtos/intf_counter.pb.h"
#include "orvctl/JsonText.h"
#include "orvctl/Mirror.h"
#include "orvctl/Rows.h"
#include "orvctl/commands/Commands.h"
#include "orvctl/commands/Watch.h"

namespace orvctl {
namespace rpc = orv::remote;

namespace CounterCommands {

std::vector<std::string> allNames(Context& context, Connection& connection) {
   std::vector<std::string> names;
   listMirror<rpc::IntfsResponse>(context, connection, "IntfMgrService/intfs", rpc::IntfsRequest(),
                                  [&](const rpc::IntfsResponse& reply) {
                                     names.push_back(reply.intf_id().name());
                                     return true;
                                  });
   return names;
}

// Prints one row per interface: its name, and then the fields of `record(connection, name)`.
template <typename Record>
int show(Context& context, std::vector<std::string> names, std::vector<std::string> columns, Record record) {
   auto connection = context.connect();
   if (names.empty()) names = allNames(context, connection);
   Rows rows(context, std::move(columns));
   for (const auto& name : names) {
      nlohmann::ordered_json row{{"name", name}};
      row.update(messageToTree(record(connection, name)));
      if (!rows.add(row)) break;
   }
   rows.finish();
   return kOk;
}

int showCounters(Context& context, const std::vector<std::string>& names) {
   return show(context, names,
               {"name", "in_ucast_pkts", "in_multicast_pkts", "in_broadcast_pkts", "in_octets", "in_errors",
                "in_discards", "out_ucast_pkts", "out_multicast_pkts", "out_broadcast_pkts", "out_octets",
                "out_errors", "out_discards"},
               [](Connection& connection, const std::string& name) {
                  rpc::IntfCountersRequest request;
                  *request.mutable_intf_id() = intfId(name);
                  auto reply = ask<rpc::IntfCountersResponse>(
                       connection, "IntfCounterMgrService/intf_counters", name, request);
                  return reply.counters();
               });
}

int showRates(Context& context, const std::vector<std::string>& names) {
   return show(context, names, {"name", "in_pkts_rate", "in_bits_rate", "out_pkts_rate", "out_bits_rate"},
               [](Connection& connection, const std::string& name) {
                  rpc::IntfTrafficRatesRequest request;
                  *request.mutable_intf_id() = intfId(name);
                  return ask<rpc::IntfTrafficRatesResponse>(
                              connection, "IntfCounterMgrService/intf_traffic_rates", name, request)
                       .rates();
               });
}

}  // namespace CounterCommands

void addCountersCommand(CLI::App& app, Context& context) {
   using namespace CounterCommands;
   auto* command = app.add_subcommand("counters", "Traffic of interfaces");
   command->require_subcommand(1);
   auto names = std::make_shared<std::vector<std::string>>();
   auto* showCommand =
        command->add_subcommand("show", "Packets, bytes and errors, of all interfaces or of those given");
   showCommand->add_option("names", *names, "Interfaces")->type_name("NAME");
   onChosen(context, *showCommand, [&context, names] { return showCounters(context, *names); });
   auto* rates =
        command->add_subcommand("rates", "Packets and bits per second, of all interfaces or of those given");
   rates->add_option("names", *names, "Interfaces")->type_name("NAME");
   onChosen(context, *rates, [&context, names] { return showRates(context, *names); });
   addWatchOf(*command, context, watchRpc("counters"), "watch");
}

}  // namespace orvctl
