// The command fib: the routes by which the switch forwards, and the forwarding equivalence classes (FECs)
// that they use.
#include <fmt/format.h>

#include <memory>

#include "OrvSdkRpcProtos/fib.pb.h"
#include "orvctl/EnumWords.h"
#include "orvctl/JsonText.h"
#include "orvctl/Mirror.h"
#include "orvctl/Rows.h"
#include "orvctl/Vias.h"
#include "orvctl/commands/Commands.h"
#include "orvctl/commands/Watch.h"

namespace orvctl {
namespace rpc = orv::remote;

namespace FibCommands {

using Keys = std::vector<std::string>;

nlohmann::ordered_json routeRow(const rpc::FibRoute& route) {
   return {{"prefix", prefixText(route.route_key().prefix())},
           {"preference", route.preference()},
           {"metric", route.metric()},
           {"type", enumWord(route.route_type())},
           {"fec", route.fec_id()}};
}

nlohmann::ordered_json fecRow(const Context& context, const rpc::FibFec& fec) {
   nlohmann::ordered_json row{{"fec", fec.fec_key().fec_id()},
                              {"type", enumWord(fec.fec_type())},
                              {"group", fec.nexthop_group_name()}};
   if (context.json) {
      row["vias"] = nlohmann::ordered_json::array();
      for (const auto& via : fec.via())
         row["vias"].push_back(messageToTree(via));
   } else {
      std::vector<std::string> texts;
      for (const auto& via : fec.via())
         texts.push_back(viaText(via));
      row["vias"] = fmt::format("{}", fmt::join(texts, ", "));
   }
   return row;
}

int listRoutes(Context& context, Rows& rows) {
   auto connection = context.connect();
   listMirror<rpc::FibRoutesResponse>(
        context, connection, "FibMgrService/fib_routes", rpc::FibRoutesRequest(),
        [&](const rpc::FibRoutesResponse& reply) { return rows.add(routeRow(reply.fib_route())); });
   return kOk;
}

int getRoutes(Context& context, Rows& rows, const Keys& prefixes) {
   std::vector<rpc::FibRouteRequest> requests;
   for (const auto& text : prefixes)
      *requests.emplace_back().mutable_key()->mutable_prefix() = parseWirePrefix("PREFIX", text);
   auto connection = context.connect();
   int code = kOk;
   for (const auto& request : requests) {
      const std::string prefix = prefixText(request.key().prefix());
      const auto route =
           ask<rpc::FibRouteResponse>(connection, "FibMgrService/fib_route", prefix, request).fib_route();
      if (route.route_key().prefix().network().empty()) {
         context.err << fmt::format("{}: there is no such route\n", prefix);
         code = kRefused;
      } else {
         rows.add(routeRow(route));
      }
   }
   return code;
}

int showRoutes(Context& context, const Keys& prefixes) {
   Rows rows(context, {"prefix", "preference", "metric", "type", "fec"});
   const int code = prefixes.empty() ? listRoutes(context, rows) : getRoutes(context, rows, prefixes);
   rows.finish();
   return code;
}

int listFecs(Context& context, Rows& rows) {
   auto connection = context.connect();
   listMirror<rpc::FibFecsResponse>(
        context, connection, "FibMgrService/fib_fecs", rpc::FibFecsRequest(),
        [&](const rpc::FibFecsResponse& reply) { return rows.add(fecRow(context, reply.fib_fec())); });
   return kOk;
}

int getFecs(Context& context, Rows& rows, const Keys& ids) {
   std::vector<rpc::FibFecRequest> requests;
   for (const auto& text : ids)
      requests.emplace_back().mutable_key()->set_fec_id(parseNumber("FEC", text, 1, UINT64_MAX));
   auto connection = context.connect();
   int code = kOk;
   for (const auto& request : requests) {
      const std::string id = std::to_string(request.key().fec_id());
      const auto fec =
           ask<rpc::FibFecResponse>(connection, "FibMgrService/fib_fec", "FEC " + id, request).fib_fec();
      if (fec.fec_key().fec_id() == 0) {
         context.err << fmt::format("{}: there is no such FEC\n", id);
         code = kRefused;
      } else {
         rows.add(fecRow(context, fec));
      }
   }
   return code;
}

int showFecs(Context& context, const Keys& ids) {
   Rows rows(context, {"fec", "type", "group", "vias"});
   const int code = ids.empty() ? listFecs(context, rows) : getFecs(context, rows, ids);
   rows.finish();
   return code;
}

}  // namespace FibCommands

void addFibCommand(CLI::App& app, Context& context) {
   using namespace FibCommands;
   auto* command = app.add_subcommand("fib", "Routes of the default VRF as the switch forwards by them");
   command->require_subcommand(1);
   command->footer("The daemon serves the FIB with --fib.");
   auto keys = std::make_shared<Keys>();

   auto* routes = command->add_subcommand("routes", "All routes, or those given");
   routes->add_option("prefixes", *keys, "Prefixes")->type_name("PREFIX");
   onChosen(context, *routes, [&context, keys] { return showRoutes(context, *keys); });

   auto* fecs =
        command->add_subcommand("fecs", "All forwarding equivalence classes with their vias, or those given");
   fecs->add_option("fecs", *keys, "Numbers of FECs")->type_name("FEC");
   onChosen(context, *fecs, [&context, keys] { return showFecs(context, *keys); });

   addWatchOf(*command, context, watchRpc("fib"), "watch");
}

}  // namespace orvctl
