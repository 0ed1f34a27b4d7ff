// The commands intf (interfaces of every kind) and phy (physical interfaces).
#include <fmt/format.h>

#include <map>
#include <memory>

#include "OrvSdkRpcProtos/eth_phy_intf.pb.h"
#include "OrvSdkRpcProtos/intf.pb.h"
#include "orvctl/EnumWords.h"
#include "orvctl/Mirror.h"
#include "orvctl/Rows.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace rpc = orv::remote;

namespace InterfaceCommands {

const char* adminWord(bool enabled) {
   return enabled ? "up" : "down";
}

// Reads the current interfaces from a watch, which ends when its dump is complete. Changes during the dump
// are merged, so that the result is the state at its end.
std::map<std::string, rpc::WatchIntfResponse> readInterfaces(Context& context, Connection& connection) {
   rpc::WatchIntfRequest request;
   request.set_all(true);
   request.mutable_fields_control()->add_fields(rpc::INTF_FIELD_ALL);
   std::map<std::string, rpc::WatchIntfResponse> known;
   bool whole = false;
   listMirror<rpc::WatchIntfResponse>(context, connection, "IntfMgrService/watch", request,
                                      [&](const rpc::WatchIntfResponse& reply) {
                                         whole = reply.ack();
                                         if (whole) return false;
                                         if (reply.event() == rpc::INTF_EVENT_DELETED) {
                                            known.erase(reply.intf().name());
                                         } else {
                                            known[reply.intf().name()].MergeFrom(reply);
                                         }
                                         return true;
                                      });
   if (!whole) throw CallError("IntfMgrService/watch: the server ended it before everything was shown");
   return known;
}

int showAll(Context& context) {
   auto connection = context.connect();
   Rows rows(context, {"name", "admin", "oper", "description"});
   for (const auto& [name, intf] : readInterfaces(context, connection)) {
      rows.add({{"name", name},
                {"admin", adminWord(intf.admin_enabled())},
                {"oper", enumWord(intf.oper_status())},
                {"description", intf.description()}});
   }
   rows.finish();
   return kOk;
}

template <typename Reply, typename Request>
Reply askIntf(Connection& connection, const std::string& method, const std::string& name) {
   Request request;
   *request.mutable_intf_id() = intfId(name);
   return ask<Reply>(connection, method, name, request);
}

int showNamed(Context& context, const std::vector<std::string>& names) {
   auto connection = context.connect();
   Rows rows(context, {"name", "admin", "oper", "kernel_name", "description"});
   for (const auto& name : names) {
      rows.add({{"name", name},
                {"admin", adminWord(askIntf<rpc::IntfAdminEnabledResponse, rpc::IntfAdminEnabledRequest>(
                                         connection, "IntfMgrService/admin_enabled", name)
                                         .admin_enabled())},
                {"oper", enumWord(askIntf<rpc::IntfOperStatusResponse, rpc::IntfOperStatusRequest>(
                                       connection, "IntfMgrService/oper_status", name)
                                       .oper_status())},
                {"kernel_name", askIntf<rpc::KernelIntfNameResponse, rpc::KernelIntfNameRequest>(
                                     connection, "IntfMgrService/kernel_intf_name", name)
                                     .kernel_intf_name()},
                {"description", askIntf<rpc::IntfDescriptionResponse, rpc::IntfDescriptionRequest>(
                                     connection, "IntfMgrService/description", name)
                                     .description()}});
   }
   rows.finish();
   return kOk;
}

int list(Context& context) {
   auto connection = context.connect();
   Rows rows(context, {"name"});
   listMirror<rpc::IntfsResponse>(context, connection, "IntfMgrService/intfs", rpc::IntfsRequest(),
                                  [&](const rpc::IntfsResponse& reply) {
                                     return rows.add({{"name", reply.intf_id().name()}});
                                  });
   rows.finish();
   return kOk;
}

struct SetFlags {
   std::string name, admin, description;
};

int set(Context& context, const SetFlags& flags, bool described) {
   if (flags.admin.empty() && !described)
      throw UsageError("--admin and --description are missing, expected at least one");
   if (!flags.admin.empty() && flags.admin != "up" && flags.admin != "down")
      throw UsageError(fmt::format("--admin is '{}', expected up or down", flags.admin));
   auto connection = context.connect();
   if (!flags.admin.empty()) {
      rpc::IntfAdminEnabledIsRequest request;
      *request.mutable_intf_id() = intfId(flags.name);
      request.set_admin_enabled(flags.admin == "up");
      ask<rpc::IntfAdminEnabledIsResponse>(connection, "IntfMgrService/admin_enabled_is", flags.name,
                                           request);
   }
   if (described) {
      rpc::IntfDescriptionIsRequest request;
      *request.mutable_intf_id() = intfId(flags.name);
      request.set_description(flags.description);
      ask<rpc::IntfDescriptionIsResponse>(connection, "IntfMgrService/description_is", flags.name, request);
   }
   return kOk;
}

std::vector<std::string> physicalNames(Context& context, Connection& connection) {
   std::vector<std::string> names;
   listMirror<rpc::EthPhyIntfsResponse>(context, connection, "EthPhyIntfMgrService/eth_phy_intfs",
                                        rpc::EthPhyIntfsRequest(),
                                        [&](const rpc::EthPhyIntfsResponse& reply) {
                                           names.push_back(reply.intf_id().name());
                                           return true;
                                        });
   return names;
}

int listPhysical(Context& context) {
   auto connection = context.connect();
   Rows rows(context, {"name"});
   for (const auto& name : physicalNames(context, connection))
      rows.add({{"name", name}});
   rows.finish();
   return kOk;
}

int showPhysical(Context& context, std::vector<std::string> names) {
   auto connection = context.connect();
   if (names.empty()) names = physicalNames(context, connection);
   Rows rows(context, {"name", "hardware", "transceiver", "speed", "mac"});
   for (const auto& name : names) {
      const auto speed = askIntf<rpc::EthPhyIntfLinkSpeedResponse, rpc::EthPhyIntfLinkSpeedRequest>(
           connection, "EthPhyIntfMgrService/link_speed", name);
      rows.add({{"name", name},
                {"hardware",
                 askIntf<rpc::EthPhyIntfHardwarePresentResponse, rpc::EthPhyIntfHardwarePresentRequest>(
                      connection, "EthPhyIntfMgrService/hardware_present", name)
                      .hardware_present()},
                {"transceiver",
                 askIntf<rpc::EthPhyIntfTransceiverPresentResponse, rpc::EthPhyIntfTransceiverPresentRequest>(
                      connection, "EthPhyIntfMgrService/transceiver_present", name)
                      .transceiver_present()},
                {"speed", enumWord(speed.link_speed())},
                {"mac",
                 wireAddressText(
                      askIntf<rpc::EthPhyIntfBurnedInEthAddrResponse, rpc::EthPhyIntfBurnedInEthAddrRequest>(
                           connection, "EthPhyIntfMgrService/burned_in_eth_addr", name)
                           .burned_in_eth_addr())
                      .value_or("")}});
   }
   rows.finish();
   return kOk;
}

}  // namespace InterfaceCommands

void addInterfaceCommand(CLI::App& app, Context& context) {
   using namespace InterfaceCommands;
   auto* command = app.add_subcommand("intf", "Interfaces of every kind");
   command->require_subcommand(1);
   onChosen(context, *command->add_subcommand("list", "Names of all interfaces"),
            [&context] { return list(context); });

   auto names = std::make_shared<std::vector<std::string>>();
   auto* show = command->add_subcommand("show", "State and description, of all interfaces or of those given");
   show->add_option("names", *names, "Interfaces")->type_name("NAME");
   onChosen(context, *show,
            [&context, names] { return names->empty() ? showAll(context) : showNamed(context, *names); });

   auto flags = std::make_shared<SetFlags>();
   auto* setCommand = command->add_subcommand("set", "Enable or shut down an interface, or describe it");
   setCommand->add_option("name", flags->name, "Interface")->required()->type_name("NAME");
   setCommand->add_option("--admin", flags->admin, "Administrative state")->type_name("up|down");
   const auto* description =
        setCommand->add_option("--description", flags->description, "Description; '' for none")
             ->type_name("TEXT");
   onChosen(context, *setCommand,
            [&context, flags, description] { return set(context, *flags, description->count() != 0); });
}

void addPhyCommand(CLI::App& app, Context& context) {
   using namespace InterfaceCommands;
   auto* command = app.add_subcommand("phy", "Physical Ethernet interfaces");
   command->require_subcommand(1);
   onChosen(context, *command->add_subcommand("list", "Names of all physical interfaces"),
            [&context] { return listPhysical(context); });
   auto names = std::make_shared<std::vector<std::string>>();
   auto* show =
        command->add_subcommand("show", "Hardware, transceiver, speed and address, of all or of those given");
   show->add_option("names", *names, "Interfaces")->type_name("NAME");
   onChosen(context, *show, [&context, names] { return showPhysical(context, *names); });
}

}  // namespace orvctl
