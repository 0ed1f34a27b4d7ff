#include "orvsdkrpcd/Settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "orv/error.h"
#include "orv/tracer.h"
#include "orvsdkrpcd/UsageError.h"
#include "platform/process/Toggles.h"
#include "softswitch/console/words.h"
#include "softswitch/managers/agent_mgr.h"

namespace orvsdkrpcd {
namespace {

namespace fs = std::filesystem;

// The switch creates the directory, but not its parents.
std::string checkStateDir(const std::string& value) {
   if (value.empty()) refuse("--state-dir", value, "the directory of the switch's state");
   struct stat info {};
   if (stat(value.c_str(), &info) == 0) {
      if (!S_ISDIR(info.st_mode))
         refuse("--state-dir", value, "a directory, but the path is another kind of file");
      if (access(value.c_str(), R_OK | W_OK | X_OK) != 0) {
         refuse("--state-dir", value,
                fmt::format("a readable and writable directory: {}", std::strerror(errno)));
      }
      return value;
   }
   if (errno != ENOENT) refuse("--state-dir", value, fmt::format("a directory: {}", std::strerror(errno)));
   fs::path path = fs::absolute(value);
   if (!path.has_filename()) path = path.parent_path();
   const std::string parent = path.parent_path().string();
   if (access(parent.c_str(), W_OK | X_OK) != 0) {
      refuse("--state-dir", value,
             fmt::format("a directory, or a place to make one: {}: {}", parent, std::strerror(errno)));
   }
   return value;
}

std::vector<ListenAddress> checkListen(const std::vector<std::string>& values) {
   if (values.empty()) refuse("--listen", "", "unix:PATH, unix-abstract:NAME or IPV4:PORT");
   std::vector<ListenAddress> addresses;
   bool hasSocket = false;
   for (const std::string& value : values) {
      ListenAddress address = parseListenAddress("--listen", value);
      const auto same = [&](const ListenAddress& other) { return other.text == address.text; };
      if (std::any_of(addresses.begin(), addresses.end(), same))
         refuse("--listen", value, "each address once");
      if (!address.socketPath.empty()) {
         // The agent locks and removes one socket only.
         if (hasSocket)
            refuse("--listen", value, "one unix path at most, beside any number of other addresses");
         hasSocket = true;
         requireSocketPlace("--listen", value, address.socketPath);
         struct stat info {};
         if (lstat((address.socketPath + ".lock").c_str(), &info) == 0 && !S_ISREG(info.st_mode)) {
            refuse("--listen", value,
                   fmt::format("'{}.lock' to be a plain file, and no symbolic link", address.socketPath));
         }
      }
      addresses.push_back(std::move(address));
   }
   return addresses;
}

std::optional<softswitch::console::Address> checkConsole(const std::string& value,
                                                         const std::vector<ListenAddress>& listen) {
   if (value.empty()) return std::nullopt;
   try {
      auto address = softswitch::console::Address::parse(value);
      if (!address.isUnix()) return address;
      address.path = fs::absolute(address.path).string();
      requireSocketPlace("--console", value, address.path);
      for (const ListenAddress& server : listen) {
         if (address.path == server.socketPath || address.path == server.socketPath + ".lock") {
            refuse("--console", value, "another path than the server's socket and its lock file");
         }
      }
      return address;
   } catch (const std::invalid_argument& error) {
      throw UsageError(fmt::format("--console: {}", error.what()));
   }
}

// Each name may occur once. A value is any non-empty printable text, and may contain further equals signs.
std::map<std::string, std::string> checkOptions(const std::vector<std::string>& values) {
   std::map<std::string, std::string> options;
   for (const auto& value : values) {
      const auto equals = value.find('=');
      if (equals == std::string::npos || equals == 0 || equals + 1 == value.size()) {
         refuse("--option", value, "NAME=VALUE, neither of them empty");
      }
      try {
         softswitch::console::checkCharacters(value);
      } catch (const softswitch::console::CommandError& error) {
         throw UsageError(fmt::format("--option: {}", error.what()));
      }
      if (equals > softswitch::AgentMgr::nameBytesMax) {
         refuse("--option", value,
                fmt::format("a name of at most {} bytes", softswitch::AgentMgr::nameBytesMax));
      }
      if (!options.emplace(value.substr(0, equals), value.substr(equals + 1)).second) {
         refuse("--option", value, "each name once");
      }
   }
   return options;
}

int checkMaxStreams(std::int64_t value) {
   // A controller with a watch of each kind beside its calls has some thirty; a value above `most` is a
   // mistake.
   constexpr std::int64_t most = 65536;
   if (value < 1 || value > most) {
      refuse("--max-streams", std::to_string(value), fmt::format("1 to {}", most));
   }
   return static_cast<int>(value);
}

}  // namespace

Settings checkFlags(const Flags& flags) {
   Settings settings;
   settings.bfd = flags.bfd;
   settings.fib = flags.fib;
   settings.stay = flags.stay;
   settings.maxStreams = checkMaxStreams(flags.maxStreams);
   settings.listen = checkListen(flags.listen);
   settings.stateDir = checkStateDir(flags.stateDir);
   settings.console = checkConsole(flags.console, settings.listen);
   settings.agentOptions = checkOptions(flags.options);
   if (flags.durability == "sync") {
      settings.durability = softswitch::store::Durability::sync;
   } else if (flags.durability != "lazy") {
      refuse("--durability", flags.durability, "lazy or sync");
   }
   if (!flags.topology.empty()) {
      try {
         settings.topology = softswitch::Topology::load(flags.topology);
      } catch (const softswitch::TopologyError& error) {
         throw UsageError(fmt::format("--topology: {}", error.what()));
      }
   }
   if (!flags.toggles.empty()) {
      try {
         toggleDirectoryIs(flags.toggles);
      } catch (const std::runtime_error& error) {
         throw UsageError(fmt::format("--toggles: {}", error.what()));
      }
   }
   try {
      orv::trace_setting_is(flags.trace);
   } catch (const orv::error& error) {
      throw UsageError(fmt::format("--trace is '{}': {}", flags.trace, error.what()));
   }
   return settings;
}

}  // namespace orvsdkrpcd
