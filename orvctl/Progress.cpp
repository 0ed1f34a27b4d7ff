#include "orvctl/Progress.h"

#include <fmt/format.h>

namespace orvctl {

Progress::Progress(std::ostream& out, bool enabled, std::optional<size_t> total)
     : out_(out),
       enabled_(enabled),
       total_(total),
       nextDraw_(total ? start_ : start_ + std::chrono::milliseconds(500)) {}

Progress::~Progress() {
   if (drawn_) out_ << "\r\x1b[K" << std::flush;
}

void Progress::doneIs(size_t done, std::chrono::steady_clock::time_point now) {
   if (!enabled_ || now < nextDraw_) return;
   nextDraw_ = now + std::chrono::milliseconds(100);
   const double seconds = std::chrono::duration<double>(now - start_).count();
   out_ << "\r\x1b[K" << progressLine(done, total_, seconds > 0 ? static_cast<double>(done) / seconds : 0, 30)
        << std::flush;
   drawn_ = true;
}

std::string progressLine(size_t done, std::optional<size_t> total, double perSecond, size_t cells) {
   if (!total) return fmt::format("{}  {:.0f}/s", done, perSecond);
   const size_t filled = *total == 0 ? cells : std::min(cells, done * cells / *total);
   const size_t percent = *total == 0 ? 100 : std::min<size_t>(100, done * 100 / *total);
   return fmt::format("[{:<{}}] {:>3}%  {}/{}  {:.0f}/s", std::string(filled, '#'), cells, percent, done,
                      *total, perSecond);
}

}  // namespace orvctl
