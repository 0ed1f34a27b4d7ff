// The context of every orvctl command: the global flags and the three streams.
// Thread-safety: one thread.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <istream>
#include <ostream>
#include <string>

#include "orvctl/Connection.h"
#include "orvctl/ExitCode.h"
#include "orvctl/Target.h"
#include "orvctl/Values.h"

namespace orvctl {

struct Context {
   std::istream& in;
   std::ostream& out;
   std::ostream& err;
   // stderr is a terminal, so progress may be drawn on it.
   bool interactive = false;

   std::string targetText{kDefaultTarget};
   std::string consoleText;
   double timeoutSeconds = 10;
   // --timeout was given, so it ends streams too.
   bool timeoutGiven = false;
   bool json = false;

   // The chosen subcommand sets it while the command line is parsed; it runs afterwards. Returns the exit
   // code.
   std::function<int()> action;

   Target target() const { return parseTarget("--target", targetText); }
   Connection connect() const { return Connection(target(), timeoutSeconds); }
};

// Adds an option for a number from `low` to `high`. Any other text is refused with a UsageError.
template <typename Number>
CLI::Option* addNumber(CLI::App& app, const std::string& names, Number& number, uint64_t low, uint64_t high,
                       const std::string& description) {
   const std::string what = names.substr(names.rfind(',') == std::string::npos ? 0 : names.rfind(',') + 1);
   return app
        .add_option_function<std::string>(
             names,
             [&number, what, low, high](const std::string& text) {
                number = static_cast<Number>(parseNumber(what, text, low, high));
             },
             description)
        ->type_name("NUMBER");
}

// Makes `work` the action when `command` is on the command line.
inline void onChosen(Context& context, CLI::App& command, std::function<int()> work) {
   command.callback([&context, work = std::move(work)] { context.action = work; });
}

}  // namespace orvctl
