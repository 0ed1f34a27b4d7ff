// Results as rows: a table for users, or one JSON object per line for programs.
// Thread-safety: one thread.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "orvctl/Context.h"

namespace orvctl {

class Rows {
public:
   // `columns` are the keys of the values, in the order of the columns.
   Rows(Context& context, std::vector<std::string> columns);

   // Prints JSON at once; a table row waits for finish, when the column widths are known.
   // RETURNS: false once the output cannot be written.
   bool add(const nlohmann::ordered_json& row);
   // Prints the table.
   void finish();

private:
   Context& context_;
   std::vector<std::string> columns_;
   std::vector<std::vector<std::string>> cells_;
};

}  // namespace orvctl
