// The settings from the command line and the config file, read first and then checked as a whole.
// Thread-safety: plain values; the functions run on the main thread before other threads exist.
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

// After all checks.
struct Settings {
   // At least one address; at most one of them is a unix path.
   std::vector<ListenAddress> listen;
   std::string stateDir;
   bool bfd = false;
   bool fib = false;
   std::optional<softswitch::console::Address> console;
   softswitch::Topology topology = softswitch::Topology::builtIn();
   std::map<std::string, std::string> agentOptions;
   softswitch::store::Durability durability = softswitch::store::Durability::process;
   bool stay = false;
   // The maximum of open calls and streams on one connection.
   int maxStreams = 256;
};

// Reads the command line, given without the program's name, and the config file, if it names one.
// RETURNS: nothing if the command line asks for help or the version; that text is then in `answer`.
// THROWS: UsageError.
std::optional<Flags> readFlags(const std::vector<std::string>& arguments, std::string& answer);

// Checks every value and reads the files that flags name; creates nothing. Applies feature toggles and trace
// levels, which are process-wide.
// THROWS: UsageError.
Settings checkFlags(const Flags& flags);

}  // namespace orvsdkrpcd
