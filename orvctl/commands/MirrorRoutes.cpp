#include "orvctl/commands/MirrorRoutes.h"

#include <fmt/format.h>

#include <memory>

#include "OrvSdkRpcProtos/ip_route.pb.h"
#include "OrvSdkRpcProtos/mpls_route.pb.h"
#include "orvctl/EnumWords.h"
#include "orvctl/Mirror.h"
#include "orvctl/Vias.h"

namespace orvctl {
namespace rpc = orv::remote;

namespace MirrorRoutes {

struct SetFlags {
   std::string prefix, vrf, action, commandTag;
   std::vector<std::string> vias;
   uint32_t preference = 1;
   uint32_t tag = 0;
   bool ribBypass = false;
   bool replace = false;
};

rpc::IpRouteKey ipKey(const std::string& prefix, uint32_t preference) {
   rpc::IpRouteKey key;
   *key.mutable_prefix() = parseWirePrefix("PREFIX", prefix);
   key.set_preference(preference);
   return key;
}

void requireVias(bool replace, const std::vector<std::string>& vias) {
   if (replace && vias.empty())
      throw UsageError("--replace is given without --via, expected both or neither");
}

int setIpRoute(Context& context, const SetFlags& flags) {
   requireVias(flags.replace, flags.vias);
   if (!flags.vrf.empty() && !flags.action.empty())
      throw UsageError("--vrf is given with --action, expected one or the other");
   rpc::IpRouteSetRequest request;
   auto& route = *request.mutable_ip_route();
   *route.mutable_key() = ipKey(flags.prefix, flags.preference);
   route.set_tag(flags.tag);
   route.set_rib_bypass(flags.ribBypass);
   route.set_command_tag(flags.commandTag);
   for (const auto& via : flags.vias) {
      auto& added = *request.add_vias();
      added = parseIpRouteVia("--via", via);
      *added.mutable_route_key() = route.key();
   }
   request.set_vias_action(flags.replace ? 1 : 0);
   if (!flags.vrf.empty()) request.set_vrf_name(flags.vrf);
   if (!flags.action.empty()) {
      request.set_action(static_cast<rpc::IpRouteActions>(
           parseEnum("--action", flags.action, *rpc::IpRouteActions_descriptor())));
   }
   auto connection = context.connect();
   ask<rpc::IpRouteSetResponse>(connection, "IpRouteMgrService/ip_route_set", flags.prefix, request);
   return kOk;
}

rpc::MplsRouteKey mplsKey(const std::string& labels, const MplsEditFlags& flags) {
   rpc::MplsRouteKey key = parseLabels("LABEL", labels);
   key.set_metric(flags.metric);
   return key;
}

CLI::Option* addMirror(CLI::App& command, bool& mirror, const std::vector<CLI::Option*>& others,
                       const std::string& service) {
   auto* option = command.add_flag(
        "--mirror", mirror,
        fmt::format("Through {}, instead of the programming service: no init is needed", service));
   for (CLI::Option* other : others)
      option->excludes(other);
   return option;
}

CLI::Option* addVias(CLI::App& command, std::vector<std::string>& vias, const std::string& example) {
   return command
        .add_option("--via", vias, fmt::format("One via, such as {}, or as JSON; repeatable", example))
        ->expected(1)
        // The word after a via may be the route.
        ->allow_extra_args(false)
        ->take_all()
        ->type_name("VIA");
}

}  // namespace MirrorRoutes

void addIpRouteDelFlags(CLI::App& command, IpRouteDelFlags& flags, const std::vector<CLI::Option*>& others) {
   using namespace MirrorRoutes;
   auto* mirror = addMirror(command, flags.mirror, others, "IpRouteMgrService");
   command.add_option("--vrf", flags.vrf, "With --mirror: VRF of the routes [default]")
        ->type_name("NAME")
        ->needs(mirror);
   addNumber(command, "--preference", flags.preference, 0, UINT8_MAX,
             "With --mirror: preference of the routes [1]")
        ->needs(mirror);
}

int deleteIpRoutes(Context& context, const std::vector<std::string>& prefixes, const IpRouteDelFlags& flags) {
   if (prefixes.empty()) throw UsageError("PREFIX is missing, expected 'route del --mirror PREFIX…'");
   rpc::BulkIpRouteDelRequest request;
   for (const auto& prefix : prefixes) {
      auto& item = *request.add_requests();
      item.set_vrf_name(flags.vrf);
      *item.mutable_key() = MirrorRoutes::ipKey(prefix, flags.preference);
   }
   auto connection = context.connect();
   const auto reply =
        ask<rpc::BulkIpRouteDelResponse>(connection, "IpRouteMgrService/bulk_ip_route_del", "", request);
   return reportMirrorBulk(context, reply.status(), reply.count(), prefixes.size(),
                           [&](uint64_t index) { return prefixes[index]; });
}

void addIpRouteSet(CLI::App& command, Context& context) {
   using namespace MirrorRoutes;
   auto flags = std::make_shared<SetFlags>();
   auto* setCommand = command.add_subcommand("set", "Set a route with its vias, through IpRouteMgrService");
   setCommand->footer(
        "Vias are added to those that the route has. If the switch refuses one, it deletes the route, unless "
        "--replace was given: then the route has its former vias again.");
   setCommand->add_option("prefix", flags->prefix, "Prefix, such as 192.0.2.0/24")
        ->required()
        ->type_name("PREFIX");
   addVias(*setCommand, flags->vias, "address=10.0.0.1,intf=Ethernet1,weight=2 or group=NAME");
   setCommand->add_flag("--replace", flags->replace,
                        "The vias take the place of those that the route has, if nothing else of it changes");
   setCommand->add_option("--vrf", flags->vrf, "VRF of the route [default]")->type_name("NAME");
   setCommand->add_option("--action", flags->action, "Action of the route, in the default VRF [forward]")
        ->type_name(enumWords(*rpc::IpRouteActions_descriptor()));
   addNumber(*setCommand, "--preference", flags->preference, 0, UINT8_MAX, "Preference of the route [1]");
   addNumber(*setCommand, "--tag", flags->tag, 0, UINT32_MAX, "Tag of the route [0]");
   setCommand->add_flag("--rib-bypass", flags->ribBypass, "Into the FIB without the RIB's selection");
   setCommand->add_option("--command-tag", flags->commandTag, "Command tag of the route")->type_name("NAME");
   onChosen(context, *setCommand, [&context, flags] { return setIpRoute(context, *flags); });
}

void addMplsSetFlags(CLI::App& command, MplsEditFlags& flags, const std::vector<CLI::Option*>& others) {
   using namespace MirrorRoutes;
   auto* mirror = addMirror(command, flags.mirror, others, "MplsRouteMgrService");
   command.footer(
        "With --mirror, LABEL may be several, such as 100/200, the outermost first. Vias are added to those "
        "that the route has. If the switch refuses one, it deletes the route, unless --replace was given.");
   addVias(command, flags.vias, "address=10.0.0.1,op=swap,label=200 or group=NAME,op=pop, with --mirror")
        ->needs(mirror);
   command
        .add_flag("--replace", flags.replace, "With --mirror: the vias take the place of those of the route")
        ->needs(mirror);
   addNumber(command, "--metric", flags.metric, 0, UINT8_MAX, "With --mirror: metric of the route [0]")
        ->needs(mirror);
   addNumber(command, "--version-id", flags.version, 1, UINT16_MAX,
             "With --mirror: version of the route [none]")
        ->needs(mirror);
}

void addMplsDelFlags(CLI::App& command, MplsEditFlags& flags, const std::vector<CLI::Option*>& others) {
   using namespace MirrorRoutes;
   auto* mirror = addMirror(command, flags.mirror, others, "MplsRouteMgrService");
   addNumber(command, "--metric", flags.metric, 0, UINT8_MAX, "With --mirror: metric of the routes [0]")
        ->needs(mirror);
}

int setMplsRoute(Context& context, const std::vector<std::string>& labels, const MplsEditFlags& flags) {
   if (labels.empty()) throw UsageError("LABEL is missing, expected 'mpls set --mirror LABEL …'");
   MirrorRoutes::requireVias(flags.replace, flags.vias);
   rpc::MplsRouteSetRequest request;
   auto& route = *request.mutable_route();
   *route.mutable_key() = MirrorRoutes::mplsKey(labels.front(), flags);
   if (flags.version) route.set_version_id(*flags.version);
   for (const auto& via : flags.vias) {
      auto& added = *request.add_vias();
      added = parseMplsRouteVia("--via", via);
      *added.mutable_route_key() = route.key();
   }
   request.set_vias_action(flags.replace ? rpc::MPLS_ROUTE_VIAS_ACTION_REPLACE
                                         : rpc::MPLS_ROUTE_VIAS_ACTION_ADD);
   auto connection = context.connect();
   ask<rpc::MplsRouteSetResponse>(connection, "MplsRouteMgrService/mpls_route_set", labels.front(), request);
   return kOk;
}

int deleteMplsRoutes(Context& context, const std::vector<std::string>& labels, const MplsEditFlags& flags) {
   if (labels.empty()) throw UsageError("LABEL is missing, expected 'mpls del --mirror LABEL…'");
   rpc::BulkMplsRouteDelRequest request;
   for (const auto& label : labels)
      *request.add_requests()->mutable_route_key() = MirrorRoutes::mplsKey(label, flags);
   auto connection = context.connect();
   const auto reply = ask<rpc::BulkMplsRouteDelResponse>(
        connection, "MplsRouteMgrService/bulk_mpls_route_del", "", request);
   return reportMirrorBulk(context, reply.status(), reply.count(), labels.size(),
                           [&](uint64_t index) { return "label " + labels[index]; });
}

}  // namespace orvctl
