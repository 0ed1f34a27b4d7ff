#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "orvctl/HeldStream.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace AliveCommands {

void print(Context& context, std::string_view event, std::string_view words) {
   if (context.json) {
      context.out << nlohmann::ordered_json{{"event", event}, {"message", words}}.dump() << std::endl;
   } else {
      context.out << words << std::endl;
   }
}

int alive(Context& context, double seconds) {
   auto connection = context.connect();
   HeldStream stream(connection, "/OrvSdkRpc.pb.orvsdk_service/watch_rpc_server_alive",
                     OrvSdkRpc::pb::rpc_server_alive_msg());
   const std::string where = context.target().text();
   print(context, "open", fmt::format("open: {} is alive", where));
   std::optional<std::chrono::system_clock::time_point> deadline;
   if (seconds > 0) {
      deadline =
           std::chrono::system_clock::now() + std::chrono::duration_cast<std::chrono::system_clock::duration>(
                                                   std::chrono::duration<double>(seconds));
   }
   const auto end = stream.waitForEnd(deadline);
   if (!end) {
      print(context, "still_alive", fmt::format("still alive after {} s", seconds));
      return kOk;
   }
   print(context, "gone",
         fmt::format("gone: {} went away ({}: {})", where, grpcCodeName(end->error_code()),
                     end->error_message()));
   return kUnreachable;
}

}  // namespace AliveCommands

void addAliveCommand(CLI::App& app, Context& context) {
   using namespace AliveCommands;
   auto* command = app.add_subcommand("alive", "Hold the alive watch open until the server goes away");
   command->footer(
        "Prints \"open\" when the server holds the watch and \"gone\" when it breaks; then exits with 3.");
   auto seconds = std::make_shared<double>(0);
   command
        ->add_option_function<std::string>(
             "--for", [seconds](const std::string& text) { *seconds = parseSeconds("--for", text); },
             "Stop after this time with exit code 0 if the server is still there")
        ->type_name("SECONDS");
   onChosen(context, *command, [&context, seconds] { return alive(context, *seconds); });
}

}  // namespace orvctl
