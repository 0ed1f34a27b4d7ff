#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "orvsdkrpcd/Settings.h"
#include "orvsdkrpcd/UsageError.h"
#include "orvsdkrpcd/Version.h"

namespace orvsdkrpcd {
namespace {

constexpr const char* kFooter =
     "The config file holds the flags' names without dashes, one \"name = value\" per line.\n"
     "TERM and INT stop the daemon in order.\n"
     "\n"
     "Exit codes:\n"
     "  0  stopped in order\n"
     "  1  nothing could be served (every address is in use, or one cannot be bound), or the switch failed\n"
     "  2  a flag, the config file, or the state directory cannot be used; nothing was changed\n"
     "\n"
     "Example:\n"
     "  orvsdkrpcd --listen unix:/run/orvsdkrpcd/orvsdkrpcd.sock --state-dir /var/lib/orvsdkrpcd --bfd \\\n"
     "             --console unix:/run/orvsdkrpcd/console.sock";

void addFlags(CLI::App& app, Flags& flags) {
   app.add_option("--listen", flags.listen,
                  "Addresses of the gRPC server: unix:PATH (one at most), unix-abstract:NAME or IPV4:PORT")
        ->type_name("ADDRESS…");
   app.add_option("--state-dir", flags.stateDir, "Directory of the switch's state; created if missing")
        ->type_name("DIR");
   app.add_flag("--bfd", flags.bfd, "Serve the programming API, which needs the BFD manager");
   app.add_flag("--fib", flags.fib, "Serve the FIB: its routes, its FECs and their changes");
   app.add_option("--console", flags.console, "Address of the console: unix:PATH or HOST:PORT [no console]")
        ->type_name("ADDRESS");
   app.add_option("--toggles", flags.toggles,
                  "Directory of feature toggle files, {\"NAME\": true|false} each")
        ->type_name("DIR");
   app.add_option("--topology", flags.topology,
                  "JSON file with the switch's interfaces [a built-in switch of 64 ports]")
        ->type_name("FILE");
   app.add_option("--option", flags.options,
                  "An option of the agent, repeatable; overrides a value set at the console")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
   app.add_option("--trace", flags.trace, "Trace to stderr: NAME/LEVELS,… such as 'OrvSdkRpc/0-1,*/0'")
        ->type_name("SPEC");
   app.add_option("--durability", flags.durability,
                  "lazy: acknowledged state survives a process crash; sync: also a machine crash")
        ->capture_default_str()
        ->type_name("lazy|sync");
   app.add_flag("--stay", flags.stay,
                "Stay up without a server when every address is in use, instead of ending");
   app.add_option("--max-streams", flags.maxStreams,
                  "Calls and streams that one connection may have open; the client delays the others")
        ->capture_default_str()
        ->type_name("COUNT");
   app.set_config("--config", "", "File with the same names")->type_name("FILE");
   app.allow_config_extras(CLI::config_extras_mode::error);
}

std::string oneLine(std::string text) {
   std::replace(text.begin(), text.end(), '\n', ' ');
   return text;
}

}  // namespace

std::optional<Flags> readFlags(const std::vector<std::string>& arguments, std::string& answer) {
   CLI::App app("A switch in software that serves the OrvSdkRpc API over gRPC");
   app.name("orvsdkrpcd");
   app.footer(kFooter);
   app.set_version_flag("--version", std::string("orvsdkrpcd ") + kVersion);
   Flags flags;
   addFlags(app, flags);
   try {
      app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
   } catch (const CLI::Success& success) {
      std::ostringstream out;
      app.exit(success, out, out);
      answer = out.str();
      return std::nullopt;
   } catch (const CLI::FileError&) {
      refuse("--config", app.get_config_ptr()->as<std::string>(), "a readable file");
   } catch (const CLI::ConfigError& error) {
      refuse("--config", app.get_config_ptr()->as<std::string>(),
             fmt::format("a file with the flags' names: {}", oneLine(error.what())));
   } catch (const CLI::ParseError& error) {
      throw UsageError(fmt::format("{}; see 'orvsdkrpcd --help'", oneLine(error.what())));
   }
   return flags;
}

}  // namespace orvsdkrpcd
