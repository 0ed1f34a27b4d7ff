// The library's mutex.
//
// Thread-safety: any thread.
//
// Lock order, outermost first: the SDK's lock, a subscription controller's mutex, the TagManager's mutex. A
// stream handler's mutex is a leaf: a thread that holds it takes none of the other three.
#pragma once

#include "platform/zelt/Mutex.h"

namespace OrvSdkRpc {

using Mutex = Zelt::Mutex;
// Holds a Mutex for a scope; may be unlocked early, once.
using MutexLock = Zelt::MutexAnchor;

}  // namespace OrvSdkRpc
