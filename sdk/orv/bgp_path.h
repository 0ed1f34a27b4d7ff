// BGP paths.
//
// The manager has no operations yet.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h).
#pragma once

namespace orv {

class bgp_path_mgr {
public:
   virtual ~bgp_path_mgr() = default;
};

}  // namespace orv
