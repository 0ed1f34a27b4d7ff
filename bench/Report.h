// The figures of a run: as a table for people, as JSON for programs.
//
// Thread-safety: one thread at a time.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace bench {

// The target of a figure: a minimum or maximum of its ratio to the floor, or a maximum of its own value.
struct Target {
   enum class Kind { ratioAtLeast, ratioAtMost, oursAtMost } kind;
   double value;
};

struct Figure {
   std::string key;
   // Infinite for what never comes.
   double ours = 0;
   std::optional<double> floor;
   std::string unit;
   std::optional<Target> target;
   // How it was measured, in a few words for the table.
   std::string note;

   std::optional<double> ratio() const;
   // RETURNS: whether the figure reaches its target; true without a target.
   bool reached() const;
};

class Report {
public:
   // Keeps the figure and prints its line of the table.
   void add(Figure figure);
   // RETURNS: {"key": {"ours", "floor", "ratio", "unit"}, …}; floor and ratio are null without a floor.
   // An infinite figure is dumped as null.
   nlohmann::json json() const;
   // RETURNS: the keys of the figures that miss their target.
   std::vector<std::string> missed() const;

private:
   void print(const Figure& figure) const;

   std::vector<Figure> figures_;
};

// RETURNS: the middle value, or the mean of the two middle values.
// THROWS: std::invalid_argument if there are no values.
double median(std::vector<double> values);

}  // namespace bench
