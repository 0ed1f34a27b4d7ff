#include <memory>

#include "orvctl/LineProtocol.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {

void addConsoleCommand(CLI::App& app, Context& context) {
   auto* command = app.add_subcommand("console", "Run a command of the switch's console");
   command->footer(
        "The words of the command may be quoted or not: orvctl console show ip route summary. With - "
        "commands are "
        "read from stdin, one per line, up to the first that is refused.");
   auto words = std::make_shared<std::vector<std::string>>();
   command->add_option("command", *words, "Command, or - for stdin")->required()->type_name("WORDS");
   onChosen(context, *command, [&context, words] {
      const Target console = context.consoleText.empty() ? consoleBeside(context.target())
                                                         : parseTarget("--console", context.consoleText);
      auto runOne = [&](ConsoleClient& client, const std::string& line) {
         const auto answer = client.run(line, [&](std::string_view text) { context.out << text; });
         context.out.flush();
         if (answer.ok) return kOk;
         context.err << answer.error << (answer.error.ends_with('\n') ? "" : "\n");
         return kRefused;
      };
      if (words->size() == 1 && words->front() == "-") {
         ConsoleClient client(console, context.timeoutSeconds);
         for (std::string line; std::getline(context.in, line);) {
            if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
            if (runOne(client, line) != kOk) return kRefused;
         }
         return kOk;
      }
      std::string line;
      for (const auto& word : *words)
         line += (line.empty() ? "" : " ") + word;
      if (line.find('\n') != std::string::npos)
         throw UsageError("the command has a line break, expected one line");
      ConsoleClient client(console, context.timeoutSeconds);
      return runOne(client, line);
   });
}

}  // namespace orvctl
