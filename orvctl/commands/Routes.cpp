#include <fmt/format.h>

#include <memory>

#include "orvctl/commands/Commands.h"
#include "orvctl/commands/MirrorRoutes.h"
#include "orvctl/commands/Programming.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;
using Stub = Connection::Programming::StubInterface;

namespace RouteCommands {

struct Flags {
   std::vector<std::string> prefixes;
   std::string group;
   uint32_t tag = 0;
   std::string file;
   size_t batch = 1000;
   IpRouteDelFlags del;
};

using Plan = BulkPlan<pb::ip_route_bulk_msg>;

std::string nameOf(const pb::ip_route_msg& route) {
   return prefixText(route.prefix());
}

int sendOne(Context& context, const pb::ip_route_msg& route) {
   return sendItem(context, "ip_route", &Stub::ip_route, route, nameOf(route));
}

int sendAll(Context& context, const Plan& plan) {
   return sendItems(context, "ip_route_bulk", &Stub::ip_route_bulk, plan, nameOf);
}

std::string_view nextWord(std::string_view& rest) {
   const size_t end = rest.find_first_of(" \t");
   const std::string_view word = rest.substr(0, end);
   const size_t next = end == std::string_view::npos ? end : rest.find_first_not_of(" \t", end);
   rest = next == std::string_view::npos ? std::string_view() : rest.substr(next);
   return word;
}

// "PREFIX NHG [TAG]" or a JSON ip_route_msg.
pb::ip_route_msg routeFromLine(const std::string& where, std::string_view line, uint32_t tag) {
   pb::ip_route_msg route;
   route.set_tag(tag);
   if (line.starts_with('{')) {
      messageFromJson(where, line, route);
      if (route.tag() == 0) route.set_tag(tag);
   } else {
      std::string_view rest = line;
      *route.mutable_prefix() = parsePrefix(where, nextWord(rest));
      route.set_nexthop_group_name(std::string(nextWord(rest)));
      if (!rest.empty())
         route.set_tag(static_cast<uint32_t>(parseNumber(where + " tag", rest, 0, UINT32_MAX)));
   }
   if (route.nexthop_group_name().empty()) {
      throw UsageError(fmt::format(
           "{} is '{}', expected 'PREFIX NHG [TAG]' or a JSON ip_route_msg with nexthop_group_name", where,
           line));
   }
   return route;
}

int load(Context& context, const Flags& flags) {
   Plan plan(flags.batch);
   forEachLine(context, "FILE", flags.file, [&](std::string_view line, size_t number) {
      plan.add(routeFromLine(fmt::format("{} line {}", flags.file, number), line, flags.tag), number);
   });
   return sendAll(context, plan);
}

int del(Context& context, const Flags& flags) {
   if (flags.del.mirror) return deleteIpRoutes(context, flags.prefixes, flags.del);
   Plan plan(flags.batch);
   const auto add = [&](const std::string& what, std::string_view text, size_t number) {
      pb::ip_route_msg route;
      // The rest of the line is ignored, so that a file for 'route load' works here too.
      *route.mutable_prefix() = parsePrefix(what, nextWord(text));
      plan.add(std::move(route), number);
   };
   forEachDeleted(context, "route del", "PREFIX", flags.file, flags.prefixes, add);
   return flags.file.empty() && plan.size() == 1 ? sendOne(context, plan.requests().front().bulk(0))
                                                 : sendAll(context, plan);
}

}  // namespace RouteCommands

void addRouteCommand(CLI::App& app, Context& context) {
   using namespace RouteCommands;
   auto* command = app.add_subcommand("route", "IP routes over nexthop groups");
   command->require_subcommand(1);
   auto flags = std::make_shared<Flags>();

   auto* addCommand = command->add_subcommand("add", "Point a prefix at a nexthop group");
   addCommand->add_option("prefix", flags->prefixes, "Prefix, such as 192.0.2.0/24")
        ->required()
        ->expected(1)
        ->type_name("PREFIX");
   addCommand->add_option("--nhg", flags->group, "Nexthop group")->required()->type_name("NAME");
   addNumber(*addCommand, "--tag", flags->tag, 0, UINT32_MAX, "Tag of the route [0]");
   onChosen(context, *addCommand, [&context, flags] {
      if (flags->group.empty()) throw UsageError("--nhg is '', expected the name of a nexthop group");
      pb::ip_route_msg route;
      *route.mutable_prefix() = parsePrefix("PREFIX", flags->prefixes.front());
      route.set_nexthop_group_name(flags->group);
      route.set_tag(flags->tag);
      return sendOne(context, route);
   });

   auto* delCommand = command->add_subcommand("del", "Delete prefixes");
   delCommand->add_option("prefixes", flags->prefixes, "Prefixes")->type_name("PREFIX");
   auto* delFile =
        delCommand
             ->add_option("-f,--file", flags->file, "Many prefixes: the first word of each line; - for stdin")
             ->type_name("FILE");
   auto* delBatch = addNumber(*delCommand, "--batch", flags->batch, 1, 100000, "Routes per request [1000]");
   addIpRouteDelFlags(*delCommand, flags->del, {delFile, delBatch});
   onChosen(context, *delCommand, [&context, flags] { return del(context, *flags); });

   auto* loadCommand = command->add_subcommand("load", "Add many routes from a file");
   loadCommand->add_option("file", flags->file, "Lines 'PREFIX NHG [TAG]' or JSON ip_route_msg; - for stdin")
        ->required()
        ->type_name("FILE");
   addNumber(*loadCommand, "--tag", flags->tag, 0, UINT32_MAX, "Tag of routes whose line has none [0]");
   addNumber(*loadCommand, "--batch", flags->batch, 1, 100000, "Routes per request [1000]");
   onChosen(context, *loadCommand, [&context, flags] { return load(context, *flags); });

   addIpRouteSet(*command, context);
   addRouteViews(*command, context);
}

}  // namespace orvctl
