#include <fmt/format.h>

#include <chrono>
#include <memory>

#include "OrvSdkRpcProtos/agent.pb.h"
#include "orvctl/Mirror.h"
#include "orvctl/Rows.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace rpc = orv::remote;

namespace AgentCommands {

// Prints names and their values: the given ones, or all that the list RPC returns.
template <typename ListReply, typename ListRequest, typename Reply, typename Request>
int values(Context& context, std::vector<std::string> names, const std::string& listRpc,
           const std::string& valueRpc) {
   auto connection = context.connect();
   if (names.empty()) {
      listMirror<ListReply>(context, connection, "AgentService/" + listRpc, ListRequest(),
                            [&](const ListReply& reply) {
                               names.push_back(reply.name());
                               return true;
                            });
   }
   for (const auto& name : names) {
      Request request;
      request.set_name(name);
      const auto value = ask<Reply>(connection, "AgentService/" + valueRpc, name, request).value();
      if (context.json) {
         context.out << nlohmann::ordered_json{{"name", name}, {"value", value}}.dump(
                             -1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
                     << '\n';
      } else {
         context.out << name << '=' << value << '\n';
      }
   }
   return kOk;
}

int set(Context& context, const std::vector<std::string>& words) {
   rpc::AgentBulkStatusSetRequest request;
   for (const auto& word : words) {
      auto [name, value] = parseKeyValue("the status entry", word);
      auto& item = *request.add_requests();
      item.set_name(name);
      item.set_value(value);
   }
   auto connection = context.connect();
   const auto reply =
        ask<rpc::AgentBulkStatusSetResponse>(connection, "AgentService/bulk_status_set", "", request);
   return reportMirrorBulk(context, reply.status(), reply.count(), words.size(),
                           [&](uint64_t index) { return request.requests(static_cast<int>(index)).name(); });
}

int del(Context& context, const std::vector<std::string>& names) {
   rpc::AgentBulkStatusDelRequest request;
   for (const auto& name : names)
      request.add_requests()->set_name(name);
   auto connection = context.connect();
   const auto reply =
        ask<rpc::AgentBulkStatusDelResponse>(connection, "AgentService/bulk_status_del", "", request);
   return reportMirrorBulk(context, reply.status(), reply.count(), names.size(),
                           [&](uint64_t index) { return names[index]; });
}

int ping(Context& context, const std::string& payload, uint64_t count) {
   auto connection = context.connect();
   rpc::AgentPingRequest request;
   request.set_payload(payload);
   for (uint64_t i = 0; i < count && context.out.good(); ++i) {
      const auto start = std::chrono::steady_clock::now();
      const auto reply = ask<rpc::AgentPingResponse>(connection, "AgentService/ping", "", request);
      const double roundTrip =
           std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
      const double mainLoop = static_cast<double>(reply.responded() - reply.received()) / 1e3;
      if (reply.payload() != payload) throw CallError("ping: the server returned a different payload");
      if (context.json) {
         context.out << nlohmann::ordered_json{{"payload", reply.payload()},
                                               {"received_ns", reply.received()},
                                               {"responded_ns", reply.responded()},
                                               {"main_loop_us", mainLoop},
                                               {"round_trip_us", roundTrip}}
                             .dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
                     << std::endl;
      } else {
         context.out << fmt::format("main loop {:.0f} µs, round trip {:.0f} µs", mainLoop, roundTrip)
                     << std::endl;
      }
   }
   return kOk;
}

void printValue(Context& context, const char* name, const nlohmann::ordered_json& value,
                const std::string& text) {
   if (context.json) {
      context.out << nlohmann::ordered_json{{name, value}}.dump() << '\n';
   } else {
      context.out << text << '\n';
   }
}

void addValueCommands(CLI::App& command, Context& context) {
   auto names = std::make_shared<std::vector<std::string>>();
   auto* options = command.add_subcommand("options", "The operator's options, all or those given");
   options->add_option("names", *names, "Options")->type_name("NAME");
   onChosen(context, *options, [&context, names] {
      return values<rpc::AgentOptionsResponse, rpc::AgentOptionsRequest, rpc::AgentOptionResponse,
                    rpc::AgentOptionRequest>(context, *names, "agent_options", "agent_option");
   });
   auto* status = command.add_subcommand("status", "Status entries, all or those given");
   status->add_option("names", *names, "Entries")->type_name("NAME");
   onChosen(context, *status, [&context, names] {
      return values<rpc::AgentStatusesResponse, rpc::AgentStatusesRequest, rpc::AgentStatusResponse,
                    rpc::AgentStatusRequest>(context, *names, "statuses", "status");
   });
   auto* setCommand = command.add_subcommand("set", "Set status entries");
   setCommand->add_option("pairs", *names, "Entries to set")->required()->type_name("NAME=VALUE");
   onChosen(context, *setCommand, [&context, names] { return set(context, *names); });
   auto* delCommand = command.add_subcommand("del", "Delete status entries");
   delCommand->add_option("names", *names, "Entries to delete")->required()->type_name("NAME");
   onChosen(context, *delCommand, [&context, names] { return del(context, *names); });
}

void addLifeCommands(CLI::App& command, Context& context) {
   auto payload = std::make_shared<std::string>();
   auto count = std::make_shared<uint64_t>(1);
   auto* pingCommand =
        command.add_subcommand("ping", "How long work waits for the switch's main loop, which answers");
   pingCommand->add_option("--payload", *payload, "Comes back as it is")->type_name("TEXT");
   addNumber(*pingCommand, "-n,--count", *count, 1, UINT64_MAX, "Number of pings, one after another [1]");
   onChosen(context, *pingCommand, [&context, payload, count] { return ping(context, *payload, *count); });

   onChosen(context, *command.add_subcommand("uptime", "Seconds since the agent started"), [&context] {
      auto connection = context.connect();
      const double uptime = ask<rpc::AgentUptimeResponse>(connection, "AgentService/agent_uptime", "",
                                                          rpc::AgentUptimeRequest())
                                 .uptime();
      printValue(context, "uptime", uptime, fmt::format("{:.3f}", uptime));
      return kOk;
   });
   onChosen(context, *command.add_subcommand("enabled", "Whether the operator wants the agent to run"),
            [&context] {
               auto connection = context.connect();
               const bool enabled = ask<rpc::AgentEnabledResponse>(connection, "AgentService/enabled", "",
                                                                   rpc::AgentEnabledRequest())
                                         .enabled();
               printValue(context, "enabled", enabled, enabled ? "yes" : "no");
               return kOk;
            });
   auto name = std::make_shared<std::string>();
   auto* id = command.add_subcommand("id", "The number of an agent; 0 if no agent has this name");
   id->add_option("name", *name, "Agent")->required()->type_name("NAME");
   onChosen(context, *id, [&context, name] {
      rpc::AgentIdRequest request;
      request.set_name(*name);
      auto connection = context.connect();
      const uint64_t number =
           ask<rpc::AgentIdResponse>(connection, "AgentService/agent_id", *name, request).id();
      printValue(context, "id", number, std::to_string(number));
      return kOk;
   });
}

}  // namespace AgentCommands

void addAgentCommand(CLI::App& app, Context& context) {
   using namespace AgentCommands;
   auto* command = app.add_subcommand("agent", "The agent: its options, its status entries and its life");
   command->require_subcommand(1);
   addValueCommands(*command, context);
   addLifeCommands(*command, context);
}

}  // namespace orvctl
