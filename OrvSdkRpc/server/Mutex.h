// The library's mutex.
//
// Thread-safe by nature. Lock order, outermost first: the SDK's lock, a subscription controller's mutex, the
// TagManager's mutex. A stream handler's mutex is a leaf: none of the three is taken while it is held.
#pragma once

#include "platform/zelt/Mutex.h"

namespace OrvSdkRpc {

using Mutex = Zelt::Mutex;
// Holds a Mutex for a scope; may be let go early, once.
using MutexLock = Zelt::MutexAnchor;

}  // namespace OrvSdkRpc
