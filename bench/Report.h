// The figures of a run: as a table for people, as JSON for programs.
//
// Thread-safety: one thread at a time.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace bench {

// What a figure must reach: its ratio to the floor at least or at most, or itself at most.
struct Target {
   enum class Kind { ratioAtLeast, ratioAtMost, oursAtMost } kind;
   double value;
};

struct Figure {
   std::string key;
   double ours = 0;
   std::optional<double> floor;
   std::string unit;
   std::optional<Target> target;
   // How it was measured, in a few words for the table.
   std::string note;

   std::optional<double> ratio() const;
   // True also where there is nothing to reach.
   bool reached() const;
};

class Report {
public:
   // Keeps the figure and prints its line of the table.
   void add(Figure figure);
   // {"key": {"ours", "floor", "ratio", "unit"}, …}; null where there is no floor.
   nlohmann::json json() const;
   // Keys of the figures that miss their target.
   std::vector<std::string> missed() const;

private:
   void print(const Figure& figure) const;

   std::vector<Figure> figures_;
};

// The middle value; the mean of the two in the middle of an even number.
double median(std::vector<double> values);

}  // namespace bench
