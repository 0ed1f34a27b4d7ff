#include "Report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace bench {

namespace {

std::string number(double value) {
   char text[64];
   const int decimals = std::fabs(value) >= 1000 ? 0 : std::fabs(value) >= 10 ? 1 : 3;
   std::snprintf(text, sizeof text, "%.*f", decimals, value);
   return text;
}

std::string wanted(const std::optional<Target>& target) {
   if (!target) return "";
   char text[64];
   switch (target->kind) {
      case Target::Kind::ratioAtLeast:
         std::snprintf(text, sizeof text, "ratio >= %.2f", target->value);
         break;
      case Target::Kind::ratioAtMost:
         std::snprintf(text, sizeof text, "ratio <= %.2f", target->value);
         break;
      case Target::Kind::oursAtMost:
         std::snprintf(text, sizeof text, "ours <= %g", target->value);
         break;
   }
   return text;
}

}  // namespace

std::optional<double> Figure::ratio() const {
   if (!floor || *floor == 0) return std::nullopt;
   return ours / *floor;
}

bool Figure::reached() const {
   if (!target) return true;
   if (target->kind == Target::Kind::oursAtMost) return ours <= target->value;
   if (!ratio()) return false;
   return target->kind == Target::Kind::ratioAtMost ? *ratio() <= target->value : *ratio() >= target->value;
}

void Report::add(Figure figure) {
   print(figure);
   figures_.push_back(std::move(figure));
}

void Report::print(const Figure& figure) const {
   if (figures_.empty()) {
      std::printf("%-36s %12s %12s %7s %-9s %-14s %-7s %s\n", "", "ours", "floor", "ratio", "unit",
                  "must reach", "", "how");
   }
   std::printf("%-36s %12s %12s %7s %-9s %-14s %-7s %s\n", figure.key.c_str(), number(figure.ours).c_str(),
               figure.floor ? number(*figure.floor).c_str() : "-",
               figure.ratio() ? number(*figure.ratio()).c_str() : "-", figure.unit.c_str(),
               wanted(figure.target).c_str(),
               !figure.target     ? ""
               : figure.reached() ? "reached"
                                  : "MISSED",
               figure.note.c_str());
   std::fflush(stdout);
}

nlohmann::json Report::json() const {
   nlohmann::json object = nlohmann::json::object();
   for (const auto& figure : figures_) {
      auto& entry = object[figure.key];
      entry["ours"] = figure.ours;
      entry["floor"] = figure.floor ? nlohmann::json(*figure.floor) : nlohmann::json();
      entry["ratio"] = figure.ratio() ? nlohmann::json(*figure.ratio()) : nlohmann::json();
      entry["unit"] = figure.unit;
   }
   return object;
}

std::vector<std::string> Report::missed() const {
   std::vector<std::string> keys;
   for (const auto& figure : figures_) {
      if (!figure.reached()) keys.push_back(figure.key);
   }
   return keys;
}

double median(std::vector<double> values) {
   if (values.empty()) throw std::invalid_argument("no values");
   std::sort(values.begin(), values.end());
   const auto middle = values.size() / 2;
   return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace bench
