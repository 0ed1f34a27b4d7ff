#include <fmt/format.h>

#include <memory>

#include "orvctl/commands/Commands.h"
#include "orvctl/commands/Programming.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;
using Stub = Connection::Programming::StubInterface;

namespace NexthopGroupCommands {

struct Flags {
   std::vector<std::string> names;
   std::vector<std::string> nexthops;
   std::vector<std::string> backups;
   bool countersUnshared = false;
   bool autosize = false;
   std::string file;
   size_t batch = 1000;
};

using Plan = BulkPlan<pb::nexthop_group_bulk_msg>;

int sendOne(Context& context, const pb::nexthop_group_msg& group) {
   return sendItem(context, "nexthop_group", &Stub::nexthop_group, group, group.name());
}

int sendAll(Context& context, const Plan& plan) {
   return sendItems(context, "nexthop_group_bulk", &Stub::nexthop_group_bulk, plan,
                    [](const pb::nexthop_group_msg& group) { return group.name(); });
}

int set(Context& context, const Flags& flags) {
   if (!flags.file.empty()) {
      if (!flags.names.empty() || !flags.nexthops.empty() || !flags.backups.empty()) {
         throw UsageError("--file is given with NAME or --nexthop, expected one or the other");
      }
      Plan plan(flags.batch);
      forEachLine(context, "--file", flags.file, [&](std::string_view line, size_t number) {
         pb::nexthop_group_msg group;
         messageFromJson(fmt::format("{} line {}", flags.file, number), line, group);
         plan.add(std::move(group), number);
      });
      return sendAll(context, plan);
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
   Plan plan(flags.batch);
   const auto add = [&](const std::string& what, std::string_view text, size_t number) {
      pb::nexthop_group_msg group;
      if (text.starts_with('{')) {
         messageFromJson(what, text, group);
      } else {
         group.set_name(std::string(text));
      }
      group.set_delete_(true);
      plan.add(std::move(group), number);
   };
   forEachDeleted(context, "nhg del", "NAME", flags.file, flags.names, add);
   return flags.file.empty() && plan.size() == 1 ? sendOne(context, plan.requests().front().bulk(0))
                                                 : sendAll(context, plan);
}

}  // namespace NexthopGroupCommands

void addNexthopGroupCommand(CLI::App& app, Context& context) {
   using namespace NexthopGroupCommands;
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
