// nhg list, show and counters: all groups of the switch, not only those of the programming service.
#include <fmt/format.h>

#include <memory>

#include "OrvSdkRpcProtos/nexthop_group.pb.h"
#include "orvctl/EnumWords.h"
#include "orvctl/JsonText.h"
#include "orvctl/Mirror.h"
#include "orvctl/Rows.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace rpc = orv::remote;

namespace NexthopGroupViews {

int list(Context& context) {
   auto connection = context.connect();
   Rows rows(context, {"name", "type", "entries", "version"});
   listMirror<rpc::NexthopGroupsResponse>(context, connection, "NexthopGroupMgrService/nexthop_groups",
                                          rpc::NexthopGroupsRequest(),
                                          [&](const rpc::NexthopGroupsResponse& reply) {
                                             const auto& group = reply.nexthop_group();
                                             return rows.add({{"name", group.name()},
                                                              {"type", enumWord(group.type())},
                                                              {"entries", group.nexthops_size()},
                                                              {"version", group.version_id()}});
                                          });
   rows.finish();
   return kOk;
}

int listProgrammed(Context& context) {
   auto connection = context.connect();
   Rows rows(context, {"name"});
   listMirror<rpc::ProgrammedNexthopGroupsResponse>(
        context, connection, "NexthopGroupMgrService/programmed_nexthop_groups",
        rpc::ProgrammedNexthopGroupsRequest(), [&](const rpc::ProgrammedNexthopGroupsResponse& reply) {
           return rows.add({{"name", reply.name()}});
        });
   rows.finish();
   return kOk;
}

template <typename Reply, typename Request>
Reply askGroup(Connection& connection, const std::string& method, const std::string& name) {
   Request request;
   request.set_name(name);
   return ask<Reply>(connection, "NexthopGroupMgrService/" + method, name, request);
}

// RETURNS: "10.0.0.1 Ethernet1 push 100/200", with the labels in the order of the switch, the outermost
// first.
std::string entryText(const rpc::NexthopGroupEntry& entry) {
   std::string text;
   auto word = [&](std::string_view more) {
      if (!more.empty()) fmt::format_to(std::back_inserter(text), "{}{}", text.empty() ? "" : " ", more);
   };
   word(wireAddressText(entry.nexthop()).value_or("(no address)"));
   word(entry.intf().name());
   if (!entry.child_nexthop_group().empty()) word("group " + entry.child_nexthop_group());
   if (entry.mpls_action().action_type() != rpc::MPLS_ACTIONS_NONE) {
      word(enumWord(entry.mpls_action().action_type()));
      word(fmt::format("{}", fmt::join(entry.mpls_action().label_stack(), "/")));
   }
   return text;
}

void printGroup(Context& context, const rpc::NexthopGroup& group, const rpc::NexthopGroup& programmed,
                bool active) {
   std::string state = active ? "active" : "not active";
   state += programmed.name().empty() ? ", not programmed"
                                      : fmt::format(", version {} programmed", programmed.version_id());
   context.out << fmt::format("{}: {}, version {}, {}\n", group.name(), enumWord(group.type()),
                              group.version_id(), state);
   const std::map<uint32_t, rpc::NexthopGroupEntry> entries(group.nexthops().begin(), group.nexthops().end());
   for (const auto& [slot, entry] : entries)
      context.out << fmt::format("  {}: {}\n", slot, entryText(entry));
}

int show(Context& context, const std::vector<std::string>& names) {
   auto connection = context.connect();
   int code = kOk;
   for (const auto& name : names) {
      const auto group =
           askGroup<rpc::NexthopGroupResponse, rpc::NexthopGroupRequest>(connection, "nexthop_group", name);
      if (group.nexthop_group().name().empty()) {
         context.err << fmt::format("{}: there is no such group\n", name);
         code = kRefused;
         continue;
      }
      const auto programmed =
           askGroup<rpc::ProgrammedNexthopGroupResponse, rpc::ProgrammedNexthopGroupRequest>(
                connection, "programmed_nexthop_group", name);
      const bool active = askGroup<rpc::NexthopGroupActiveResponse, rpc::NexthopGroupActiveRequest>(
                               connection, "active", name)
                               .active();
      if (!context.json) {
         printGroup(context, group.nexthop_group(), programmed.nexthop_group(), active);
         continue;
      }
      const auto tree = [](const rpc::NexthopGroup& of) {
         return of.name().empty() ? nlohmann::ordered_json() : messageToTree(of);
      };
      context.out << nlohmann::ordered_json{{"name", name},
                                            {"active", active},
                                            {"configured", tree(group.nexthop_group())},
                                            {"programmed", tree(programmed.nexthop_group())}}
                          .dump()
                  << '\n';
   }
   return code;
}

int counters(Context& context, const std::string& name, const std::string& regex) {
   if (!name.empty() && !regex.empty())
      throw UsageError("--regex is given with NAME, expected one or the other");
   rpc::NexthopGroupCountersRequest request;
   if (!name.empty()) {
      request.set_name(name);
   } else if (!regex.empty()) {
      request.set_regex(regex);
   } else {
      request.set_all(true);
   }
   auto connection = context.connect();
   Rows rows(context, {"name", "entry", "packets", "bytes"});
   bool any = false;
   listMirror<rpc::NexthopGroupCountersResponse>(context, connection, "NexthopGroupMgrService/nhg_counters",
                                                 request,
                                                 [&](const rpc::NexthopGroupCountersResponse& reply) {
                                                    for (const auto& counter : reply.counters()) {
                                                       any = true;
                                                       if (!rows.add({{"name", reply.name()},
                                                                      {"entry", counter.entry()},
                                                                      {"packets", counter.packets()},
                                                                      {"bytes", counter.bytes()}})) {
                                                          return false;
                                                       }
                                                    }
                                                    return true;
                                                 });
   rows.finish();
   if (!name.empty() && !any && !context.json) context.out << fmt::format("{}: no counters\n", name);
   return kOk;
}

}  // namespace NexthopGroupViews

void addNexthopGroupViews(CLI::App& command, Context& context) {
   using namespace NexthopGroupViews;
   auto programmed = std::make_shared<bool>(false);
   auto* listCommand = command.add_subcommand("list", "All groups of the switch, whoever made them");
   listCommand->add_flag("--programmed", *programmed, "Names of the groups that hardware has");
   onChosen(context, *listCommand,
            [&context, programmed] { return *programmed ? listProgrammed(context) : list(context); });

   auto names = std::make_shared<std::vector<std::string>>();
   auto* showCommand = command.add_subcommand("show", "Entries and state of groups");
   showCommand->add_option("names", *names, "Groups")->required()->type_name("NAME");
   onChosen(context, *showCommand, [&context, names] { return show(context, *names); });

   auto name = std::make_shared<std::string>();
   auto regex = std::make_shared<std::string>();
   auto* countersCommand =
        command.add_subcommand("counters", "Packets and bytes by entry, of all groups or of those given");
   countersCommand->add_option("name", *name, "Group")->type_name("NAME");
   countersCommand
        ->add_option("--regex", *regex,
                     "Groups whose whole name matches this regular expression (ECMAScript)")
        ->type_name("REGEX");
   onChosen(context, *countersCommand, [&context, name, regex] { return counters(context, *name, *regex); });
}

}  // namespace orvctl
