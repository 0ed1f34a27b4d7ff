// YAML as JSON trees.
// Thread-safety: any thread.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace orvctl {

// A document, or one element of a document that is a list.
struct YamlItem {
   // The line on which it begins, from 1.
   int line;
   nlohmann::ordered_json tree;
};

// Reads every document of a text; empty ones count as none. Plain true, false and null are what they say, all
// other scalars are texts. `what` names the source in errors.
// THROWS: UsageError with the line, also for a key that is given twice or is not a scalar, and for more than
// 100 levels.
std::vector<YamlItem> readYaml(std::string_view what, const std::string& text);

}  // namespace orvctl
