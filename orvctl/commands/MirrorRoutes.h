// Edits of routes through the mirror services: what `route` and `mpls` do with --mirror.
// Thread-safety: one thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orvctl/Context.h"

namespace orvctl {

// The flags of `route del --mirror`.
struct IpRouteDelFlags {
   bool mirror = false;
   std::string vrf;
   uint32_t preference = 1;
};
// `others` are the options that --mirror excludes.
void addIpRouteDelFlags(CLI::App& command, IpRouteDelFlags& flags, const std::vector<CLI::Option*>& others);
// RETURNS: the exit code.
int deleteIpRoutes(Context& context, const std::vector<std::string>& prefixes, const IpRouteDelFlags& flags);

// Adds `route set`, which the programming service does not have.
void addIpRouteSet(CLI::App& command, Context& context);

// The flags of `mpls set --mirror` and `mpls del --mirror`.
struct MplsEditFlags {
   bool mirror = false;
   std::vector<std::string> vias;
   uint32_t metric = 0;
   std::optional<uint32_t> version;
   bool replace = false;
};
void addMplsSetFlags(CLI::App& command, MplsEditFlags& flags, const std::vector<CLI::Option*>& others);
void addMplsDelFlags(CLI::App& command, MplsEditFlags& flags, const std::vector<CLI::Option*>& others);
int setMplsRoute(Context& context, const std::vector<std::string>& labels, const MplsEditFlags& flags);
int deleteMplsRoutes(Context& context, const std::vector<std::string>& labels, const MplsEditFlags& flags);

}  // namespace orvctl
