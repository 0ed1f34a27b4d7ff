// A one-line progress bar.
// Thread-safety: one thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>

namespace orvctl {

class Progress {
public:
   // Draws on `out` if `enabled`; otherwise every call is a no-op. Without a total, draws a count, and only
   // once half a second has passed.
   Progress(std::ostream& out, bool enabled, std::optional<size_t> total = std::nullopt);
   // Removes the bar.
   ~Progress();
   Progress(const Progress&) = delete;
   Progress& operator=(const Progress&) = delete;

   // Redraws at most ten times a second.
   void doneIs(size_t done) {
      if (enabled_) doneIs(done, std::chrono::steady_clock::now());
   }
   // The same at a given time.
   void doneIs(size_t done, std::chrono::steady_clock::time_point now);

private:
   std::ostream& out_;
   bool enabled_;
   std::optional<size_t> total_;
   bool drawn_ = false;
   std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
   std::chrono::steady_clock::time_point nextDraw_;
};

// RETURNS: "[#####     ]  50%  500/1000  1234/s" with a bar of `cells` characters; "500  1234/s" without a
// total.
std::string progressLine(size_t done, std::optional<size_t> total, double perSecond, size_t cells);

}  // namespace orvctl
