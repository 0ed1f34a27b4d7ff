#include "Cores.h"

namespace bench {

namespace {

bool sharing = true;

}  // namespace

OnCoresOf::OnCoresOf(Side side) {
   if (!sharing || ::sched_getaffinity(0, sizeof before_, &before_) != 0 || CPU_COUNT(&before_) < 2) return;
   int first = 0;
   while (!CPU_ISSET(first, &before_))
      ++first;
   cpu_set_t wanted = before_;
   if (side == Side::client) {
      CPU_ZERO(&wanted);
      CPU_SET(first, &wanted);
   } else {
      CPU_CLR(first, &wanted);
   }
   changed_ = ::sched_setaffinity(0, sizeof wanted, &wanted) == 0;
}

OnCoresOf::~OnCoresOf() {
   if (changed_) ::sched_setaffinity(0, sizeof before_, &before_);
}

void OnCoresOf::enabledIs(bool enabled) {
   sharing = enabled;
}

}  // namespace bench
