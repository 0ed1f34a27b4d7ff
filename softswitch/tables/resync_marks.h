// The resync state of a table. An object that is set takes the current epoch as its mark. An object with
// another mark at the end of a resync was not set again. Marks live in memory only.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <cstdint>
#include <utility>

namespace softswitch {

class ResyncMarks {
public:
   // Makes every object stale. A second call before end() does so again.
   void begin() {
      ++epoch_;
      running_ = true;
   }
   // RETURNS: false when no resync was running.
   bool end() { return std::exchange(running_, false); }

   std::uint32_t epoch() const { return epoch_; }
   bool stale(std::uint32_t mark) const { return mark != epoch_; }

private:
   std::uint32_t epoch_ = 0;
   bool running_ = false;
};

}  // namespace softswitch
