// What the command line and the config file say, read and then checked as a whole.
// Plain values; the functions are for the main thread, before anything else runs.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "orvsdkrpcd/ListenAddress.h"
#include "softswitch/console/address.h"
#include "softswitch/managers/topology.h"
#include "softswitch/store/state_directory.h"

namespace orvsdkrpcd {

// As written by the operator.
struct Flags {
   std::vector<std::string> listen;
   std::string stateDir;
   bool bfd = false;
   bool fib = false;
   std::string console;
   std::string toggles;
   std::string topology;
   std::vector<std::string> options;
   std::string trace;
   std::string durability = "lazy";
   bool stay = false;
   std::int64_t maxStreams = 256;
};

// As understood.
struct Settings {
   // At least one; a unix path at most once.
   std::vector<ListenAddress> listen;
   std::string stateDir;
   bool bfd = false;
   bool fib = false;
   std::optional<softswitch::console::Address> console;
   softswitch::Topology topology = softswitch::Topology::builtIn();
   std::map<std::string, std::string> agentOptions;
   softswitch::store::Durability durability = softswitch::store::Durability::process;
   bool stay = false;
   // Calls and streams that are open on one connection.
   int maxStreams = 256;
};

// Reads the command line, without the program's name, and the config file that it may name. Returns nothing
// when the line asked for help or the version, which is then in `answer`. Throws UsageError.
std::optional<Flags> readFlags(const std::vector<std::string>& arguments, std::string& answer);

// Checks every value and reads the files that flags name; creates nothing. Feature toggles and trace levels,
// which are settings of the process, are in force afterwards. Throws UsageError.
Settings checkFlags(const Flags& flags);

}  // namespace orvsdkrpcd
