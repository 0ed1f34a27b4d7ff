// init, resync and state: the controller's contract with the server.
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "orvctl/InBand.h"
#include "orvctl/JsonText.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;
using Stub = Connection::Programming::StubInterface;

namespace ServerCommands {

int report(Context& context, const pb::rpc_status_msg& status, std::string_view done) {
   if (context.json) {
      context.out << messageToJson(status) << '\n';
   } else if (status.status() == pb::RPC_STATUS_OK) {
      context.out << done << '\n';
   }
   if (status.status() == pb::RPC_STATUS_OK) return kOk;
   if (!context.json) context.err << statusText(status) << '\n';
   return kRefused;
}

int init(Context& context, const pb::rpc_server_config_msg& request) {
   auto connection = context.connect();
   auto reply = connection.call("rpc_server_init", &Stub::rpc_server_init, request);
   const bool ok = reply.status().status() == pb::RPC_STATUS_OK;
   if (context.json) {
      context.out << messageToJson(reply) << '\n';
      return ok ? kOk : kRefused;
   }
   if (!ok) {
      context.err << statusText(reply.status()) << '\n';
      return kRefused;
   }
   auto line = [&](std::string_view what, bool exists) {
      context.out << fmt::format("  {:<22}{}\n", what, exists ? "yes" : "no");
   };
   context.out << "initialized; the switch already holds\n";
   line("IP routes", reply.ip_routes_exist());
   line("MPLS routes", reply.mpls_routes_exist());
   line("nexthop groups", reply.nexthop_groups_exist());
   line("nexthop group tunnels", reply.nexthop_group_tunnels_exist());
   // Without a policy map, the answer about redirects is always yes and means nothing.
   if (!request.cbf_nexthop_group_redirect_policy_map_name().empty()) {
      line("CBF redirects", reply.cbf_redirects_exist());
   }
   return kOk;
}

int resync(Context& context, pb::rpc_server_resync_msg::resync_phase_enum phase, std::string_view done) {
   pb::rpc_server_resync_msg request;
   request.set_resync_phase(phase);
   auto connection = context.connect();
   return report(context, connection.call("rpc_server_resync", &Stub::rpc_server_resync, request), done);
}

int setState(Context& context, const pb::rpc_server_state_config_msg& request) {
   auto connection = context.connect();
   return report(context, connection.call("rpc_server_state", &Stub::rpc_server_state, request),
                 fmt::format("{} set, {} deleted", request.key_value_pairs_size(), request.deletes_size()));
}

int getState(Context& context, const std::vector<std::string>& keys) {
   pb::rpc_server_state_status_msg request;
   for (const auto& key : keys)
      request.add_key_value_pairs()->set_key(key);
   auto connection = context.connect();
   auto reply = connection.call("get_rpc_server_state", &Stub::get_rpc_server_state, request);
   if (context.json) {
      nlohmann::ordered_json values = nlohmann::ordered_json::object();
      for (const auto& pair : reply.key_value_pairs())
         values[pair.key()] = pair.value();
      context.out << values.dump() << '\n';
   } else {
      for (const auto& pair : reply.key_value_pairs())
         context.out << pair.key() << '=' << pair.value() << '\n';
   }
   if (static_cast<size_t>(reply.key_value_pairs_size()) < keys.size()) {
      context.err << fmt::format("the server answered {} of {} keys: it met an error at '{}'\n",
                                 reply.key_value_pairs_size(), keys.size(),
                                 keys[static_cast<size_t>(reply.key_value_pairs_size())]);
      return kRefused;
   }
   return kOk;
}

}  // namespace ServerCommands

void addInitCommand(CLI::App& app, Context& context) {
   using namespace ServerCommands;
   auto* command = app.add_subcommand("init", "Configure the server for its controller; report what exists");
   auto request = std::make_shared<pb::rpc_server_config_msg>();
   auto tag = std::make_shared<uint32_t>(0);
   auto policyMap = std::make_shared<std::string>();
   addNumber(*command, "--tag", *tag, 0, UINT32_MAX,
             "Tag that every route of the controller carries; 0: any");
   command->add_option("--policy-map", *policyMap, "Policy map of the CBF redirects")->type_name("NAME");
   onChosen(context, *command, [&context, request, tag, policyMap] {
      request->set_ip_route_tag(*tag);
      request->set_cbf_nexthop_group_redirect_policy_map_name(*policyMap);
      return init(context, *request);
   });
}

void addResyncCommand(CLI::App& app, Context& context) {
   using namespace ServerCommands;
   auto* command = app.add_subcommand("resync", "Frame a full replay: its end removes what was not replayed");
   command->require_subcommand(1);
   onChosen(context, *command->add_subcommand("start", "Begin the replay"), [&context] {
      return resync(context, pb::rpc_server_resync_msg::RESYNC_START, "resync started");
   });
   onChosen(context, *command->add_subcommand("end", "End it: remove what was not replayed"),
            [&context] { return resync(context, pb::rpc_server_resync_msg::RESYNC_END, "resync ended"); });
}

void addStateCommand(CLI::App& app, Context& context) {
   using namespace ServerCommands;
   auto* command = app.add_subcommand("state", "The controller's notes that the server keeps");
   command->require_subcommand(1);
   auto words = std::make_shared<std::vector<std::string>>();
   auto* set = command->add_subcommand("set", "Set notes");
   set->add_option("pairs", *words, "Notes to set")->required()->type_name("KEY=VALUE");
   onChosen(context, *set, [&context, words] {
      pb::rpc_server_state_config_msg request;
      for (const auto& word : *words) {
         auto [key, value] = parseKeyValue("the note", word);
         auto* pair = request.add_key_value_pairs();
         pair->set_key(key);
         pair->set_value(value);
      }
      return setState(context, request);
   });
   auto* get = command->add_subcommand("get", "Read notes; one that was never set reads as empty");
   get->add_option("keys", *words, "Keys to read")->required()->type_name("KEY");
   onChosen(context, *get, [&context, words] { return getState(context, *words); });
   auto* del = command->add_subcommand("del", "Delete notes");
   del->add_option("keys", *words, "Keys to delete")->required()->type_name("KEY");
   onChosen(context, *del, [&context, words] {
      pb::rpc_server_state_config_msg request;
      for (const auto& word : *words)
         request.add_deletes()->set_key(word);
      return setState(context, request);
   });
}

}  // namespace orvctl
