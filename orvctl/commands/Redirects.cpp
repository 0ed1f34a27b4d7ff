#include <memory>

#include "orvctl/commands/Commands.h"
#include "orvctl/commands/Programming.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;
using Stub = Connection::Programming::StubInterface;

namespace RedirectCommands {

constexpr uint64_t kMaxDscp = 63;

struct Flags {
   std::vector<std::string> groups;
   std::vector<std::string> ipv4, ipv6;
   std::string file;
   size_t batch = 1000;
};

using Plan = BulkPlan<pb::cbf_nexthop_group_redirect_bulk_msg>;
using Redirect = pb::cbf_nexthop_group_redirect_msg;

std::string nameOf(const Redirect& redirect) {
   return fmt::format("{} to {}", redirect.match_nexthop_group_name(),
                      redirect.redirect_nexthop_group_name());
}

int sendOne(Context& context, const Redirect& redirect) {
   return sendItem(context, "cbf_nexthop_group_redirect", &Stub::cbf_nexthop_group_redirect, redirect,
                   nameOf(redirect));
}

int sendAll(Context& context, const Plan& plan) {
   return sendItems(context, "cbf_nexthop_group_redirect_bulk", &Stub::cbf_nexthop_group_redirect_bulk, plan,
                    nameOf);
}

// Both groups of a redirect, in the order MATCH REDIRECT.
Redirect between(const Flags& flags, std::string_view usage) {
   if (flags.groups.size() != 2)
      throw UsageError(fmt::format("{} groups are given, expected {}", flags.groups.size(), usage));
   Redirect redirect;
   redirect.set_match_nexthop_group_name(flags.groups[0]);
   redirect.set_redirect_nexthop_group_name(flags.groups[1]);
   return redirect;
}

int fromFile(Context& context, const Flags& flags, bool deletes) {
   if (!flags.groups.empty() || !flags.ipv4.empty() || !flags.ipv6.empty())
      throw UsageError("--file is given with MATCH, REDIRECT or DSCPs, expected one or the other");
   Plan plan(flags.batch);
   forEachLine(context, "--file", flags.file, [&](std::string_view line, size_t number) {
      Redirect redirect;
      messageFromJson(fmt::format("{} line {}", flags.file, number), line, redirect);
      if (deletes) redirect.set_delete_(true);
      plan.add(std::move(redirect), number);
   });
   return sendAll(context, plan);
}

int set(Context& context, const Flags& flags) {
   if (!flags.file.empty()) return fromFile(context, flags, false);
   Redirect redirect = between(flags, "'redirect set MATCH REDIRECT --ipv4 DSCP… --ipv6 DSCP…'");
   if (flags.ipv4.empty() && flags.ipv6.empty())
      throw UsageError("--ipv4 and --ipv6 are missing, expected DSCPs of one family or both");
   for (const std::string& text : flags.ipv4)
      redirect.add_match_ipv4_dscp(static_cast<uint32_t>(parseNumber("--ipv4", text, 0, kMaxDscp)));
   for (const std::string& text : flags.ipv6)
      redirect.add_match_ipv6_dscp(static_cast<uint32_t>(parseNumber("--ipv6", text, 0, kMaxDscp)));
   return sendOne(context, redirect);
}

int del(Context& context, const Flags& flags) {
   if (!flags.file.empty()) return fromFile(context, flags, true);
   Redirect redirect = between(flags, "'redirect del MATCH REDIRECT'");
   redirect.set_delete_(true);
   return sendOne(context, redirect);
}

}  // namespace RedirectCommands

void addRedirectCommand(CLI::App& app, Context& context) {
   using namespace RedirectCommands;
   auto* command = app.add_subcommand("redirect", "Redirects of a nexthop group's traffic by DSCP");
   command->require_subcommand(1);
   auto flags = std::make_shared<Flags>();

   auto* setCommand = command->add_subcommand(
        "set", "Traffic for MATCH that carries one of the DSCPs leaves through REDIRECT");
   setCommand->add_option("groups", flags->groups, "The two nexthop groups")
        ->expected(0, 2)
        ->type_name("MATCH REDIRECT");
   setCommand->add_option("--ipv4", flags->ipv4, "DSCPs of IPv4, 0 to 63 each")
        ->delimiter(',')
        ->type_name("DSCP");
   setCommand->add_option("--ipv6", flags->ipv6, "DSCPs of IPv6, 0 to 63 each")
        ->delimiter(',')
        ->type_name("DSCP");
   setCommand
        ->add_option("-f,--file", flags->file,
                     "Many: one JSON cbf_nexthop_group_redirect_msg per line; - for stdin")
        ->type_name("FILE");
   addNumber(*setCommand, "--batch", flags->batch, 1, 100000, "Redirects per request with --file [1000]");
   onChosen(context, *setCommand, [&context, flags] { return set(context, *flags); });

   auto* delCommand = command->add_subcommand("del", "Delete a redirect; takes effect a second later");
   delCommand->add_option("groups", flags->groups, "The two nexthop groups")
        ->expected(0, 2)
        ->type_name("MATCH REDIRECT");
   delCommand->add_option("-f,--file", flags->file, "Many: one JSON message per line; - for stdin")
        ->type_name("FILE");
   addNumber(*delCommand, "--batch", flags->batch, 1, 100000, "Redirects per request [1000]");
   onChosen(context, *delCommand, [&context, flags] { return del(context, *flags); });
}

}  // namespace orvctl
