// Who runs where: the load client has one core to itself, each server has all the
// others. Daemon and floor are treated alike, and no figure depends on where the
// scheduler happened to put the two ends of a socket.
//
// Thread-safety: one thread at a time.
#pragma once

#include <sched.h>

namespace bench {

enum class Side { client, server };

// While it lives, processes that the calling thread starts run on that side's
// cores. Does nothing on a machine with one core, or when sharing is off.
class OnCoresOf {
public:
   explicit OnCoresOf(Side side);
   ~OnCoresOf();
   OnCoresOf(const OnCoresOf&) = delete;
   OnCoresOf& operator=(const OnCoresOf&) = delete;

   // Whether cores are shared out; on from the start.
   static void enabledIs(bool enabled);

private:
   cpu_set_t before_;
   bool changed_ = false;
};

}  // namespace bench
