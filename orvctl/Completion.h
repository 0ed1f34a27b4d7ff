// Shell completion, generated from the program's own commands and flags.
// Thread-safety: any thread.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace orvctl {

// RETURNS: a bash script that completes `app`.
std::string bashCompletion(const CLI::App& app);

}  // namespace orvctl
