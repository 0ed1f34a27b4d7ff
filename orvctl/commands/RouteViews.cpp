// route list, get and vias: all routes of the switch, not only those of the programming service.
#include <fmt/format.h>

#include <memory>

#include "OrvSdkRpcProtos/ip_route.pb.h"
#include "orvctl/JsonText.h"
#include "orvctl/Mirror.h"
#include "orvctl/Rows.h"
#include "orvctl/Vias.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace rpc = orv::remote;

namespace RouteViews {

struct Flags {
   std::vector<std::string> prefixes;
   std::string vrf;
   uint32_t preference = 1;
   // Filters of the list.
   std::string vxlanIntf, vtep;
   uint32_t vni = 0;
   bool vias = false;
   bool viasOnly = false;
};

rpc::IpRouteKey keyOf(const std::string& prefix, const Flags& flags) {
   rpc::IpRouteKey key;
   *key.mutable_prefix() = parseWirePrefix("PREFIX", prefix);
   key.set_preference(flags.preference);
   return key;
}

nlohmann::ordered_json routeRow(const rpc::IpRoute& route) {
   return {{"prefix", prefixText(route.key().prefix())},
           {"preference", route.key().preference()},
           {"tag", route.tag()},
           {"rib_bypass", route.rib_bypass()},
           {"command_tag", route.command_tag()}};
}

// One via of a route: as text in a table, as a message in JSON.
nlohmann::ordered_json viaRow(const Context& context, const rpc::IpRouteVia& via) {
   return {{"prefix", prefixText(via.route_key().prefix())},
           {"preference", via.route_key().preference()},
           {"via", context.json ? messageToTree(via) : nlohmann::ordered_json(viaText(via))}};
}

int list(Context& context, const Flags& flags) {
   if (flags.vias && flags.viasOnly)
      throw UsageError("--vias is given with --vias-only, expected one or the other");
   rpc::IpRoutesRequest request;
   request.set_vrf_name(flags.vrf);
   if (!flags.vxlanIntf.empty()) *request.mutable_vxlan_intf_id() = intfId(flags.vxlanIntf);
   request.set_vni(flags.vni);
   request.set_vtep_addr(parseAddressBytes("--vtep", flags.vtep));
   request.set_embed_vias(flags.vias);
   request.set_include_vias(flags.viasOnly);
   request.set_vias_only(flags.viasOnly);

   std::vector<std::string> columns{"prefix", "preference"};
   if (flags.viasOnly) {
      columns.emplace_back("via");
   } else {
      columns.emplace_back("tag");
      if (flags.vias) columns.emplace_back("vias");
   }
   auto connection = context.connect();
   Rows rows(context, std::move(columns));
   listMirror<rpc::IpRoutesResponse>(context, connection, "IpRouteMgrService/ip_routes", request,
                                     [&](const rpc::IpRoutesResponse& reply) {
                                        if (reply.has_via()) return rows.add(viaRow(context, reply.via()));
                                        auto row = routeRow(reply.route());
                                        if (flags.vias && context.json) {
                                           row["vias"] = nlohmann::ordered_json::array();
                                           for (const auto& via : reply.vias())
                                              row["vias"].push_back(messageToTree(via));
                                        } else if (flags.vias) {
                                           std::vector<std::string> texts;
                                           for (const auto& via : reply.vias())
                                              texts.push_back(viaText(via));
                                           row["vias"] = fmt::format("{}", fmt::join(texts, ", "));
                                        }
                                        return rows.add(row);
                                     });
   rows.finish();
   return kOk;
}

template <typename Each>
void forEachVia(Context& context, Connection& connection, const rpc::IpRouteKey& key, const Flags& flags,
                Each each) {
   rpc::IpRouteViasRequest request;
   request.set_vrf_name(flags.vrf);
   *request.mutable_key() = key;
   listMirror<rpc::IpRouteViasResponse>(
        context, connection, "IpRouteMgrService/ip_route_vias", request,
        [&](const rpc::IpRouteViasResponse& reply) { return each(reply.via()); });
}

int get(Context& context, const Flags& flags) {
   std::vector<rpc::IpRouteKey> keys;
   for (const auto& prefix : flags.prefixes)
      keys.push_back(keyOf(prefix, flags));
   auto connection = context.connect();
   int code = kOk;
   for (const rpc::IpRouteKey& key : keys) {
      const std::string prefix = prefixText(key.prefix());
      rpc::IpRouteRequest request;
      request.set_vrf_name(flags.vrf);
      *request.mutable_key() = key;
      const auto route =
           ask<rpc::IpRouteResponse>(connection, "IpRouteMgrService/ip_route", prefix, request).ip_route();
      if (route.key().prefix().network().empty()) {
         context.err << fmt::format("{}: there is no such route\n", prefix);
         code = kRefused;
         continue;
      }
      if (context.json) {
         auto row = routeRow(route);
         row["vias"] = nlohmann::ordered_json::array();
         forEachVia(context, connection, key, flags, [&](const rpc::IpRouteVia& via) {
            row["vias"].push_back(messageToTree(via));
            return true;
         });
         context.out << row.dump() << '\n';
         continue;
      }
      context.out << fmt::format("{}: preference {}, tag {}{}{}\n", prefix, route.key().preference(),
                                 route.tag(), route.rib_bypass() ? ", bypasses the RIB" : "",
                                 route.command_tag().empty() ? "" : ", command tag " + route.command_tag());
      forEachVia(context, connection, key, flags, [&](const rpc::IpRouteVia& via) {
         context.out << fmt::format("  {}\n", viaText(via));
         return context.out.good();
      });
   }
   return code;
}

int vias(Context& context, const Flags& flags) {
   const rpc::IpRouteKey key = keyOf(flags.prefixes.front(), flags);
   auto connection = context.connect();
   Rows rows(context, {"prefix", "preference", "via"});
   forEachVia(context, connection, key, flags,
              [&](const rpc::IpRouteVia& via) { return rows.add(viaRow(context, via)); });
   rows.finish();
   return kOk;
}

CLI::Option* addPrefixes(CLI::App& command, Flags& flags, const std::string& description) {
   addNumber(command, "--preference", flags.preference, 0, UINT8_MAX, "Preference of the route [1]");
   command.add_option("--vrf", flags.vrf, "VRF of the route [default]")->type_name("NAME");
   return command.add_option("prefixes", flags.prefixes, description)->required()->type_name("PREFIX");
}

}  // namespace RouteViews

void addRouteViews(CLI::App& command, Context& context) {
   using namespace RouteViews;
   auto flags = std::make_shared<Flags>();

   auto* listCommand = command.add_subcommand("list", "Routes of the switch, whoever made them");
   listCommand->footer(
        "The filters select routes that have a via with all of these; all its vias are shown.");
   listCommand->add_option("--vrf", flags->vrf, "VRF of the routes, or all [default]")->type_name("NAME");
   listCommand->add_flag("--vias", flags->vias, "Show the vias of each route");
   listCommand->add_flag("--vias-only", flags->viasOnly, "Show one line for each via");
   addNumber(*listCommand, "--vni", flags->vni, 1, UINT32_MAX, "Filter: VNI");
   listCommand->add_option("--vxlan-intf", flags->vxlanIntf, "Filter: VXLAN interface")->type_name("INTF");
   listCommand->add_option("--vtep", flags->vtep, "Filter: VXLAN endpoint")->type_name("ADDRESS");
   onChosen(context, *listCommand, [&context, flags] { return list(context, *flags); });

   auto* getCommand = command.add_subcommand("get", "Routes with their vias");
   addPrefixes(*getCommand, *flags, "Prefixes");
   onChosen(context, *getCommand, [&context, flags] { return get(context, *flags); });

   auto* viasCommand = command.add_subcommand("vias", "Vias of a route");
   addPrefixes(*viasCommand, *flags, "Prefix")->expected(1);
   onChosen(context, *viasCommand, [&context, flags] { return vias(context, *flags); });
}

}  // namespace orvctl
