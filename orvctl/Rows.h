// Results as rows: a table for a person, one JSON object per line for a program. Used from one thread.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "orvctl/Context.h"

namespace orvctl {

class Rows {
public:
   // The names of the values in the order of the columns.
   Rows(Context& context, std::vector<std::string> columns);

   // JSON is printed at once; a table waits for its end, so that its columns fit. False once nobody reads.
   bool add(const nlohmann::ordered_json& row);
   // Prints the table.
   void finish();

private:
   Context& context_;
   std::vector<std::string> columns_;
   std::vector<std::vector<std::string>> cells_;
};

}  // namespace orvctl
