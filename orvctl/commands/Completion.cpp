#include "orvctl/Completion.h"

#include "orvctl/commands/Commands.h"

namespace orvctl {

void addCompletionCommand(CLI::App& app, Context& context) {
   auto* command = app.add_subcommand("completion", "Print a completion script for a shell");
   command->require_subcommand(1);
   auto* bash = command->add_subcommand("bash", "For bash: source <(orvctl completion bash)");
   onChosen(context, *bash, [&app, &context] {
      context.out << bashCompletion(app);
      return kOk;
   });
}

}  // namespace orvctl
