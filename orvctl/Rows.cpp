#include "orvctl/Rows.h"

#include <fmt/format.h>

#include <algorithm>

#include "orvctl/Values.h"

namespace orvctl {
namespace {

using nlohmann::ordered_json;

std::string cellText(const ordered_json& value) {
   if (value.is_null()) return "";
   if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
   if (value.is_string()) return value.get<std::string>();
   if (value.is_number_float()) return decimalText(value.get<double>());
   return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::string title(std::string column) {
   std::replace(column.begin(), column.end(), '_', ' ');
   std::transform(column.begin(), column.end(), column.begin(),
                  [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
   return column;
}

}  // namespace

Rows::Rows(Context& context, std::vector<std::string> columns)
     : context_(context), columns_(std::move(columns)) {}

bool Rows::add(const ordered_json& row) {
   if (context_.json) {
      context_.out << row.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << '\n';
      return context_.out.good();
   }
   std::vector<std::string> cells;
   for (const auto& column : columns_)
      cells.push_back(row.contains(column) ? cellText(row[column]) : "");
   cells_.push_back(std::move(cells));
   return true;
}

void Rows::finish() {
   if (context_.json || cells_.empty()) return;
   std::vector<std::string> titles;
   for (const auto& column : columns_)
      titles.push_back(title(column));
   cells_.insert(cells_.begin(), std::move(titles));
   std::vector<size_t> widths(columns_.size(), 0);
   for (const auto& row : cells_) {
      for (size_t i = 0; i < row.size(); ++i)
         widths[i] = std::max(widths[i], row[i].size());
   }
   for (const auto& row : cells_) {
      std::string line;
      for (size_t i = 0; i < row.size(); ++i)
         line += fmt::format("{:<{}}  ", row[i], widths[i]);
      line.erase(line.find_last_not_of(' ') + 1);
      context_.out << line << '\n';
   }
   cells_.clear();
}

}  // namespace orvctl
