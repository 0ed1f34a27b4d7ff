#include <fmt/format.h>

#include <memory>

#include "orvctl/Bulk.h"
#include "orvctl/InBand.h"
#include "orvctl/JsonText.h"
#include "orvctl/Progress.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;
using Stub = Connection::Programming::StubInterface;

namespace {

struct Flags {
   std::vector<std::string> prefixes;
   std::string group;
   uint32_t tag = 0;
   std::string file;
   size_t batch = 1000;
};

using Plan = BulkPlan<pb::ip_route_bulk_msg>;

int send(Context& context, const Plan& plan) {
   auto connection = context.connect();
   Progress bar(context.err, context.interactive && !context.json, plan.size());
   const auto result = sendBulk(
        plan,
        [&](const auto& request) { return connection.call("ip_route_bulk", &Stub::ip_route_bulk, request); },
        [](const pb::ip_route_msg& item) { return prefixText(item.prefix()); },
        [&](size_t done) { bar.doneIs(done); });
   return reportBulk(context, result);
}

int sendOne(Context& context, const pb::ip_route_msg& request) {
   auto connection = context.connect();
   const auto status = connection.call("ip_route", &Stub::ip_route, request);
   if (context.json) context.out << messageToJson(status) << '\n';
   if (status.status() == pb::RPC_STATUS_OK) return kOk;
   if (!context.json)
      context.err << fmt::format("{}: {}\n", prefixText(request.prefix()), statusText(status));
   return kRefused;
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
   return send(context, plan);
}

int del(Context& context, const Flags& flags) {
   Plan plan(flags.batch);
   auto add = [&](std::string_view what, std::string_view text, size_t number) {
      pb::ip_route_msg route;
      *route.mutable_prefix() = parsePrefix(what, text);
      plan.add(std::move(route), number);
   };
   if (!flags.file.empty()) {
      if (!flags.prefixes.empty()) throw UsageError("--file stands beside PREFIX, expected one or the other");
      forEachLine(context, "--file", flags.file, [&](std::string_view line, size_t number) {
         add(fmt::format("{} line {}", flags.file, number), nextWord(line), number);
      });
      return send(context, plan);
   }
   if (flags.prefixes.empty())
      throw UsageError("PREFIX is missing, expected 'route del PREFIX…' or 'route del --file FILE'");
   for (size_t i = 0; i < flags.prefixes.size(); ++i)
      add("PREFIX", flags.prefixes[i], i + 1);
   return plan.size() == 1 ? sendOne(context, plan.requests().front().bulk(0)) : send(context, plan);
}

}  // namespace

void addRouteCommand(CLI::App& app, Context& context) {
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

   auto* delCommand = command->add_subcommand("del", "Take prefixes away");
   delCommand->add_option("prefixes", flags->prefixes, "Prefixes")->type_name("PREFIX");
   delCommand->add_option("-f,--file", flags->file, "Many prefixes: the first word of each line; - for stdin")
        ->type_name("FILE");
   addNumber(*delCommand, "--batch", flags->batch, 1, 100000, "Routes per request [1000]");
   onChosen(context, *delCommand, [&context, flags] { return del(context, *flags); });

   auto* loadCommand = command->add_subcommand("load", "Add many routes from a file");
   loadCommand->add_option("file", flags->file, "Lines 'PREFIX NHG [TAG]' or JSON ip_route_msg; - for stdin")
        ->required()
        ->type_name("FILE");
   addNumber(*loadCommand, "--tag", flags->tag, 0, UINT32_MAX, "Tag of routes whose line has none [0]");
   addNumber(*loadCommand, "--batch", flags->batch, 1, 100000, "Routes per request [1000]");
   onChosen(context, *loadCommand, [&context, flags] { return load(context, *flags); });
}

}  // namespace orvctl
