#include <memory>

#include "orvctl/commands/Commands.h"
#include "orvctl/commands/MirrorRoutes.h"
#include "orvctl/commands/Programming.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;
using Stub = Connection::Programming::StubInterface;

namespace MplsCommands {

constexpr uint64_t kMaxLabel = 0xfffff;

struct Flags {
   std::vector<std::string> labels;
   std::string nexthop, group, operation, vrf;
   std::string file;
   size_t batch = 1000;
   MplsEditFlags edit;
};

using Plan = BulkPlan<pb::mpls_route_bulk_msg>;
using GroupForwarding = pb::mpls_route_msg::forward_nexthop_group_msg;

std::string nameOf(const pb::mpls_route_msg& route) {
   return fmt::format("label {}", route.label());
}

int sendOne(Context& context, const pb::mpls_route_msg& route) {
   return sendItem(context, "mpls_route", &Stub::mpls_route, route, nameOf(route));
}

int sendAll(Context& context, const Plan& plan) {
   return sendItems(context, "mpls_route_bulk", &Stub::mpls_route_bulk, plan, nameOf);
}

uint32_t parseLabel(std::string_view what, std::string_view text) {
   return static_cast<uint32_t>(parseNumber(what, text, 0, kMaxLabel));
}

GroupForwarding::mpls_operation_enum parseGroupOperation(const std::string& text) {
   if (text.empty() || text == "pop") return GroupForwarding::GROUP_MPLS_OPERATION_POP;
   if (text == "forward") return GroupForwarding::GROUP_MPLS_OPERATION_FORWARD;
   throw UsageError(fmt::format("--op is '{}', expected pop or forward", text));
}

int set(Context& context, const Flags& flags) {
   if (flags.edit.mirror) return setMplsRoute(context, flags.labels, flags.edit);
   const int ways = !flags.nexthop.empty() + !flags.group.empty() + !flags.vrf.empty();
   if (!flags.file.empty()) {
      if (!flags.labels.empty() || ways > 0)
         throw UsageError("--file is given with LABEL or its forwarding, expected one or the other");
      Plan plan(flags.batch);
      forEachLine(context, "--file", flags.file, [&](std::string_view line, size_t number) {
         pb::mpls_route_msg route;
         messageFromJson(fmt::format("{} line {}", flags.file, number), line, route);
         plan.add(std::move(route), number);
      });
      return sendAll(context, plan);
   }
   if (flags.labels.empty())
      throw UsageError("LABEL is missing, expected 'mpls set LABEL …' or 'mpls set --file FILE'");
   if (ways != 1)
      throw UsageError(fmt::format("{} of --nexthop, --nhg and --vrf are given, expected one", ways));
   if (!flags.operation.empty() && flags.group.empty())
      throw UsageError("--op is given without --nhg, expected both or neither");
   pb::mpls_route_msg route;
   route.set_label(parseLabel("LABEL", flags.labels.front()));
   if (!flags.nexthop.empty()) {
      *route.mutable_nexthop_msg() = parseNexthop("--nexthop", flags.nexthop);
   } else if (!flags.group.empty()) {
      route.mutable_nexthop_group_msg()->set_name(flags.group);
      route.mutable_nexthop_group_msg()->set_mpls_operation(parseGroupOperation(flags.operation));
   } else {
      route.set_popandforward(flags.vrf);
   }
   return sendOne(context, route);
}

int del(Context& context, const Flags& flags) {
   if (flags.edit.mirror) return deleteMplsRoutes(context, flags.labels, flags.edit);
   Plan plan(flags.batch);
   const auto add = [&](const std::string& what, std::string_view text, size_t number) {
      pb::mpls_route_msg route;
      if (text.starts_with('{')) {
         messageFromJson(what, text, route);
      } else {
         route.set_label(parseLabel(what, text));
      }
      route.set_delete_(true);
      plan.add(std::move(route), number);
   };
   forEachDeleted(context, "mpls del", "LABEL", flags.file, flags.labels, add);
   return flags.file.empty() && plan.size() == 1 ? sendOne(context, plan.requests().front().bulk(0))
                                                 : sendAll(context, plan);
}

}  // namespace MplsCommands

void addMplsCommand(CLI::App& app, Context& context) {
   using namespace MplsCommands;
   auto* command = app.add_subcommand("mpls", "Incoming MPLS labels");
   command->require_subcommand(1);
   auto flags = std::make_shared<Flags>();

   auto* setCommand =
        command->add_subcommand("set", "Bind a label to one forwarding, in place of what it has");
   setCommand->add_option("label", flags->labels, "Incoming label, 0 to 1048575")
        ->expected(0, 1)
        ->type_name("LABEL");
   auto* nexthop = setCommand
                        ->add_option("-n,--nexthop", flags->nexthop,
                                     "One next hop: intf=NAME,address=IP,labels=L,op=push|pop|swap|forward")
                        ->type_name("ENTRY");
   auto* group = setCommand->add_option("--nhg", flags->group, "A nexthop group")->type_name("NAME");
   auto* operation =
        setCommand->add_option("--op", flags->operation, "What happens to the label with --nhg [pop]")
             ->type_name("pop|forward");
   auto* vrf = setCommand->add_option("--vrf", flags->vrf, "Pop, then look the packet up in this VRF")
                    ->type_name("NAME");
   auto* setFile =
        setCommand
             ->add_option("-f,--file", flags->file, "Many: one JSON mpls_route_msg per line; - for stdin")
             ->type_name("FILE");
   auto* setBatch =
        addNumber(*setCommand, "--batch", flags->batch, 1, 100000, "Labels per request with --file [1000]");
   addMplsSetFlags(*setCommand, flags->edit, {nexthop, group, operation, vrf, setFile, setBatch});
   onChosen(context, *setCommand, [&context, flags] { return set(context, *flags); });

   auto* delCommand = command->add_subcommand("del", "Delete labels");
   delCommand->add_option("labels", flags->labels, "Labels")->type_name("LABEL");
   auto* delFile =
        delCommand->add_option("-f,--file", flags->file, "Many: one label or JSON per line; - for stdin")
             ->type_name("FILE");
   auto* delBatch = addNumber(*delCommand, "--batch", flags->batch, 1, 100000, "Labels per request [1000]");
   addMplsDelFlags(*delCommand, flags->edit, {delFile, delBatch});
   onChosen(context, *delCommand, [&context, flags] { return del(context, *flags); });

   addMplsRouteViews(*command, context);
}

}  // namespace orvctl
