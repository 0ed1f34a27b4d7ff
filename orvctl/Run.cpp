#include "orvctl/Run.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "orvctl/Context.h"
#include "orvctl/Version.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace {

constexpr const char* kFooter =
     "Exit codes:\n"
     "  0  done\n"
     "  1  the server answered with a failure (also: one item of a bulk failed)\n"
     "  2  a flag, argument or input line is wrong; nothing was sent\n"
     "  3  the server was not reached, went away, or does not have the RPC, or gRPC failed\n"
     "  4  a watch was closed because it was read too slowly\n"
     "\n"
     "Examples:\n"
     "  orvctl --target unix:/tmp/orv.sock init --tag 7\n"
     "  orvctl nhg set g1 --nexthop 'intf=Ethernet1,address=10.0.0.1,labels=100/200,op=push,weight=2'\n"
     "  orvctl route add 192.0.2.0/24 --nhg g1 --tag 7\n"
     "  orvctl watch intf --all --fields all\n"
     "  orvctl call ip_route '{\"prefix\":\"192.0.2.0/24\",\"nexthop_group_name\":\"g1\",\"tag\":7}'\n"
     "  source <(orvctl completion bash)";

void addGlobals(CLI::App& app, Context& context) {
   app.add_option("-t,--target", context.targetText, "Server: unix:PATH, unix-abstract:NAME or HOST:PORT")
        ->envname("ORVCTL_TARGET")
        ->capture_default_str()
        ->type_name("ADDRESS");
   app.add_option("--console", context.consoleText,
                  "Console of the server [console.sock beside the target's socket]")
        ->type_name("ADDRESS");
   app.add_option_function<std::string>(
           "--timeout",
           [&context](const std::string& text) {
              context.timeoutSeconds = parseSeconds("--timeout", text);
              context.timeoutGiven = true;
           },
           "Longest wait for one answer [10]; given, it also ends a stream")
        ->type_name("SECONDS");
   app.add_flag("--json", context.json, "Print results as JSON");
}

// Joins the lines of an error text; CLI11 adds a hint on a second line.
std::string oneLine(std::string text) {
   std::replace(text.begin(), text.end(), '\n', ' ');
   return text;
}

}  // namespace

void buildApp(CLI::App& app, Context& context) {
   app.name("orvctl");
   app.description("Talks to a switch that serves the OrvSdkRpc API");
   app.footer(kFooter);
   app.set_version_flag("--version", std::string("orvctl ") + kVersion);
   app.require_subcommand(1);
   app.fallthrough();
   addGlobals(app, context);
   addListCommand(app, context);
   addCallCommand(app, context);
   addConsoleCommand(app, context);
   addInitCommand(app, context);
   addResyncCommand(app, context);
   addNexthopGroupCommand(app, context);
   addRouteCommand(app, context);
   addTunnelCommand(app, context);
   addMplsCommand(app, context);
   addFibCommand(app, context);
   addRedirectCommand(app, context);
   addSessionCommand(app, context);
   addInterfaceCommand(app, context);
   addPhyCommand(app, context);
   addAclCommand(app, context);
   addClassMapCommand(app, context);
   addPolicyMapCommand(app, context);
   addTrafficPolicyCommand(app, context);
   addCountersCommand(app, context);
   addPolicyCountersCommand(app, context);
   addAgentCommand(app, context);
   addWatchCommand(app, context);
   addStateCommand(app, context);
   addAliveCommand(app, context);
   addBenchCommand(app, context);
   addCompletionCommand(app, context);
}

int run(const std::vector<std::string>& arguments, const Streams& streams) {
   Context context{.in = streams.in,
                   .out = streams.out,
                   .err = streams.err,
                   .interactive = streams.interactive,
                   .consoleText = {},
                   .action = {}};
   CLI::App app;
   try {
      buildApp(app, context);
      app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
      const int code = context.action();
      context.out.flush();
      return code;
   } catch (const CLI::Success& success) {
      // --help or --version.
      app.exit(success, context.out, context.err);
      return kOk;
   } catch (const CLI::RequiredError& error) {
      // A mistyped command is among the remaining arguments; CLI11 reports only that a command is missing.
      const auto left = app.remaining(true);
      context.err << "orvctl: "
                  << (left.empty() ? oneLine(error.what())
                                   : fmt::format("unknown command '{}'", left.front()))
                  << "; see 'orvctl --help'\n";
      return kUsage;
   } catch (const CLI::ParseError& error) {
      context.err << "orvctl: " << oneLine(error.what()) << "; see 'orvctl --help'\n";
      return kUsage;
   } catch (const UsageError& error) {
      context.err << "orvctl: " << oneLine(error.what()) << '\n';
      return kUsage;
   } catch (const RefusedError& error) {
      context.out.flush();
      context.err << "orvctl: " << oneLine(error.what()) << '\n';
      return kRefused;
   } catch (const CallError& error) {
      context.out.flush();
      context.err << "orvctl: " << oneLine(error.what()) << '\n';
      return kUnreachable;
   } catch (const std::exception& error) {
      context.out.flush();
      context.err << "orvctl: " << oneLine(error.what()) << '\n';
      return kUnreachable;
   }
}

}  // namespace orvctl
