#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "orvctl/Catalog.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace ListCommands {

bool anyNotKnownBeforeInit(const Catalog& catalog) {
   for (const auto& service : catalog.services) {
      for (const auto& rpc : service.rpcs) {
         if (rpc.availability == Availability::notKnownBeforeInit) return true;
      }
   }
   return false;
}

void printJson(Context& context, const Catalog& catalog) {
   auto tree = nlohmann::ordered_json::array();
   for (const auto& service : catalog.services) {
      auto rpcs = nlohmann::ordered_json::array();
      for (const auto& rpc : service.rpcs) {
         nlohmann::ordered_json available = nullptr;
         if (rpc.availability == Availability::available) available = true;
         if (rpc.availability == Availability::notInThisBuild) available = false;
         rpcs.push_back({{"name", rpc.name},
                         {"request", rpc.request},
                         {"reply", rpc.reply},
                         {"reply_stream", rpc.replyStream},
                         {"available", available}});
      }
      tree.push_back({{"service", service.name}, {"rpcs", rpcs}});
   }
   context.out << tree.dump() << '\n';
}

std::string_view mark(Availability availability) {
   switch (availability) {
      case Availability::notInThisBuild:
         return "   [not available in this build]";
      case Availability::notKnownBeforeInit:
         return "   [not known before init]";
      case Availability::available:
      case Availability::notProbed:
         break;
   }
   return "";
}

void printText(Context& context, const Catalog& catalog) {
   for (const auto& service : catalog.services) {
      context.out << service.name << '\n';
      for (const auto& rpc : service.rpcs) {
         context.out << fmt::format("  {}({}) -> {}{}{}\n", rpc.name, rpc.request,
                                    rpc.replyStream ? "stream " : "", rpc.reply, mark(rpc.availability));
      }
   }
}

}  // namespace ListCommands

void addListCommand(CLI::App& app, Context& context) {
   using namespace ListCommands;
   auto* command = app.add_subcommand("list", "List the services and RPCs of the server");
   command->footer(
        "The list is the server's own, by reflection. Each RPC of the programming service is then asked "
        "something "
        "that cannot change anything (a request that is refused for its content, or that asks for nothing), "
        "and "
        "one that answers so is marked \"not available in this build\". Some servers report it only after an "
        "init. rpc_server_init and rpc_server_resync are "
        "not asked: every request of them has an effect. --json says true, false, or null where not known.");
   auto noProbe = std::make_shared<bool>(false);
   command->add_flag("--no-probe", *noProbe, "Do not find out what the server's build leaves out");
   onChosen(context, *command, [&context, noProbe] {
      auto connection = context.connect();
      Catalog catalog = readCatalog(connection);
      if (!*noProbe) probe(connection, catalog);
      if (!context.json && anyNotKnownBeforeInit(catalog)) {
         context.err << "orvctl: this server reports some availability only after 'orvctl init'\n";
      }
      if (!catalog.fromServer) {
         context.err << "orvctl: the server has no reflection; these are the RPCs that this orvctl knows\n";
      }
      context.json ? printJson(context, catalog) : printText(context, catalog);
      return kOk;
   });
}

}  // namespace orvctl
