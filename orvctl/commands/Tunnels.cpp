#include <memory>

#include "orvctl/commands/Commands.h"
#include "orvctl/commands/Programming.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;
using Stub = Connection::Programming::StubInterface;

namespace TunnelCommands {

struct Flags {
   std::vector<std::string> prefixes;
   std::string group;
   uint32_t metric = 0;
   std::string file;
   size_t batch = 1000;
};

using Plan = BulkPlan<pb::nexthop_group_tunnel_bulk_msg>;

std::string nameOf(const pb::nexthop_group_tunnel_msg& tunnel) {
   return prefixText(tunnel.prefix());
}

int sendOne(Context& context, const pb::nexthop_group_tunnel_msg& tunnel) {
   return sendItem(context, "nexthop_group_tunnel", &Stub::nexthop_group_tunnel, tunnel, nameOf(tunnel));
}

int sendAll(Context& context, const Plan& plan) {
   return sendItems(context, "nexthop_group_tunnel_bulk", &Stub::nexthop_group_tunnel_bulk, plan, nameOf);
}

int set(Context& context, const Flags& flags) {
   if (!flags.file.empty()) {
      if (!flags.prefixes.empty() || !flags.group.empty())
         throw UsageError("--file is given with PREFIX or --nhg, expected one or the other");
      Plan plan(flags.batch);
      forEachLine(context, "--file", flags.file, [&](std::string_view line, size_t number) {
         const std::string where = fmt::format("{} line {}", flags.file, number);
         pb::nexthop_group_tunnel_msg tunnel;
         messageFromJson(where, line, tunnel);
         // A message without a group is a delete.
         if (tunnel.nexthop_group_name().empty()) {
            throw UsageError(
                 fmt::format("{} is '{}', expected a JSON nexthop_group_tunnel_msg with nexthop_group_name",
                             where, line));
         }
         plan.add(std::move(tunnel), number);
      });
      return sendAll(context, plan);
   }
   if (flags.prefixes.empty() || flags.group.empty())
      throw UsageError(
           "PREFIX or --nhg is missing, expected 'tunnel set PREFIX --nhg NAME' or 'tunnel set --file FILE'");
   pb::nexthop_group_tunnel_msg tunnel;
   *tunnel.mutable_prefix() = parsePrefix("PREFIX", flags.prefixes.front());
   tunnel.set_nexthop_group_name(flags.group);
   tunnel.set_igp_metric(flags.metric);
   return sendOne(context, tunnel);
}

int del(Context& context, const Flags& flags) {
   Plan plan(flags.batch);
   const auto add = [&](const std::string& what, std::string_view text, size_t number) {
      pb::nexthop_group_tunnel_msg tunnel;
      if (text.starts_with('{')) {
         messageFromJson(what, text, tunnel);
         tunnel.clear_nexthop_group_name();
      } else {
         *tunnel.mutable_prefix() = parsePrefix(what, text);
      }
      plan.add(std::move(tunnel), number);
   };
   forEachDeleted(context, "tunnel del", "PREFIX", flags.file, flags.prefixes, add);
   return flags.file.empty() && plan.size() == 1 ? sendOne(context, plan.requests().front().bulk(0))
                                                 : sendAll(context, plan);
}

}  // namespace TunnelCommands

void addTunnelCommand(CLI::App& app, Context& context) {
   using namespace TunnelCommands;
   auto* command = app.add_subcommand("tunnel", "Tunnel endpoints that resolve over nexthop groups");
   command->require_subcommand(1);
   auto flags = std::make_shared<Flags>();

   auto* setCommand = command->add_subcommand("set", "Announce an endpoint, or change it");
   setCommand->add_option("prefix", flags->prefixes, "Endpoint, such as 192.0.2.1/32")
        ->expected(0, 1)
        ->type_name("PREFIX");
   setCommand->add_option("--nhg", flags->group, "Nexthop group")->type_name("NAME");
   addNumber(*setCommand, "--metric", flags->metric, 0, UINT32_MAX, "IGP metric [0]");
   setCommand
        ->add_option("-f,--file", flags->file,
                     "Many: one JSON nexthop_group_tunnel_msg per line; - for stdin")
        ->type_name("FILE");
   addNumber(*setCommand, "--batch", flags->batch, 1, 100000, "Tunnels per request with --file [1000]");
   onChosen(context, *setCommand, [&context, flags] { return set(context, *flags); });

   auto* delCommand = command->add_subcommand("del", "Delete endpoints");
   delCommand->add_option("prefixes", flags->prefixes, "Endpoints")->type_name("PREFIX");
   delCommand->add_option("-f,--file", flags->file, "Many: one prefix or JSON per line; - for stdin")
        ->type_name("FILE");
   addNumber(*delCommand, "--batch", flags->batch, 1, 100000, "Tunnels per request [1000]");
   onChosen(context, *delCommand, [&context, flags] { return del(context, *flags); });
}

}  // namespace orvctl
