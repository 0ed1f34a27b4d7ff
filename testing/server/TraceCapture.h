// Captures the traces of a scope.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace orvtest {

// Turns on the traces that `setting` names and collects their texts; the destructor turns all traces off.
class TraceCapture {
public:
   explicit TraceCapture(const std::string& setting = "*/0-9");
   ~TraceCapture();
   TraceCapture(const TraceCapture&) = delete;
   TraceCapture& operator=(const TraceCapture&) = delete;

   [[nodiscard]] std::vector<std::string> texts() const;
   // How many texts are exactly this one.
   [[nodiscard]] std::size_t count(const std::string& text) const;
   // How many texts have this level.
   [[nodiscard]] std::size_t countAt(int level) const;

private:
   struct Line {
      int level;
      std::string text;
   };
   mutable std::mutex mutex_;
   std::vector<Line> lines_;
};

}  // namespace orvtest
