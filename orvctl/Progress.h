// A one-line progress bar.
// Thread-safety: one thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <ostream>
#include <string>

namespace orvctl {

class Progress {
public:
   // Draws on `out` if `enabled`; otherwise every call is a no-op.
   Progress(std::ostream& out, bool enabled, size_t total);
   // Removes the bar.
   ~Progress();
   Progress(const Progress&) = delete;
   Progress& operator=(const Progress&) = delete;

   // Redraws at most ten times a second.
   void doneIs(size_t done);

private:
   std::ostream& out_;
   bool enabled_;
   size_t total_;
   bool drawn_ = false;
   std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
   std::chrono::steady_clock::time_point nextDraw_ = start_;
};

// RETURNS: "[#####     ]  50%  500/1000  1234/s" with a bar of `cells` characters.
std::string progressLine(size_t done, size_t total, double perSecond, size_t cells);

}  // namespace orvctl
