#include <fmt/format.h>

#include <memory>

#include "OrvSdkRpcProtos/acl.pb.h"
#include "orvctl/EnumWords.h"
#include "orvctl/JsonText.h"
#include "orvctl/Mirror.h"
#include "orvctl/Rows.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace rpc = orv::remote;

namespace AclCommands {

struct Flags {
   std::string name, type = "ipv4", rule, intf, side, state;
   uint32_t seq = 0;
   std::vector<std::string> sequences;
   bool all = false;
   bool remove = false;
   bool wait = false;
};

rpc::AclKey keyOf(const Flags& flags) {
   rpc::AclKey key;
   key.set_acl_name(flags.name);
   key.set_acl_type(static_cast<rpc::AclType>(parseEnum("--type", flags.type, *rpc::AclType_descriptor())));
   return key;
}

template <typename Reply, typename Request>
int change(Context& context, const std::string& method, const Flags& flags, Request request) {
   *request.mutable_key() = keyOf(flags);
   auto connection = context.connect();
   ask<Reply>(connection, "AclMgrService/" + method, flags.name, request);
   return kOk;
}

template <typename Reply, typename Request>
int list(Context& context, const std::string& method) {
   auto connection = context.connect();
   Rows rows(context, {"name", "type"});
   listMirror<Reply>(context, connection, "AclMgrService/" + method, Request(), [&](const Reply& reply) {
      return rows.add({{"name", reply.key().acl_name()}, {"type", enumWord(reply.key().acl_type())}});
   });
   rows.finish();
   return kOk;
}

template <typename Reply, typename Request>
int rules(Context& context, const std::string& method, const Flags& flags) {
   Request request;
   *request.mutable_key() = keyOf(flags);
   auto connection = context.connect();
   Rows rows(context, {"seq", "rule"});
   listMirror<Reply>(context, connection, "AclMgrService/" + method, request, [&](const Reply& reply) {
      return rows.add({{"seq", reply.entry().seq()}, {"rule", messageToTree(reply.entry().rule())}});
   });
   rows.finish();
   return kOk;
}

int showRules(Context& context, const Flags& flags) {
   if (keyOf(flags).acl_type() == rpc::ACL_TYPE_ETH) {
      return flags.all
                  ? rules<rpc::AclAllRuleEthsResponse, rpc::AclAllRuleEthsRequest>(context,
                                                                                   "acl_all_rule_eths", flags)
                  : rules<rpc::AclRuleEthsResponse, rpc::AclRuleEthsRequest>(context, "acl_rule_eths", flags);
   }
   return flags.all ? rules<rpc::AclAllRuleIpsResponse, rpc::AclAllRuleIpsRequest>(context,
                                                                                   "acl_all_rule_ips", flags)
                    : rules<rpc::AclRuleIpsResponse, rpc::AclRuleIpsRequest>(context, "acl_rule_ips", flags);
}

int set(Context& context, const Flags& flags) {
   rpc::AclRuleSetRequest request;
   request.set_seq(flags.seq);
   if (keyOf(flags).acl_type() == rpc::ACL_TYPE_ETH) {
      messageFromJson("RULE", flags.rule, *request.mutable_eth_rule());
   } else {
      messageFromJson("RULE", flags.rule, *request.mutable_ip_rule());
   }
   return change<rpc::AclRuleSetResponse>(context, "acl_rule_set", flags, request);
}

int del(Context& context, const Flags& flags) {
   if (flags.sequences.empty())
      return change<rpc::AclDelResponse>(context, "acl_del", flags, rpc::AclDelRequest());
   rpc::BulkAclRuleDelRequest request;
   for (const auto& text : flags.sequences) {
      auto& item = *request.add_requests();
      *item.mutable_key() = keyOf(flags);
      item.set_seq(static_cast<uint32_t>(parseNumber("SEQ", text, 0, UINT32_MAX)));
   }
   auto connection = context.connect();
   const auto reply =
        ask<rpc::BulkAclRuleDelResponse>(connection, "AclMgrService/bulk_acl_rule_del", flags.name, request);
   return reportMirrorBulk(context, reply.status(), reply.count(), flags.sequences.size(),
                           [&](uint64_t index) { return "rule " + flags.sequences[index]; });
}

int apply(Context& context, const Flags& flags) {
   rpc::AclApplyRequest request;
   *request.mutable_intf() = intfId(flags.intf);
   request.set_direction(
        static_cast<rpc::AclDirection>(parseEnum("SIDE", flags.side, *rpc::AclDirection_descriptor())));
   request.set_apply(!flags.remove);
   return change<rpc::AclApplyResponse>(context, "acl_apply", flags, request);
}

bool isOn(const Flags& flags) {
   if (flags.state == "on") return true;
   if (flags.state == "off") return false;
   throw UsageError(fmt::format("the state is '{}', expected on or off", flags.state));
}

// The result of a commit arrives on the watch, so the watch has to be active before the commit is sent.
int commitAndWait(Context& context) {
   auto connection = context.connect();
   auto committer = context.connect();
   rpc::AclWatchRequest request;
   request.set_ack(true);
   rpc::AclWatchResponse outcome;
   bool told = false;
   grpc::ClientContext call;
   connection.prepare(call);
   const auto status = connection.stream(call, "/orv.remote.AclMgrService/watch", request, outcome, [&] {
      if (outcome.ack()) {
         ask<rpc::AclCommitResponse>(committer, "AclMgrService/acl_commit", "", rpc::AclCommitRequest());
         return true;
      }
      told = true;
      return false;
   });
   connection.require("acl_commit", status);
   if (!told) throw CallError("acl_commit: the server ended the watch");
   if (context.json) context.out << messageToJson(outcome) << '\n';
   if (outcome.has_on_acl_sync()) {
      if (!context.json) context.out << "in hardware\n";
      return kOk;
   }
   if (!context.json) {
      context.err << fmt::format("{}: {}\n", outcome.on_acl_sync_fail().source(),
                                 outcome.on_acl_sync_fail().message());
   }
   return kRefused;
}

int commit(Context& context, const Flags& flags) {
   if (flags.wait) return commitAndWait(context);
   auto connection = context.connect();
   ask<rpc::AclCommitResponse>(connection, "AclMgrService/acl_commit", "", rpc::AclCommitRequest());
   return kOk;
}

// Adds a subcommand for one list.
CLI::App* addKeyed(CLI::App& command, const std::string& name, const std::string& description, Flags& flags) {
   auto* sub = command.add_subcommand(name, description);
   sub->add_option("name", flags.name, "List")->required()->type_name("NAME");
   sub->add_option("--type", flags.type, "Kind of the list")
        ->capture_default_str()
        ->type_name("ipv4|ipv6|eth|mpls");
   return sub;
}

}  // namespace AclCommands

void addAclCommand(CLI::App& app, Context& context) {
   using namespace AclCommands;
   auto* command = app.add_subcommand("acl", "Access control lists");
   command->require_subcommand(1);
   command->footer(
        "Changes take effect with 'acl commit'. Rules are JSON, as the messages AclRuleIp and AclRuleEth.");
   auto flags = std::make_shared<Flags>();
   constexpr const char* kAll = "Committed lists of all agents, instead of this agent's with pending changes";

   auto* listCommand = command->add_subcommand("list", "Lists");
   listCommand->add_flag("--all", flags->all, kAll);
   onChosen(context, *listCommand, [&context, flags] {
      return flags->all ? list<rpc::AclsAllResponse, rpc::AclsAllRequest>(context, "acls_all")
                        : list<rpc::AclsResponse, rpc::AclsRequest>(context, "acls");
   });

   auto* rulesCommand = addKeyed(*command, "rules", "Rules of a list, by sequence number", *flags);
   rulesCommand->add_flag("--all", flags->all, kAll);
   onChosen(context, *rulesCommand, [&context, flags] { return showRules(context, *flags); });

   auto* setCommand =
        addKeyed(*command, "set", "Set or replace a rule; the first one makes the list", *flags);
   addNumber(*setCommand, "seq", flags->seq, 0, UINT32_MAX, "Sequence number")->required();
   setCommand
        ->add_option("rule", flags->rule,
                     R"(For example {"base":{"action":"ACL_ACTION_PERMIT"},"ip_protocol":6})")
        ->required()
        ->type_name("RULE");
   onChosen(context, *setCommand, [&context, flags] { return set(context, *flags); });

   auto* delCommand =
        addKeyed(*command, "del", "Delete rules by number, or without one the whole list", *flags);
   delCommand->add_option("seqs", flags->sequences, "Sequence numbers")->type_name("SEQ");
   onChosen(context, *delCommand, [&context, flags] { return del(context, *flags); });

   auto* applyCommand = addKeyed(*command, "apply", "Apply a list to an interface, or remove it", *flags);
   applyCommand->add_option("intf", flags->intf, "Interface")->required()->type_name("INTF");
   applyCommand->add_option("side", flags->side, "Packets that enter or leave")
        ->required()
        ->type_name("in|out");
   applyCommand->add_flag("--remove", flags->remove, "Remove it");
   onChosen(context, *applyCommand, [&context, flags] { return apply(context, *flags); });

   auto* countersCommand =
        addKeyed(*command, "counters", "Whether the packets that match are counted", *flags);
   countersCommand->add_option("state", flags->state)->required()->type_name("on|off");
   onChosen(context, *countersCommand, [&context, flags] {
      rpc::AclCountersEnabledSetRequest request;
      request.set_enabled(isOn(*flags));
      return change<rpc::AclCountersEnabledSetResponse>(context, "acl_counters_enabled_set", *flags, request);
   });

   auto* fragmentsCommand = addKeyed(*command, "fragments", "Whether rules see fragments", *flags);
   fragmentsCommand->add_option("state", flags->state)->required()->type_name("on|off");
   onChosen(context, *fragmentsCommand, [&context, flags] {
      rpc::AclFragmentsEnabledSetRequest request;
      request.set_enabled(isOn(*flags));
      return change<rpc::AclFragmentsEnabledSetResponse>(context, "acl_fragments_enabled_set", *flags,
                                                         request);
   });

   auto* commitCommand = command->add_subcommand("commit", "Commit pending changes");
   commitCommand->add_flag(
        "--wait", flags->wait,
        "Wait until hardware has it; on failure, exit with 1 and print the switch's error for the first "
        "rejected list. The switch does not report whose commit it was");
   onChosen(context, *commitCommand, [&context, flags] { return commit(context, *flags); });
}

}  // namespace orvctl
