#include "platform/zelt/ActivityLock.h"

#include <cstdio>
#include <cstdlib>

#include "platform/zelt/ActivityLockSlowPath.h"

namespace Zelt {

template class ActivityLockCore<SystemLockPlatform>;

namespace detail {
constinit ActivityLock processActivityLock;
}

void SystemLockPlatform::refuseRelease() noexcept {
   std::fputs("Zelt::ActivityLock: released by a thread that does not hold it\n", stderr);
   std::abort();
}

}  // namespace Zelt
