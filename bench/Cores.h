// Core assignment: the load client has one core to itself, and each server has all the others. Daemon and
// floor are treated alike, and no figure depends on where the scheduler places the two ends of a socket.
//
// Thread-safety: one thread at a time.
#pragma once

#include <sched.h>

namespace bench {

enum class Side { client, server };

// While it lives, processes that the calling thread starts run on that side's cores. A no-op on a machine
// with one core, or while core assignment is disabled.
class OnCoresOf {
public:
   explicit OnCoresOf(Side side);
   ~OnCoresOf();
   OnCoresOf(const OnCoresOf&) = delete;
   OnCoresOf& operator=(const OnCoresOf&) = delete;

   // Enables or disables core assignment; it is enabled by default.
   static void enabledIs(bool enabled);

private:
   cpu_set_t before_;
   bool changed_ = false;
};

}  // namespace bench
