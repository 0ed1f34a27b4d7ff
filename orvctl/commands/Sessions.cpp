#include <memory>

#include "orvctl/commands/Commands.h"
#include "orvctl/commands/Programming.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;
using Stub = Connection::Programming::StubInterface;

namespace SessionCommands {

constexpr uint64_t kMaxLabel = 0xfffff;

struct Flags {
   std::vector<std::string> nexthops;
   std::string intf;
   std::vector<std::string> labels;
   uint32_t dscp = 0, exp = 0;
   uint32_t minTx = 0, multiplier = 0;
   bool rtt = false, track = false;
   std::string file;
   size_t batch = 1000;
};

using Plan = BulkPlan<pb::sbfd_echo_session_bulk_msg>;

std::string nameOf(const pb::sbfd_echo_session_msg& session) {
   return fmt::format("session over {} {}", addressText(session.key().nexthop()),
                      session.key().nexthop_intf());
}

int sendOne(Context& context, const pb::sbfd_echo_session_msg& session) {
   return sendItem(context, "sbfd_echo_session", &Stub::sbfd_echo_session, session, nameOf(session));
}

int sendAll(Context& context, const Plan& plan) {
   return sendItems(context, "sbfd_echo_session_bulk", &Stub::sbfd_echo_session_bulk, plan, nameOf);
}

int send(Context& context, const Flags& flags, bool deletes) {
   if (!flags.file.empty()) {
      if (!flags.nexthops.empty())
         throw UsageError("--file is given with NEXTHOP, expected one or the other");
      Plan plan(flags.batch);
      forEachLine(context, "--file", flags.file, [&](std::string_view line, size_t number) {
         pb::sbfd_echo_session_msg session;
         messageFromJson(fmt::format("{} line {}", flags.file, number), line, session);
         if (deletes) session.set_delete_(true);
         plan.add(std::move(session), number);
      });
      return sendAll(context, plan);
   }
   if (flags.nexthops.empty())
      throw UsageError(
           fmt::format("NEXTHOP is missing, expected 'sbfd {0} NEXTHOP …' or 'sbfd {0} --file FILE'",
                       deletes ? "del" : "set"));
   if ((flags.minTx == 0) != (flags.multiplier == 0))
      throw UsageError("--min-tx or --multiplier is given alone, expected both or neither");
   pb::sbfd_echo_session_msg session;
   auto& key = *session.mutable_key();
   *key.mutable_nexthop() = parseAddress("NEXTHOP", flags.nexthops.front());
   key.set_nexthop_intf(flags.intf);
   for (const std::string& label : flags.labels)
      key.add_label_stack(static_cast<uint32_t>(parseNumber("--labels", label, 0, kMaxLabel)));
   key.set_dscp(flags.dscp);
   key.set_mpls_exp(flags.exp);
   session.set_delete_(deletes);
   session.set_min_tx(flags.minTx);
   session.set_detectionmultiplier(flags.multiplier);
   session.set_rtt_enabled(flags.rtt);
   session.set_track_intf_state(flags.track);
   return sendOne(context, session);
}

void addKey(CLI::App& command, Flags& flags) {
   command.add_option("nexthop", flags.nexthops, "Next hop of the probes")
        ->expected(0, 1)
        ->type_name("NEXTHOP");
   command.add_option("--intf", flags.intf, "Interface that they leave through")->type_name("NAME");
   command.add_option("--labels", flags.labels, "Their label stack, outermost first")
        ->delimiter(',')
        ->type_name("LABEL");
   addNumber(command, "--dscp", flags.dscp, 0, 255, "Their DSCP [0]");
   addNumber(command, "--exp", flags.exp, 0, 7, "Their MPLS traffic class [0]");
   command.add_option("-f,--file", flags.file, "Many: one JSON sbfd_echo_session_msg per line; - for stdin")
        ->type_name("FILE");
   addNumber(command, "--batch", flags.batch, 1, 100000, "Sessions per request with --file [1000]");
}

}  // namespace SessionCommands

void addSessionCommand(CLI::App& app, Context& context) {
   using namespace SessionCommands;
   auto* command = app.add_subcommand("sbfd", "Seamless-BFD echo sessions; 'watch sbfd' follows them");
   command->require_subcommand(1);
   auto flags = std::make_shared<Flags>();

   auto* setCommand = command->add_subcommand("set", "Run a session, or change it");
   addKey(*setCommand, *flags);
   addNumber(*setCommand, "--min-tx", flags->minTx, 1, 65535, "Milliseconds between probes [the switch's]");
   addNumber(*setCommand, "--multiplier", flags->multiplier, 1, 255,
             "Missed replies that make it down [the switch's]");
   setCommand->add_flag("--rtt", flags->rtt, "Measure round-trip times");
   setCommand->add_flag("--track-intf", flags->track, "Report it down as soon as its interface is down");
   onChosen(context, *setCommand, [&context, flags] { return send(context, *flags, false); });

   auto* delCommand = command->add_subcommand("del", "End a session");
   addKey(*delCommand, *flags);
   onChosen(context, *delCommand, [&context, flags] { return send(context, *flags, true); });
}

}  // namespace orvctl
