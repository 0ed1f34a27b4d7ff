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
   std::vector<std::string> names;
   std::vector<std::string> nexthops;
   std::vector<std::string> backups;
   bool countersUnshared = false;
   bool autosize = false;
   std::string file;
   size_t batch = 1000;
};

int send(Context& context, const BulkPlan<pb::nexthop_group_bulk_msg>& plan) {
   auto connection = context.connect();
   Progress bar(context.err, context.interactive && !context.json, plan.size());
   const auto result = sendBulk(
        plan,
        [&](const auto& request) {
           return connection.call("nexthop_group_bulk", &Stub::nexthop_group_bulk, request);
        },
        [](const pb::nexthop_group_msg& item) { return item.name(); },
        [&](size_t done) { bar.doneIs(done); });
   return reportBulk(context, result);
}

int sendOne(Context& context, const pb::nexthop_group_msg& request) {
   auto connection = context.connect();
   const auto status = connection.call("nexthop_group", &Stub::nexthop_group, request);
   if (context.json) context.out << messageToJson(status) << '\n';
   if (status.status() == pb::RPC_STATUS_OK) return kOk;
   if (!context.json) context.err << fmt::format("{}: {}\n", request.name(), statusText(status));
   return kRefused;
}

BulkPlan<pb::nexthop_group_bulk_msg> planFromFile(Context& context, const Flags& flags, bool deletes) {
   BulkPlan<pb::nexthop_group_bulk_msg> plan(flags.batch);
   forEachLine(context, "--file", flags.file, [&](std::string_view line, size_t number) {
      pb::nexthop_group_msg group;
      if (deletes && !line.starts_with('{')) {
         group.set_name(std::string(line));
      } else {
         messageFromJson(fmt::format("{} line {}", flags.file, number), line, group);
      }
      if (deletes) group.set_delete_(true);
      plan.add(std::move(group), number);
   });
   return plan;
}

int set(Context& context, const Flags& flags) {
   if (!flags.file.empty()) {
      if (!flags.names.empty() || !flags.nexthops.empty() || !flags.backups.empty()) {
         throw UsageError("--file stands beside NAME or --nexthop, expected one or the other");
      }
      return send(context, planFromFile(context, flags, false));
   }
   if (flags.names.empty())
      throw UsageError("NAME is missing, expected 'nhg set NAME --nexthop …' or 'nhg set --file FILE'");
   if (flags.nexthops.empty()) throw UsageError("--nexthop is missing, expected at least one");
   pb::nexthop_group_msg group;
   group.set_name(flags.names.front());
   for (const auto& text : flags.nexthops)
      *group.add_nexthops() = parseNexthop("--nexthop", text);
   for (const auto& text : flags.backups)
      *group.add_backup_nexthops() = parseNexthop("--backup", text);
   group.set_counters_unshared(flags.countersUnshared);
   group.set_autosize(flags.autosize);
   return sendOne(context, group);
}

int del(Context& context, const Flags& flags) {
   if (!flags.file.empty()) {
      if (!flags.names.empty()) throw UsageError("--file stands beside NAME, expected one or the other");
      return send(context, planFromFile(context, flags, true));
   }
   if (flags.names.empty())
      throw UsageError("NAME is missing, expected 'nhg del NAME…' or 'nhg del --file FILE'");
   BulkPlan<pb::nexthop_group_bulk_msg> plan(flags.batch);
   for (size_t i = 0; i < flags.names.size(); ++i) {
      pb::nexthop_group_msg group;
      group.set_name(flags.names[i]);
      group.set_delete_(true);
      if (flags.names.size() == 1) return sendOne(context, group);
      plan.add(std::move(group), i + 1);
   }
   return send(context, plan);
}

}  // namespace

void addNexthopGroupCommand(CLI::App& app, Context& context) {
   auto* command = app.add_subcommand("nhg", "Nexthop groups");
   command->require_subcommand(1);
   auto flags = std::make_shared<Flags>();

   auto* setCommand = command->add_subcommand("set", "Add a group, or replace it as a whole");
   setCommand->add_option("name", flags->names, "Group")->expected(0, 1)->type_name("NAME");
   setCommand
        ->add_option(
             "-n,--nexthop", flags->nexthops,
             "One entry: intf=NAME,address=IP,labels=L/L…,op=none|push|pop|swap|forward,weight=N; repeatable")
        ->expected(1)
        ->take_all()
        ->type_name("ENTRY");
   setCommand->add_option("--backup", flags->backups, "One backup entry, in the same form; repeatable")
        ->expected(1)
        ->take_all()
        ->type_name("ENTRY");
   setCommand->add_flag("--counters-unshared", flags->countersUnshared,
                        "Count apart from groups of the same entries");
   setCommand->add_flag("--autosize", flags->autosize,
                        "Let the switch shrink the group to the entries that resolve");
   setCommand
        ->add_option("-f,--file", flags->file,
                     "Many groups: one JSON nexthop_group_msg per line; - for stdin")
        ->type_name("FILE");
   addNumber(*setCommand, "--batch", flags->batch, 1, 100000, "Groups per request with --file [1000]");
   onChosen(context, *setCommand, [&context, flags] { return set(context, *flags); });

   auto* delCommand = command->add_subcommand("del", "Delete groups");
   delCommand->add_option("names", flags->names, "Groups")->type_name("NAME");
   delCommand->add_option("-f,--file", flags->file, "Many groups: one name or JSON per line; - for stdin")
        ->type_name("FILE");
   addNumber(*delCommand, "--batch", flags->batch, 1, 100000, "Groups per request [1000]");
   onChosen(context, *delCommand, [&context, flags] { return del(context, *flags); });

   addNexthopGroupViews(*command, context);
}

}  // namespace orvctl
