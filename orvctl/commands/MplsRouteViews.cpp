// mpls list, get, vias, status, watch and acks: all MPLS routes of the switch, not only those of the
// programming service.
#include <fmt/format.h>

#include <memory>
#include <optional>

#include "OrvSdkRpcProtos/mpls_route.pb.h"
#include "orvctl/JsonText.h"
#include "orvctl/Mirror.h"
#include "orvctl/Rows.h"
#include "orvctl/Vias.h"
#include "orvctl/commands/Commands.h"
#include "orvctl/commands/Watch.h"

namespace orvctl {
namespace rpc = orv::remote;

namespace MplsRouteViews {

struct Flags {
   std::vector<std::string> labels;
   std::optional<uint32_t> metric;
   bool vias = false;
   bool hardware = false;
};

template <typename Reply, typename Request>
Reply askRoute(Connection& connection, const std::string& method, const rpc::MplsRouteKey& key) {
   Request request;
   *request.mutable_route_key() = key;
   return ask<Reply>(connection, "MplsRouteMgrService/" + method, labelsText(key), request);
}

std::vector<rpc::MplsRouteKey> keysOf(const Flags& flags) {
   std::vector<rpc::MplsRouteKey> keys;
   for (const auto& labels : flags.labels) {
      keys.push_back(parseLabels("LABEL", labels));
      keys.back().set_metric(flags.metric.value_or(0));
   }
   return keys;
}

// Without --metric, the route is the one that hardware forwards by: the one with the smallest metric.
void chooseMetric(Connection& connection, const Flags& flags, rpc::MplsRouteKey& key) {
   if (flags.metric) return;
   key.set_metric(
        askRoute<rpc::MplsRouteMetricResponse, rpc::MplsRouteMetricRequest>(connection, "metric", key)
             .metric());
}

template <typename Reply, typename Request>
std::vector<rpc::MplsRouteVia> listVias(Context& context, Connection& connection, const std::string& method,
                                        const rpc::MplsRouteKey& key) {
   Request request;
   *request.mutable_route_key() = key;
   std::vector<rpc::MplsRouteVia> vias;
   listMirror<Reply>(context, connection, "MplsRouteMgrService/" + method, request, [&](const Reply& reply) {
      vias.push_back(reply.via());
      return true;
   });
   return vias;
}

// RETURNS: the vias of a route, as hardware has them or as configured.
std::vector<rpc::MplsRouteVia> readVias(Context& context, Connection& connection,
                                        const rpc::MplsRouteKey& key, bool hardware) {
   return hardware ? listVias<rpc::MplsRouteViaStatusesResponse, rpc::MplsRouteViaStatusesRequest>(
                          context, connection, "mpls_route_via_statuses", key)
                   : listVias<rpc::MplsRouteViasResponse, rpc::MplsRouteViasRequest>(context, connection,
                                                                                     "mpls_route_vias", key);
}

nlohmann::ordered_json viaTrees(const std::vector<rpc::MplsRouteVia>& vias) {
   auto trees = nlohmann::ordered_json::array();
   for (const auto& via : vias)
      trees.push_back(messageToTree(via));
   return trees;
}

// The vias of one row: text in a table, messages in JSON.
nlohmann::ordered_json viasCell(const Context& context, const std::vector<rpc::MplsRouteVia>& vias) {
   if (context.json) return viaTrees(vias);
   std::vector<std::string> texts;
   for (const auto& via : vias)
      texts.push_back(viaText(via));
   return fmt::format("{}", fmt::join(texts, ", "));
}

nlohmann::ordered_json keyRow(const rpc::MplsRouteKey& key) {
   return {{"labels", labelsText(key)}, {"metric", key.metric()}};
}

Rows routeRows(Context& context, const Flags& flags, std::vector<std::string> columns) {
   if (flags.vias) columns.emplace_back("vias");
   return {context, std::move(columns)};
}

int list(Context& context, const Flags& flags) {
   auto connection = context.connect();
   Rows rows = routeRows(context, flags, {"labels", "metric", "version"});
   listMirror<rpc::MplsRoutesResponse>(
        context, connection, "MplsRouteMgrService/mpls_routes", rpc::MplsRoutesRequest(),
        [&](const rpc::MplsRoutesResponse& reply) {
           auto row = keyRow(reply.route().key());
           row["version"] = reply.route().version_id();
           if (flags.vias)
              row["vias"] = viasCell(context, readVias(context, connection, reply.route().key(), false));
           return rows.add(row);
        });
   rows.finish();
   return kOk;
}

int status(Context& context, const Flags& flags) {
   auto connection = context.connect();
   Rows rows = routeRows(context, flags, {"labels", "metric", "fec", "version"});
   listMirror<rpc::MplsRouteStatusesResponse>(
        context, connection, "MplsRouteMgrService/mpls_route_statuses", rpc::MplsRouteStatusesRequest(),
        [&](const rpc::MplsRouteStatusesResponse& reply) {
           auto row = keyRow(reply.status().key());
           row["fec"] = reply.status().fec_id().id();
           row["version"] = reply.status().hw_version_id();
           if (flags.vias)
              row["vias"] = viasCell(context, readVias(context, connection, reply.status().key(), true));
           return rows.add(row);
        });
   rows.finish();
   return kOk;
}

void printRoute(Context& context, const rpc::MplsRouteKey& key, uint64_t fec,
                const std::vector<rpc::MplsRouteVia>& configured,
                const std::vector<rpc::MplsRouteVia>& programmed) {
   if (context.json) {
      auto row = keyRow(key);
      row["fec"] = fec;
      row["vias"] = viaTrees(configured);
      row["hardware_vias"] = viaTrees(programmed);
      context.out << row.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
      return;
   }
   context.out << fmt::format("{}: metric {}, {}\n", labelsText(key), key.metric(),
                              fec ? fmt::format("FEC {}", fec) : "not in hardware");
   for (const auto& via : configured)
      context.out << fmt::format("  configured: {}\n", viaText(via));
   for (const auto& via : programmed)
      context.out << fmt::format("  in hardware: {}\n", viaText(via));
}

int get(Context& context, const Flags& flags) {
   std::vector<rpc::MplsRouteKey> keys = keysOf(flags);
   auto connection = context.connect();
   int code = kOk;
   for (rpc::MplsRouteKey& key : keys) {
      chooseMetric(connection, flags, key);
      if (!askRoute<rpc::MplsRouteExistsResponse, rpc::MplsRouteExistsRequest>(connection, "exists", key)
                .exists()) {
         context.err << fmt::format("{}: there is no such route\n", labelsText(key));
         code = kRefused;
         continue;
      }
      const uint64_t fec =
           askRoute<rpc::MplsRouteFecIdResponse, rpc::MplsRouteFecIdRequest>(connection, "fec_id", key)
                .fec_id()
                .id();
      const auto configured = readVias(context, connection, key, false);
      printRoute(context, key, fec, configured, readVias(context, connection, key, true));
   }
   return code;
}

int vias(Context& context, const Flags& flags) {
   rpc::MplsRouteKey key = keysOf(flags).front();
   auto connection = context.connect();
   chooseMetric(connection, flags, key);
   Rows rows(context, {"labels", "metric", "via"});
   for (const auto& via : readVias(context, connection, key, flags.hardware)) {
      auto row = keyRow(key);
      row["via"] = context.json ? messageToTree(via) : nlohmann::ordered_json(viaText(via));
      rows.add(row);
   }
   rows.finish();
   return kOk;
}

CLI::Option* addLabels(CLI::App& command, Flags& flags, const std::string& description) {
   addNumber(command, "--metric", flags.metric, 0, UINT8_MAX,
             "Metric of the route [the smallest of these labels]");
   return command.add_option("labels", flags.labels, description)->required()->type_name("LABEL");
}

}  // namespace MplsRouteViews

void addMplsRouteViews(CLI::App& command, Context& context) {
   using namespace MplsRouteViews;
   auto flags = std::make_shared<Flags>();

   auto* listCommand = command.add_subcommand("list", "Routes of the switch, whoever made them");
   listCommand->add_flag("--vias", flags->vias, "Show the vias of each route");
   onChosen(context, *listCommand, [&context, flags] { return list(context, *flags); });

   auto* statusCommand = command.add_subcommand("status", "Routes in hardware, with FEC and version");
   statusCommand->add_flag("--vias", flags->vias, "Show the vias of each route in hardware");
   onChosen(context, *statusCommand, [&context, flags] { return status(context, *flags); });

   auto* getCommand = command.add_subcommand("get", "Routes with their vias, as configured and in hardware");
   addLabels(*getCommand, *flags, "Labels of each route, such as 100 or 100/200, outermost first");
   onChosen(context, *getCommand, [&context, flags] { return get(context, *flags); });

   auto* viasCommand = command.add_subcommand("vias", "Vias of a route");
   addLabels(*viasCommand, *flags, "Labels of the route, such as 100 or 100/200, outermost first")
        ->expected(1);
   viasCommand->add_flag("--hardware", flags->hardware, "As hardware has them, instead of as configured");
   onChosen(context, *viasCommand, [&context, flags] { return vias(context, *flags); });

   addWatchOf(command, context, watchRpc("mpls"), "watch");
   addWatchOf(command, context, watchRpc("mpls-acks"), "acks");
}

}  // namespace orvctl
