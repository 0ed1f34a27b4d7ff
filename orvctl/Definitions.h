// Definitions that a user keeps in files, such as policy maps.
// Thread-safety: one thread.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "orvctl/Context.h"

namespace orvctl {

struct Definition {
   // Where it begins: "maps.yaml line 3". Error texts begin with it.
   std::string where;
   // The message in its JSON form. Numbers may be texts, as the JSON mapping of protobuf allows.
   nlohmann::ordered_json tree;
};

// Reads a file, or the context's input for "-": one definition, or a list of them. A text that begins with a
// brace or a bracket is JSON; any other is YAML, of which every document holds one definition or a list.
// THROWS: UsageError if the file cannot be read, is neither, or holds no definition.
std::vector<Definition> readDefinitions(Context& context, std::string_view what, const std::string& file);

}  // namespace orvctl
