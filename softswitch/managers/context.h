// What every manager of the switch uses.
//
// Thread-safety: the members are guarded by the SDK's lock; the structure does not change.
#pragma once

#include "platform/gorm/TaskScheduler.h"
#include "softswitch/managers/callbacks.h"
#include "softswitch/store/store.h"
#include "softswitch/tables/limits.h"

namespace softswitch {

struct Context {
   store::Store& store;
   Callbacks& callbacks;
   const Limits& limits;
   Pavo::Ptr<Gorm::TaskScheduler> scheduler;
};

}  // namespace softswitch
