// Shell completion made from the program's own commands and flags. Free function, safe from any thread.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace orvctl {

// A bash script that completes `app`.
std::string bashCompletion(const CLI::App& app);

}  // namespace orvctl
